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
constexpr const char* trigger = "/dev/trigger";  ///< the trigger input: "1" raises it, "0" lowers it
constexpr const char* lan = "/dev/lan";  ///< the LAN cable: "1" plugged, also without the file, "0" pulled
constexpr const char* keypad = "/dev/keypad";
constexpr const char* power_key = "/dev/killsys";
constexpr const char* backlight = "/dev/backlight";  ///< one byte, percent
constexpr const char* beeper = "/dev/beeper";        ///< how many tones it has sounded, 32 bits
constexpr const char* serial = "/dev/tts/2";
constexpr const char* serial_user = "/dev/serial";  ///< the cable's other end, for a PC's program
constexpr const char* gpib = "/dev/gpib";
constexpr const char* usb = "/dev/usb";
/// GPIB and USB: the controller's socket lies beside the device.
constexpr const char* controller_suffix = ".controller";

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

/// GPIB and USB devices and their controllers' ends are packet sockets. To the instrument go bare bytes, of a controller
/// up to device_packet_limit a packet; from it come packets of this header, and the bytes where they carry any. What
/// the instrument sends while no controller is connected is lost.
enum class Device_Packet : std::uint32_t { bytes = 1, request = 2 };
struct Device_Header {
    Device_Packet packet;
    std::int32_t request;   ///< of the driver
    std::int32_t argument;
};
constexpr std::size_t device_packet_limit = 8192;  ///< bytes

/// Connects to a local socket of the given type, without blocking; path may be longer than a socket name. Returns the
/// descriptor, which doesn't block either, or -1 with errno.
int Connect_Device(const std::string& path, int type = SOCK_SEQPACKET);

/// Makes a listening packet socket at path, in place of what lies there. Returns its descriptor, or -1 with errno.
int Listen_Device(const std::string& path);

}  // namespace platform::device_files
