#pragma once
#include <array>
#include <cerrno>
#include <cstddef>

#include <poll.h>

namespace remote {

/// Everything that one readiness wait looks at.
class Poll_Set {
public:
    static constexpr std::size_t capacity = 128, nowhere = capacity;

    /// Returns the place by which its events are asked for. A descriptor of -1 has none.
    std::size_t Add(int descriptor, int events) {
        if (count_ == capacity) return nowhere;
        waits_[count_] = {descriptor, static_cast<short>(events), 0};
        return count_++;
    }
    /// Waits for at most the time; -1: until something happens. False on failure.
    bool Wait(int time_ms) {
        if (poll(waits_.data(), count_, time_ms) >= 0) return true;
        for (pollfd& wait : waits_) wait.revents = 0;
        return errno == EINTR;
    }
    int Events(std::size_t place) const { return place < count_ ? waits_[place].revents : 0; }

private:
    std::array<pollfd, capacity> waits_{};
    std::size_t count_ = 0;
};

}  // namespace remote
