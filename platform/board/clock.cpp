#include "platform/clock.h"

#include <ctime>
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

bool Set_Wall_Clock(const std::tm& calendar) {
    std::tm wanted = calendar;
    wanted.tm_isdst = -1;
    const timespec time{.tv_sec = std::mktime(&wanted), .tv_nsec = 0};
    return time.tv_sec != -1 && ::clock_settime(CLOCK_REALTIME, &time) == 0;
}

std::int64_t Wall_Clock_Offset() { return 0; }

void Set_Wall_Clock_Offset(std::int64_t) {}

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
