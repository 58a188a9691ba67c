#include "platform/posix/wait.h"

#include <poll.h>
#include <unistd.h>
#include <array>
#include <cerrno>

#include "platform/clock.h"
#include "platform/stop.h"

namespace platform {

namespace {

/// A driver without poll() counts as ready always; it is asked this often instead.
constexpr auto retry_interval = std::chrono::milliseconds(10);

}  // namespace

bool Wait_Ready(int descriptor, short events) {
    for (;;) {
        std::array<pollfd, 2> waits{{{Stop_Fd(), POLLIN, 0}, {descriptor, events, 0}}};
        const int ready = ::poll(waits.data(), waits.size(), -1);
        if (ready < 0 && errno != EINTR) return false;
        if (Stop_Requested()) return false;
        if (ready > 0 && waits[1].revents != 0) return true;
    }
}

std::optional<std::uint8_t> Read_Byte(int device) {
    // poll() passes over a descriptor that is none.
    if (device < 0) return std::nullopt;
    while (Wait_Ready(device, POLLIN)) {
        std::uint8_t byte = 0;
        const auto size = ::read(device, &byte, 1);
        if (size == 1) return byte;
        if (size == 0 || (errno != EAGAIN && errno != EINTR)) return std::nullopt;
        if (!Sleep_For(retry_interval)) return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace platform
