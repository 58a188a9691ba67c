#include "platform/clock.h"

#include <poll.h>

#include "platform/stop.h"

/// The board has real time alone; the other modes are the PC's.
namespace platform {

void Set_Clock_Mode(Clock_Mode) {}

Clock_Mode Current_Clock_Mode() { return Clock_Mode::real; }

Duration Now() { return std::chrono::steady_clock::now().time_since_epoch(); }

std::tm Wall_Clock() {
    const std::time_t now = std::time(nullptr);
    std::tm calendar{};
    ::localtime_r(&now, &calendar);
    return calendar;
}

bool Sleep_For(Duration time) {
    const Duration end = Now() + time;
    for (;;) {
        if (Stop_Requested()) return false;
        const Duration left = end - Now();
        if (left <= Duration::zero()) return true;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
        const timespec limit{.tv_sec = static_cast<std::time_t>(seconds.count()),
                             .tv_nsec = static_cast<long>((left - seconds).count())};
        pollfd stop{Stop_Fd(), POLLIN, 0};
        ::ppoll(&stop, 1, &limit, nullptr);
    }
}

bool Pause_For(Duration time) { return Sleep_For(time); }

void Step_Clock(Duration) {}

}  // namespace platform
