#pragma once
#include <cstddef>
#include <span>
#include <string_view>

/// Character devices that carry remote messages: GPIB and USB. poll() tells when they are ready.
namespace platform {

/// Opens a device read and write; returns its descriptor, which doesn't block, or -1 with errno.
int Open_Device_File(const char* device);

/// Reads what has come, as much as fits. The number of bytes, 0 when the device is gone, or -1 with errno.
std::ptrdiff_t Read_Device(int device, std::span<char> bytes);

/// Writes as much as the device takes now. The number of bytes, or -1 with errno.
std::ptrdiff_t Write_Device(int device, std::string_view bytes);

/// A driver request with one integer argument. 0, or -1 with errno.
int Device_Request(int device, int request, int argument);

void Close_Device_File(int device);

}  // namespace platform
