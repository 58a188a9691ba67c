#include "remote/gpib.h"

#include <cstdio>

#include "platform/device_file.h"

namespace remote {
namespace {

enum Gpib_Request { gpib_set_address = 0, gpib_request_service = 2, gpib_status_cleared = 3 };

}  // namespace

void Open_Gpib() { fd_gpib = platform::Open_Device_File("/dev/gpib"); }

void Close_Gpib() { platform::Close_Device_File(fd_gpib.exchange(-1)); }

void Hand_Over_Gpib_Address(int address) {
    if (fd_gpib < 0) return;
    if (platform::Device_Request(fd_gpib, gpib_set_address, address) < 0) std::perror("gpib address");
}

void Request_Gpib_Service(std::uint32_t status_byte) {
    if (fd_gpib >= 0) platform::Device_Request(fd_gpib, gpib_request_service, static_cast<int>(status_byte));
}

void Hand_Over_Cleared_Status(std::uint32_t status_byte) {
    if (fd_gpib >= 0) platform::Device_Request(fd_gpib, gpib_status_cleared, static_cast<int>(status_byte));
}

}  // namespace remote
