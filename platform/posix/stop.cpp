#include "platform/stop.h"

#include <sys/eventfd.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstdint>

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

bool Stop_Requested() { return requested.load(std::memory_order_acquire); }

int Stop_Fd() { return stop_event; }

void Reset_Stop() {
    requested.store(false, std::memory_order_release);
    std::uint64_t count = 0;
    [[maybe_unused]] const auto drained = ::read(stop_event, &count, sizeof count);
}

}  // namespace platform
