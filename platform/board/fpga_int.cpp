#include "platform/fpga_int.h"

#include <atomic>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/posix/wait.h"

namespace platform {

namespace {

constexpr int no_event = -1;
std::atomic<int> kept_event{no_event};  ///< read by the wait, since a driver can't be asked without reading

}  // namespace

int Open_Fpga_Int(const char* device) {
    kept_event = no_event;
    return ::open(device, O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

bool Wait_Fpga_Event(int device) {
    if (kept_event != no_event) return true;
    const auto event = Read_Byte(device);
    if (event) kept_event = *event;
    return event.has_value();
}

std::optional<std::uint8_t> Take_Fpga_Event(int device) {
    const int kept = kept_event.exchange(no_event);
    if (kept != no_event) return static_cast<std::uint8_t>(kept);
    std::uint8_t event = 0;
    if (device < 0 || ::read(device, &event, 1) != 1) return std::nullopt;
    return event;
}

std::optional<std::uint8_t> Read_Fpga_Event(int device) {
    return Wait_Fpga_Event(device) ? Take_Fpga_Event(device) : std::nullopt;
}

int Fpga_Int_Request(int device, int request, int argument) {
    while (Take_Fpga_Event(device)) {}
    return ::ioctl(device, static_cast<unsigned long>(request), argument) < 0 ? -1 : 0;
}

void Close_Fpga_Int(int device) {
    if (device >= 0) ::close(device);
}

}  // namespace platform
