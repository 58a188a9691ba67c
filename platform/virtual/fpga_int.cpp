#include "platform/fpga_int.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/root.h"
#include "platform/virtual/device_files.h"
#include "platform/posix/wait.h"

namespace platform {

int Open_Fpga_Int(const char* device) {
    return device_files::Connect_Device(Rooted(device));
}

bool Wait_Fpga_Event(int device) {
    while (device >= 0 && Wait_Ready(device, POLLIN)) {
        std::uint8_t event = 0;
        const auto size = ::recv(device, &event, 1, MSG_PEEK | MSG_DONTWAIT);
        if (size == 1)
            return true;
        if (size == 0 || (errno != EAGAIN && errno != EINTR))
            return false;
    }
    return false;
}

std::optional<std::uint8_t> Take_Fpga_Event(int device) {
    std::uint8_t event = 0;
    if (device < 0 || ::recv(device, &event, 1, MSG_DONTWAIT) != 1)
        return std::nullopt;
    return event;
}

std::optional<std::uint8_t> Read_Fpga_Event(int device) {
    while (Wait_Fpga_Event(device))
        if (const auto event = Take_Fpga_Event(device))
            return event;
    return std::nullopt;
}

int Fpga_Int_Request(int device, int request, int argument) {
    while (Take_Fpga_Event(device)) {}
    const device_files::Fpga_Request packet{request, argument};
    return ::send(device, &packet, sizeof packet, MSG_NOSIGNAL) == sizeof packet ? 0 : -1;
}

void Close_Fpga_Int(int device) {
    if (device >= 0)
        ::close(device);
}

}  // namespace platform
