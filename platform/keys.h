#pragma once
#include <cstdint>
#include <optional>

/// The key pad "/dev/keypad" and the power key "/dev/killsys": one byte a key.
namespace platform {

/// Opens a key device read and write; returns its descriptor, or -1 with errno.
int Open_Key_Device(const char* device);

/// Blocks for one byte of a key device; nothing when the stop is requested or the device has failed.
std::optional<std::uint8_t> Read_Key(int device);

/// Presses the power key as a finger would. 0, or -1 with errno where the key has no such input (on the board).
int Press_Power_Key();

void Close_Key_Device(int device);

}  // namespace platform
