#pragma once

/// Character devices that carry remote messages: GPIB and USB.
namespace platform {

/// Opens a device read and write; returns its descriptor, or -1 with errno.
int Open_Device_File(const char* device);

/// A driver request with one integer argument. 0, or -1 with errno.
int Device_Request(int device, int request, int argument);

void Close_Device_File(int device);

}  // namespace platform
