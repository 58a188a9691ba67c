#pragma once
#include <cstdint>
#include <optional>

namespace platform {

/// Waits until the descriptor is ready for events (as of poll) or the stop is requested. True when the descriptor is
/// ready, hung up or in error; false on the stop request.
bool Wait_Ready(int descriptor, short events);

/// Blocks for one byte of a device that was opened without blocking; nothing when the stop is requested or the device
/// has failed.
std::optional<std::uint8_t> Read_Byte(int device);

}  // namespace platform
