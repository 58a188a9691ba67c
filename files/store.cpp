#include "files/store.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>

#include "platform/root.h"

namespace {

constexpr int file_name_error = -257, missing_media = -252;
constexpr const char *internal_store = "/mnt/nand", *usb_stores = "/mnt/usb", *card_store = "/mnt/sd";

bool Same(std::string_view a, std::string_view b) {
    const auto upper = [](unsigned char c) { return std::toupper(c); };
    return std::ranges::equal(a, b, {}, upper, upper);
}

bool Is_Folder(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_directory(platform::Rooted(path), error);
}

/// The first stick by name.
std::string Usb_Store() {
    std::string first;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(platform::Rooted(usb_stores), error)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_directory(error) && (first.empty() || name < first)) first = name;
    }
    return first.empty() ? first : std::string(usb_stores) + '/' + first;
}

std::string Store_Of(std::string_view name) {
    if (Same(name, "NAND")) return internal_store;
    if (Same(name, "USB")) return Usb_Store();
    return Same(name, "SD") && Is_Folder(card_store) ? card_store : std::string();
}

bool Is_Part(std::string_view part) {
    if (part.empty() || part == "." || part == "..") return false;
    return std::ranges::none_of(part, [](unsigned char c) { return c < ' ' || c == 0x7f || c == '\\' || c == ':'; });
}

/// Folders and a name, each of which is one.
bool Stays_In_Store(std::string_view path) {
    for (;;) {
        const auto end = path.find('/');
        if (!Is_Part(path.substr(0, end))) return false;
        if (end == std::string_view::npos) return true;
        path.remove_prefix(end + 1);
    }
}

}  // namespace

Stored_File File_In_Store(std::string_view name, std::string_view ending) {
    if (name.empty() || name.size() > longest_file_name) return {file_name_error, {}};
    std::string store = internal_store;
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
        const std::string_view named = name.substr(0, colon);
        if (!Same(named, "NAND") && !Same(named, "USB") && !Same(named, "SD")) return {file_name_error, {}};
        store = Store_Of(named);
        name.remove_prefix(colon + 1);
    }
    if (!Stays_In_Store(name)) return {file_name_error, {}};
    if (store.empty()) return {missing_media, {}};
    std::string path = store + '/' + std::string(name);
    const bool ends = name.size() > ending.size() && Same(name.substr(name.size() - ending.size()), ending);
    return {0, ends ? path : path + std::string(ending)};
}
