#include "platform/clock.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

#include "platform/stop.h"
#include "platform/posix/wait.h"

namespace platform {

namespace {

std::atomic<Clock_Mode> mode{Clock_Mode::real};

/// One sleeper of stepped time. It waits on a descriptor, as then a stop request from a signal handler wakes it too.
struct Sleeper {
    Duration due;
    int event;
};

std::mutex stepped_mutex;
Duration stepped_now{0};         // under stepped_mutex
std::vector<Sleeper> sleepers;   // under stepped_mutex

/// The thread's own wake-up event.
int Wake_Event() {
    struct Event {
        int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        ~Event() { ::close(descriptor); }
    };
    static thread_local Event event;
    return event.descriptor;
}

bool Sleep_Real(Duration time) {
    const auto end = std::chrono::steady_clock::now() + time;
    for (;;) {
        if (Stop_Requested())
            return false;
        const auto left = std::chrono::duration_cast<Duration>(end - std::chrono::steady_clock::now());
        if (left <= Duration::zero())
            return true;
        const timespec limit{.tv_sec = left.count() / 1'000'000'000, .tv_nsec = static_cast<long>(left.count() % 1'000'000'000)};
        pollfd stop{Stop_Fd(), POLLIN, 0};
        ::ppoll(&stop, 1, &limit, nullptr);
    }
}

bool Sleep_Stepped(Duration time) {
    const int event = Wake_Event();
    {
        std::lock_guard lock(stepped_mutex);
        sleepers.push_back({stepped_now + time, event});
    }
    const bool woken = Wait_Ready(event, POLLIN);
    std::lock_guard lock(stepped_mutex);
    std::erase_if(sleepers, [event](const Sleeper& sleeper) { return sleeper.event == event; });
    std::uint64_t count = 0;
    [[maybe_unused]] const auto drained = ::read(event, &count, sizeof count);
    return woken;
}

std::atomic<std::int64_t> wall_offset{0};

std::tm Calendar(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm calendar{};
    ::gmtime_r(&time, &calendar);
    return calendar;
}

/// The calendar time of the PC's place, or of the test, in seconds.
std::int64_t Machine_Seconds() {
    constexpr std::int64_t stepped_start = 1767323045;  // 2026-01-02 03:04:05
    if (mode.load() == Clock_Mode::stepped)
        return stepped_start + std::chrono::duration_cast<std::chrono::seconds>(Now()).count();
    const std::time_t now = std::time(nullptr);
    std::tm calendar{};
    ::localtime_r(&now, &calendar);
    return ::timegm(&calendar);
}

}  // namespace

void Set_Clock_Mode(Clock_Mode new_mode) {
    std::lock_guard lock(stepped_mutex);
    stepped_now = Duration::zero();
    wall_offset.store(0);
    mode.store(new_mode);
}

Clock_Mode Current_Clock_Mode() {
    return mode.load();
}

Duration Now() {
    if (mode.load() != Clock_Mode::stepped)
        return std::chrono::steady_clock::now().time_since_epoch();
    std::lock_guard lock(stepped_mutex);
    return stepped_now;
}

std::tm Wall_Clock() {
    return Calendar(Machine_Seconds() + wall_offset.load());
}

bool Set_Wall_Clock(const std::tm& calendar) {
    std::tm wanted = calendar;
    wall_offset.store(::timegm(&wanted) - Machine_Seconds());
    return true;
}

std::int64_t Wall_Clock_Offset() {
    return wall_offset.load();
}

void Set_Wall_Clock_Offset(std::int64_t seconds) {
    wall_offset.store(seconds);
}

bool Sleep_For(Duration time) {
    if (Stop_Requested())
        return false;
    if (time <= Duration::zero())
        return true;
    return mode.load() == Clock_Mode::stepped ? Sleep_Stepped(time) : Sleep_Real(time);
}

bool Pause_For(Duration time) {
    return mode.load() == Clock_Mode::fast ? !Stop_Requested() : Sleep_For(time);
}

void Step_Clock(Duration time) {
    std::lock_guard lock(stepped_mutex);
    stepped_now += time;
    for (const Sleeper& sleeper : sleepers) {
        const std::uint64_t one = 1;
        if (sleeper.due <= stepped_now)
            [[maybe_unused]] const auto written = ::write(sleeper.event, &one, sizeof one);
    }
}

}  // namespace platform
