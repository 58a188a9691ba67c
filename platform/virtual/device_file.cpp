#include "platform/device_file.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "platform/root.h"

namespace platform {

int Open_Device_File(const char* device) { return open(Rooted(device).c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC); }

/// The virtual board makes no such devices, so there is no driver to ask.
int Device_Request(int, int, int) {
    errno = ENOTTY;
    return -1;
}

void Close_Device_File(int device) {
    if (device >= 0) close(device);
}

}  // namespace platform
