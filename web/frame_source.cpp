#include "web/frame_source.h"

#include "platform/backlight.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace web {
namespace {

constexpr std::size_t most_layer_bytes = std::size_t{8} << 20;
constexpr std::size_t window_bytes = std::size_t{256} << 10;

struct Place {
    const char* device;
    bool zero_transparent;
};

// From the bottom of the screen to its top.
constexpr std::array<Place, 4> places{{
    {"/dev/fb/1", false},  // fbVid0
    {"/dev/fb/3", false},  // fbVid1
    {"/dev/fb/2", true},   // fbOsd1
    {"/dev/fb/0", true},   // fbOsd0
}};

}  // namespace

Frame_Source::Frame_Source(std::chrono::milliseconds reopen_interval) : reopen_interval_(reopen_interval) {
    window_file_ = memfd_create("screen", MFD_CLOEXEC);
    if (window_file_ < 0 || ftruncate(window_file_, window_bytes) != 0) return;
    void* memory = mmap(nullptr, window_bytes, PROT_READ, MAP_SHARED, window_file_, 0);
    if (memory != MAP_FAILED) window_ = static_cast<std::byte*>(memory);
}

Frame_Source::~Frame_Source() {
    for (auto& device : devices_) Close(device);
    if (window_) munmap(window_, window_bytes);
    if (window_file_ >= 0) close(window_file_);
}

void Frame_Source::Close(Device& device) {
    if (device.memory) platform::Frame_Unmap(device.memory, device.size);
    if (device.descriptor >= 0) platform::Frame_Close(device.descriptor);
    device = {};
}

void Frame_Source::Reopen() {
    const auto now = std::chrono::steady_clock::now();
    if (opened_ != decltype(opened_){} && now - opened_ < reopen_interval_) return;
    opened_ = now;
    for (std::size_t i = 0; i < places.size(); ++i) {
        auto& device = devices_[i];
        Close(device);
        device.descriptor = platform::Frame_Open_View(places[i].device);
        if (device.descriptor < 0) continue;
        platform::Frame_Fixed_Info info;
        if (platform::Frame_Get_Fixed_Info(device.descriptor, info) != 0) continue;
        if (info.memory_size == 0 || info.memory_size > most_layer_bytes) continue;
        device.memory = platform::Frame_Map(device.descriptor, info.memory_size);
        if (device.memory) device.size = info.memory_size;
    }
}

/// Brings a layer's copy up to date; true when it changed. The kernel reads the device: a file that became shorter than
/// its mapping gives an error there, where a read of our own would end the process. It reads through a window that stays
/// in the processor's cache.
bool Frame_Source::Refresh(std::size_t layer, std::size_t bytes) {
    const auto& device = devices_[layer];
    auto& copy = copies_[layer];
    if (bytes > device.size || !window_) bytes = 0;
    bool changed = copy.size() != bytes;
    copy.resize(bytes);
    for (std::size_t done = 0; done < bytes;) {
        const auto got = pwrite(window_file_, device.memory + done, std::min(window_bytes, bytes - done), 0);
        if (got <= 0) {
            copy.clear();
            return true;
        }
        const auto count = static_cast<std::size_t>(got);
        if (std::memcmp(copy.data() + done, window_, count) != 0) {
            std::memcpy(copy.data() + done, window_, count);
            changed = true;
        }
        done += count;
    }
    return changed;
}

void Frame_Source::Look() {
    Reopen();
    bool changed = false, any = false;
    std::uint32_t background = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        platform::Frame_State state;
        if (devices_[i].memory && platform::Frame_Get_State(devices_[i].descriptor, state) == 0) {
            if (!any) background = state.background;
            any = true;
        } else {
            state = {};
        }
        changed |= Refresh(i, Layer_Bytes(state)) || state != layers_[i].state;
        layers_[i] = {state, copies_[i], places[i].zero_transparent};
    }
    const int told = platform::Get_Backlight(), backlight = told < 0 ? 100 : told;
    changed |= any != any_device_ || background != background_ || backlight != backlight_;
    any_device_ = any;
    background_ = background;
    backlight_ = backlight;
    if (changed) ++number_;
}

bool Frame_Source::Capture(std::span<std::uint8_t> screen) {
    const std::lock_guard lock(mutex_);
    Look();
    Compose(background_, layers_, backlight_, screen);
    return any_device_;
}

bool Frame_Source::Capture_News(std::uint64_t& seen, std::span<std::uint8_t> screen) {
    const std::lock_guard lock(mutex_);
    Look();
    if (seen == number_) return false;
    seen = number_;
    Compose(background_, layers_, backlight_, screen);
    return true;
}

}  // namespace web
