#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/socket.h>

#include "platform/frame_buffer.h"

/// What the instrument and the virtual board agree on: the device files below the root, their layouts and the packets
/// of their sockets.
namespace platform::device_files {

constexpr const char* sample_memory = "/dev/cmem";
constexpr const char* dsp_link = "/dev/dsp";
constexpr const char* fpga_int = "/dev/fpga_int";
constexpr const char* keypad = "/dev/keypad";
constexpr const char* power_key = "/dev/killsys";
constexpr const char* backlight = "/dev/backlight";  ///< one byte, percent
constexpr const char* serial = "/dev/tts/2";

struct Frame_Device {
    const char* path;
    std::uint32_t width, height, bits_per_pixel;
};
constexpr std::array<Frame_Device, 4> frame_devices{{
    {"/dev/fb/0", 800, 600, 16},
    {"/dev/fb/1", 800, 600, 24},
    {"/dev/fb/2", 800, 600, 16},
    {"/dev/fb/3", 800, 600, 16},
}};
/// A frame device's state lies in a file beside it.
constexpr const char* frame_state_suffix = ".state";

constexpr std::uint32_t frame_state_magic = 0x4b564146;
constexpr std::uint32_t frame_state_version = 1;
constexpr std::size_t frame_state_words = sizeof(Frame_State) / sizeof(std::uint32_t);

/// The state file: every word of the Frame_State is read and written atomically by several processes.
struct Frame_Control {
    std::uint32_t magic = frame_state_magic;
    std::uint32_t version = frame_state_version;
    std::array<std::uint32_t, frame_state_words> words{};
};
static_assert(sizeof(Frame_State) % sizeof(std::uint32_t) == 0);

/// Packets of the link socket. The instrument sends `output` with a buffer and waits for `taken`; it sends `input` and
/// waits for `filled` with the buffer as the core answers it.
enum class Link_Packet : std::uint32_t { output = 1, taken = 2, input = 3, filled = 4 };

struct Link_Header {
    Link_Packet packet;
    std::uint32_t size;  ///< bytes of the buffer that follow
};
constexpr std::size_t link_buffer_limit = 65536;  ///< bytes

/// Packet of the instrument to the FPGA device. The device sends one byte an event.
struct Fpga_Request {
    std::int32_t request;
    std::int32_t argument;
};

/// Connects to a local socket of the given type, without blocking; path may be longer than a socket name. Returns the
/// descriptor, which doesn't block either, or -1 with errno.
int Connect_Device(const std::string& path, int type = SOCK_SEQPACKET);

/// Makes a listening packet socket at path, in place of what lies there. Returns its descriptor, or -1 with errno.
int Listen_Device(const std::string& path);

}  // namespace platform::device_files
