#include "platform/stop.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/virtual/wait.h"

namespace platform {

namespace {

std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the request is made in signal handlers");

// Made before main, so that a signal handler finds it.
const int stop_event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

}  // namespace

void Request_Stop() {
    const int error = errno;
    requested.store(true, std::memory_order_release);
    const std::uint64_t one = 1;
    // Fails only when the count is full, and then the event stands already.
    [[maybe_unused]] const auto written = ::write(stop_event, &one, sizeof one);
    errno = error;
}

bool Stop_Requested() {
    return requested.load(std::memory_order_acquire);
}

int Stop_Fd() {
    return stop_event;
}

void Reset_Stop() {
    requested.store(false, std::memory_order_release);
    std::uint64_t count = 0;
    [[maybe_unused]] const auto drained = ::read(stop_event, &count, sizeof count);
}

bool Wait_Ready(int descriptor, short events) {
    for (;;) {
        std::array<pollfd, 2> waits{{{stop_event, POLLIN, 0}, {descriptor, events, 0}}};
        const int ready = ::poll(waits.data(), waits.size(), -1);
        if (ready < 0 && errno != EINTR)
            return false;
        if (Stop_Requested())
            return false;
        if (ready > 0 && waits[1].revents != 0)
            return true;
    }
}

}  // namespace platform
