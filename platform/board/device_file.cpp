#include "platform/device_file.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace platform {

int Open_Device_File(const char* device) { return ::open(device, O_RDWR | O_NOCTTY | O_CLOEXEC); }

int Device_Request(int device, int request, int argument) {
    return ::ioctl(device, static_cast<unsigned long>(request), argument) < 0 ? -1 : 0;
}

void Close_Device_File(int device) {
    if (device >= 0) ::close(device);
}

}  // namespace platform
