#include "remote/gpib.h"

#include <cstdio>

#include "platform/device_file.h"

namespace remote {

void Open_Gpib() { fd_gpib = platform::Open_Device_File("/dev/gpib"); }

void Hand_Over_Gpib_Address(int address) {
    constexpr int set_address = 0;
    if (fd_gpib < 0) return;
    if (platform::Device_Request(fd_gpib, set_address, address) < 0) std::perror("gpib address");
}

}  // namespace remote
