#pragma once
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

#include "web/screen.h"

/// The screen as it is now, read from the four frame-buffer devices.
namespace web {

/// Looks at the devices and never writes to them. They may appear, vanish and be made anew at any time: the devices are
/// opened again from time to time, and a picture without devices is black.
class Frame_Source {
public:
    /// reopen_interval: after this time the devices are opened again.
    explicit Frame_Source(std::chrono::milliseconds reopen_interval = std::chrono::seconds(1));
    ~Frame_Source();
    Frame_Source(const Frame_Source&) = delete;
    Frame_Source& operator=(const Frame_Source&) = delete;

    /// Composes the present screen (screen_bytes). False when there is no device to look at; the screen is then black.
    /// Any thread.
    bool Capture(std::span<std::uint8_t> screen);

    /// As Capture, but composes only when something is not as it was when seen was set; then sets seen and returns true.
    /// Start with 0. Any thread.
    bool Capture_News(std::uint64_t& seen, std::span<std::uint8_t> screen);

private:
    struct Device {
        int descriptor = -1;
        std::byte* memory = nullptr;
        std::size_t size = 0;
    };

    void Reopen();
    void Close(Device& device);
    void Look();
    bool Refresh(std::size_t layer, std::size_t bytes);

    const std::chrono::milliseconds reopen_interval_;
    std::mutex mutex_;
    std::array<Device, 4> devices_;
    std::chrono::steady_clock::time_point opened_{};
    int window_file_ = -1;
    std::byte* window_ = nullptr;
    // As of the last look:
    std::array<std::vector<std::byte>, 4> copies_;
    std::array<Layer, 4> layers_;
    std::uint32_t background_ = 0;
    int backlight_ = 100;
    bool any_device_ = false;
    std::uint64_t number_ = 1;  ///< of what was seen last
};

}  // namespace web
