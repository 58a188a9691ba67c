#include "virtual_board/devices.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <termios.h>
#include <tuple>
#include <unistd.h>
#include <utility>

#include "platform/root.h"
#include "platform/sample_memory.h"
#include "platform/virtual/device_files.h"

namespace virtual_board {

namespace {

namespace fs = std::filesystem;
namespace files = platform::device_files;

constexpr std::uint8_t backlight_at_start = 100;  // percent

[[noreturn]] void Fail(const std::string& path) {
    throw std::runtime_error("can't make device " + path + ": " + std::strerror(errno));
}

void Make_Folder_Of(const std::string& path) {
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    if (error)
        throw std::runtime_error("can't make folder " + fs::path(path).parent_path().string() + ": " +
                                 error.message());
}

/// Makes a file of size bytes, zero behind the given first ones, in place of an old one. Who has the old one mapped
/// keeps it.
void Make_File(const std::string& path, std::size_t size, std::span<const std::byte> first = {}) {
    Make_Folder_Of(path);
    const std::string fresh = path + ".new";
    const int file = ::open(fresh.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0)
        Fail(path);
    // Takes the room now: a full disk would otherwise show as a bus error in a mapping.
    const int shortage = ::posix_fallocate(file, 0, static_cast<off_t>(size));
    const bool written = ::pwrite(file, first.data(), first.size(), 0) == static_cast<ssize_t>(first.size());
    ::close(file);
    if (shortage == 0 && written && ::rename(fresh.c_str(), path.c_str()) == 0)
        return;
    if (shortage != 0)
        errno = shortage;
    const int error = errno;
    ::unlink(fresh.c_str());
    errno = error;
    Fail(path);
}

void Make_Fifo(const std::string& path) {
    Make_Folder_Of(path);
    ::unlink(path.c_str());
    if (::mkfifo(path.c_str(), 0600) != 0)
        Fail(path);
}

int Listen(const std::string& path) {
    Make_Folder_Of(path);
    const int listener = files::Listen_Device(path);
    if (listener < 0)
        Fail(path);
    return listener;
}

Devices::Bus_Listeners Listen_Bus(const char* device) {
    const std::string path = platform::Rooted(device);
    Devices::Bus_Listeners bus;
    bus.instrument = Listen(path);
    bus.controller = Listen(path + files::controller_suffix);
    return bus;
}

/// Makes a pseudo-terminal in raw mode with a link to it; returns its master and, open, the terminal.
std::pair<int, int> Make_Terminal(const std::string& path) {
    Make_Folder_Of(path);
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    std::array<char, 128> name{};
    int terminal = -1;
    termios settings{};
    ::unlink(path.c_str());
    if (master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0 &&
        ::ptsname_r(master, name.data(), name.size()) == 0 &&
        (terminal = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC)) >= 0 && ::tcgetattr(terminal, &settings) == 0) {
        ::cfmakeraw(&settings);
        ::tcsetattr(terminal, TCSANOW, &settings);
        if (::symlink(name.data(), path.c_str()) == 0)
            return {master, terminal};
    }
    const int error = errno;
    for (const int descriptor : {terminal, master})
        if (descriptor >= 0)
            ::close(descriptor);
    errno = error;
    Fail(path);
}

void Close(int& descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

}  // namespace

void Make_Frame_Devices() {
    for (const files::Frame_Device& device : files::frame_devices) {
        platform::Frame_State state;
        state.width = device.width;
        state.height = device.height;
        state.bits_per_pixel = device.bits_per_pixel;
        state.line_length = device.width * device.bits_per_pixel / 8;
        files::Frame_Control control;
        control.words = std::bit_cast<decltype(control.words)>(state);

        const std::string path = platform::Rooted(device.path);
        Make_File(path, std::size_t{state.line_length} * device.height);
        Make_File(path + files::frame_state_suffix, sizeof control, std::as_bytes(std::span(&control, 1)));
    }
}

void Remove_Frame_Devices() {
    for (const files::Frame_Device& device : files::frame_devices) {
        const std::string path = platform::Rooted(device.path);
        ::unlink(path.c_str());
        ::unlink((path + files::frame_state_suffix).c_str());
    }
}

std::size_t Devices::Elements() {
    return platform::sample_memory_elements;
}

Devices::Devices() {
    try {
        Make();
    } catch (...) {
        Remove();
        throw;
    }
}

Devices::~Devices() {
    Remove();
}

void Devices::Make() {
    Make_Frame_Devices();
    const std::byte brightness{backlight_at_start};
    Make_File(platform::Rooted(files::backlight), 1, std::span(&brightness, 1));
    Make_File(platform::Rooted(files::beeper), sizeof(std::uint32_t));
    Make_Fifo(platform::Rooted(files::keypad));
    Make_Fifo(platform::Rooted(files::power_key));
    const std::string trigger = platform::Rooted(files::trigger);
    Make_Fifo(trigger);
    // Open for writing as well, so that it doesn't end with a writer.
    trigger_ = ::open(trigger.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (trigger_ < 0)
        Fail(trigger);
    std::tie(serial_, serial_end_) = Make_Terminal(platform::Rooted(files::serial));
    int user_end = -1;
    std::tie(serial_user_, user_end) = Make_Terminal(platform::Rooted(files::serial_user));
    // Nobody holds the user's end open, so that it shows whether somebody is there.
    Close(user_end);
    Make_File(platform::Rooted(files::sample_memory), Elements() * sizeof(double));
    sample_memory_ = platform::Map_Sample_Memory();
    if (sample_memory_ == nullptr)
        Fail(platform::Rooted(files::sample_memory));
    fpga_ = Listen(platform::Rooted(files::fpga_int));
    link_ = Listen(platform::Rooted(files::dsp_link));
    gpib_ = Listen_Bus(files::gpib);
    usb_ = Listen_Bus(files::usb);
}

void Devices::Remove() noexcept {
    for (const char* device : {files::gpib, files::usb}) {
        ::unlink(platform::Rooted(device).c_str());
        ::unlink((platform::Rooted(device) + files::controller_suffix).c_str());
    }
    for (Bus_Listeners* bus : {&gpib_, &usb_}) {
        Close(bus->instrument);
        Close(bus->controller);
    }
    Close(link_);
    Close(fpga_);
    Close(trigger_);
    platform::Unmap_Sample_Memory(sample_memory_);
    sample_memory_ = nullptr;
    for (const char* device : {files::dsp_link, files::fpga_int, files::sample_memory, files::serial, files::serial_user,
                               files::power_key, files::keypad, files::trigger, files::backlight, files::beeper})
        ::unlink(platform::Rooted(device).c_str());
    Remove_Frame_Devices();
    Close(serial_user_);
    Close(serial_end_);
    Close(serial_);
}

}  // namespace virtual_board
