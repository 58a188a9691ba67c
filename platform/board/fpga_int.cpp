#include "platform/fpga_int.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/posix/wait.h"

namespace platform {

int Open_Fpga_Int(const char* device) { return ::open(device, O_RDWR | O_NONBLOCK | O_CLOEXEC); }

std::optional<std::uint8_t> Read_Fpga_Event(int device) { return Read_Byte(device); }

int Fpga_Int_Request(int device, int request, int argument) {
    return ::ioctl(device, static_cast<unsigned long>(request), argument) < 0 ? -1 : 0;
}

void Close_Fpga_Int(int device) {
    if (device >= 0) ::close(device);
}

}  // namespace platform
