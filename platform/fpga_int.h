#pragma once
#include <cstdint>
#include <optional>

/// The FPGA interrupt device "/dev/fpga_int": sweep and trigger events.
namespace platform {

enum Fpga_Event : std::uint8_t {
    fpga_sweep_finished = 1,  ///< a triggered or single sweep has ended
    fpga_triggered = 2,       ///< the awaited trigger has come
};

/// Opens the device; returns its descriptor, or -1 with errno.
int Open_Fpga_Int(const char* device);

/// Blocks until there is an event; false when the stop is requested or the device has failed.
bool Wait_Fpga_Event(int device);

/// The next event, where there is one; doesn't block.
std::optional<std::uint8_t> Take_Fpga_Event(int device);

/// Blocks for one event; nothing when the stop is requested or the device has failed.
std::optional<std::uint8_t> Read_Fpga_Event(int device);

/// The driver's request (0: re-arm) with its argument (0 free run, 1 wait for a trigger). Events that nobody has taken
/// yet are dropped first. 0, or -1 with errno.
int Fpga_Int_Request(int device, int request, int argument);

void Close_Fpga_Int(int device);

}  // namespace platform
