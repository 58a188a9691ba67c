#include "remote/usb.h"

#include "platform/device_file.h"

namespace remote {
namespace {

enum Usb_Request { usb_request_service = 0, usb_status_byte = 2 };

}  // namespace

void Open_Usb() { fd_usb = platform::Open_Device_File("/dev/usb"); }

void Close_Usb() { platform::Close_Device_File(fd_usb.exchange(-1)); }

void Request_Usb_Service(std::uint32_t status_byte) {
    if (fd_usb >= 0) platform::Device_Request(fd_usb, usb_request_service, static_cast<int>(status_byte));
}

void Hand_Over_Usb_Status(std::uint32_t status_byte) {
    if (fd_usb >= 0) platform::Device_Request(fd_usb, usb_status_byte, static_cast<int>(status_byte));
}

}  // namespace remote
