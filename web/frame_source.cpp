#include "web/frame_source.h"

#include "platform/backlight.h"
#include "web/screen.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace web {
namespace {

constexpr std::size_t most_layer_bytes = std::size_t{8} << 20;

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
    constexpr auto size = places.size() * most_layer_bytes;
    copy_file_ = memfd_create("screen", MFD_CLOEXEC);
    if (copy_file_ < 0 || ftruncate(copy_file_, static_cast<off_t>(size)) != 0) return;
    void* memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, copy_file_, 0);
    if (memory != MAP_FAILED) copy_ = static_cast<std::byte*>(memory);
}

Frame_Source::~Frame_Source() {
    for (auto& device : devices_) Close(device);
    if (copy_) munmap(copy_, places.size() * most_layer_bytes);
    if (copy_file_ >= 0) close(copy_file_);
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

/// The copy is made by the kernel: a device file that became shorter than its mapping gives an error there, where a
/// read of our own would end the process.
std::span<const std::byte> Frame_Source::Copy(std::size_t layer, std::size_t bytes) {
    const auto& device = devices_[layer];
    if (bytes == 0 || bytes > device.size || bytes > most_layer_bytes || !copy_) return {};
    const auto start = layer * most_layer_bytes;
    std::size_t done = 0;
    while (done < bytes) {
        const auto written = pwrite(copy_file_, device.memory + done, bytes - done, static_cast<off_t>(start + done));
        if (written <= 0) return {};
        done += static_cast<std::size_t>(written);
    }
    return {copy_ + start, bytes};
}

bool Frame_Source::Capture(std::span<std::uint8_t> screen) {
    const std::lock_guard lock(mutex_);
    Reopen();
    std::array<Layer, places.size()> layers;
    std::uint32_t background = 0;
    bool any = false;
    for (std::size_t i = 0; i < places.size(); ++i) {
        layers[i].zero_transparent = places[i].zero_transparent;
        if (!devices_[i].memory) continue;
        if (platform::Frame_Get_State(devices_[i].descriptor, layers[i].state) != 0) continue;
        if (!any) background = layers[i].state.background;
        any = true;
        layers[i].memory = Copy(i, Layer_Bytes(layers[i].state));
    }
    const int backlight = platform::Get_Backlight();
    Compose(any ? background : 0, layers, backlight < 0 ? 100 : backlight, screen);
    return any;
}

}  // namespace web
