#include "platform/device_file.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace platform {

int Open_Device_File(const char* device) { return ::open(device, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC); }

std::ptrdiff_t Read_Device(int device, std::span<char> bytes) { return ::read(device, bytes.data(), bytes.size()); }

std::ptrdiff_t Write_Device(int device, std::string_view bytes) { return ::write(device, bytes.data(), bytes.size()); }

int Device_Request(int device, int request, int argument) {
    return ::ioctl(device, static_cast<unsigned long>(request), argument) < 0 ? -1 : 0;
}

void Close_Device_File(int device) {
    if (device >= 0) ::close(device);
}

}  // namespace platform
