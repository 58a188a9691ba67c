#include "platform/device_file.h"

#include <algorithm>
#include <array>

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/root.h"
#include "platform/virtual/device_files.h"

namespace platform {
namespace {

using device_files::Device_Header;
using device_files::Device_Packet;

/// One packet to the controller; -1 with errno.
std::ptrdiff_t Send(int device, Device_Header header, std::string_view bytes) {
    std::array<iovec, 2> parts{{{&header, sizeof header}, {const_cast<char*>(bytes.data()), bytes.size()}}};
    msghdr packet{};
    packet.msg_iov = parts.data();
    packet.msg_iovlen = parts.size();
    return sendmsg(device, &packet, MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace

int Open_Device_File(const char* device) { return device_files::Connect_Device(Rooted(device)); }

std::ptrdiff_t Read_Device(int device, std::span<char> bytes) {
    return recv(device, bytes.data(), bytes.size(), MSG_DONTWAIT);
}

std::ptrdiff_t Write_Device(int device, std::string_view bytes) {
    bytes = bytes.substr(0, device_files::device_packet_limit);
    const auto sent = Send(device, {Device_Packet::bytes, 0, 0}, bytes);
    return sent < 0 ? sent : static_cast<std::ptrdiff_t>(bytes.size());
}

int Device_Request(int device, int request, int argument) {
    return Send(device, {Device_Packet::request, request, argument}, {}) < 0 ? -1 : 0;
}

void Close_Device_File(int device) {
    if (device >= 0) close(device);
}

}  // namespace platform
