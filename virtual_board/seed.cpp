#include "virtual_board/seed.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "platform/root.h"

namespace virtual_board {

namespace {

namespace fs = std::filesystem;

constexpr std::array folders{"/dev/fb", "/dev/tts",         "/etc/init.d",       "/mnt/mtd14", "/mnt/nand/fonts",
                             "/mnt/nand/picture", "/opt/KVA720", "/tmp/web_store", "/var/log"};

struct Font {
    const char* instrument_path;
    const char* pc_path;
    const char* package;
};
constexpr std::array<Font, 3> fonts{{
    {"/mnt/nand/fonts/NI7SEG.TTF", "/usr/share/fonts/truetype/dseg/DSEG7Classic-Bold.ttf", "fonts-dseg"},
    {"/mnt/nand/fonts/arialbd.ttf", "/usr/share/fonts/truetype/liberation/LiberationSans-Bold.ttf", "fonts-liberation"},
    {"/mnt/nand/fonts/ARIALUNI.TTF", "/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc", "fonts-wqy-zenhei"},
}};

/// Files that the instrument or its user changes; made where missing.
struct Text_File {
    const char* path;
    const char* text;
};
constexpr std::array<Text_File, 6> first_files{{
    // Corrections of the receiver's bands in dB, as a calibration leaves them.
    {"/mnt/nand/record.out", "0.02\n-0.03\n0.01\n0.00\n-0.01\n0.03\n0.02\n-0.02\n0.00\n0.01\n-0.04\n0.03\n0.02\n-0.01\n"
                             "0.00\n0.02\n-0.02\n"},
    {"/opt/KVA720/usb_state", "USB state\nHOST 0\nDEVICE 0\nLastType HOST\n"},
    {"/tmp/usb_state", "USB state\nHOST 0\nDEVICE 0\nLastType HOST\n"},
    {"/opt/KVA720/recoverydonever", "0\n"},
    {"/tmp/recoverydonever", "0\n"},
    {"/var/log/error.log", ""},
}};

[[noreturn]] void Fail(const std::string& what, const fs::path& path, const std::error_code& error) {
    throw std::runtime_error("can't " + what + " " + path.string() + ": " + error.message());
}

std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return file ? text.str() : std::string();
}

/// Writes beside and renames, so that a program that reads the file meanwhile sees the old or the new one.
void Write(const fs::path& path, const std::string& text) {
    const fs::path fresh = path.string() + ".new";
    {
        std::ofstream file(fresh, std::ios::binary);
        file << text;
        if (!file.flush())
            Fail("write", path, std::make_error_code(std::errc::io_error));
    }
    std::error_code error;
    fs::rename(fresh, path, error);
    if (error)
        Fail("write", path, error);
}

void Make_Folders() {
    for (const char* folder : folders) {
        std::error_code error;
        const fs::path path = platform::Rooted(folder);
        fs::create_directories(path, error);
        if (error)
            Fail("make folder", path, error);
    }
}

void Link_Fonts() {
    for (const Font& font : fonts) {
        std::error_code error;
        if (!fs::exists(font.pc_path, error))
            throw std::runtime_error(std::string("font ") + font.pc_path + " is missing (Debian package " +
                                     font.package + ")");
        const fs::path link = platform::Rooted(font.instrument_path);
        if (fs::read_symlink(link, error) == font.pc_path)
            continue;
        fs::remove(link, error);
        fs::create_symlink(font.pc_path, link, error);
        if (error)
            Fail("link font", link, error);
    }
}

/// Copies the files of one folder of the share, without its folders.
void Copy_Files(const fs::path& from, const char* instrument_folder, bool refresh) {
    std::error_code error;
    const fs::path to = platform::Rooted(instrument_folder);
    fs::directory_iterator entries(from, error);
    if (error)
        Fail("read the instrument's files in", from, error);
    for (const fs::directory_entry& entry : entries) {
        if (!entry.is_regular_file(error))
            continue;
        const fs::path target = to / entry.path().filename();
        const bool there = fs::exists(target, error);
        if (there && !refresh)
            continue;
        const std::string text = Read(entry.path());
        if (!there || Read(target) != text)
            Write(target, text);
    }
}

void Make_First_Files() {
    for (const Text_File& file : first_files) {
        const fs::path path = platform::Rooted(file.path);
        std::error_code error;
        if (!fs::exists(path, error))
            Write(path, file.text);
    }
}

/// A number of its own for every root, the same at every start.
std::string Serial_Number_Of_Root() {
    std::uint32_t hash = 2166136261U;  // FNV-1a
    for (const char sign : platform::Root())
        hash = (hash ^ static_cast<unsigned char>(sign)) * 16777619U;
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "VP%06u", hash % 1'000'000);
    return text.data();
}

/// Maker, model and serial number, a line each; a serial number that is there stays.
void Write_Identity(const std::string& model) {
    const fs::path path = platform::Rooted("/opt/KVA720/identity");
    std::istringstream old_lines(Read(path));
    std::string line, serial_number;
    for (int number = 1; std::getline(old_lines, line); ++number)
        if (number == 3)
            serial_number = line;
    if (serial_number.empty())
        serial_number = Serial_Number_Of_Root();
    const std::string text = "KVA\n" + model + '\n' + serial_number + '\n';
    if (Read(path) != text)
        Write(path, text);
}

}  // namespace

std::string Default_Share() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (program.parent_path().parent_path() / "share").string();
}

void Seed_Root(const std::string& share, const std::string& model) {
    Make_Folders();
    Link_Fonts();
    const fs::path from = share;
    Copy_Files(from / "nand", "/mnt/nand", true);
    Copy_Files(from / "nand/picture", "/mnt/nand/picture", true);
    // These pictures are the owner's to replace.
    Copy_Files(from / "mtd14", "/mnt/mtd14", false);
    Make_First_Files();
    Write_Identity(model);
}

}  // namespace virtual_board
