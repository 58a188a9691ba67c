#pragma once
#include <cstddef>

#include "platform/clock.h"
#include "remote/poll_set.h"

namespace remote {

/// A listening socket. Where descriptors have run out it rests, instead of being ready for ever.
class Listener {
public:
    /// failure: how a client that can't be taken is reported.
    void Listen_On(int descriptor, const char* failure = "accept") {
        descriptor_ = descriptor;
        failure_ = failure;
    }
    void Add_Wait(Poll_Set& waits);
    /// A client who wants to connect, non-blocking; -1 when there is none.
    int Accept(const Poll_Set& waits);
    /// True while it rests.
    bool Resting() const { return resting_until_ > platform::Now(); }
    /// A descriptor has become free.
    void Wake() { resting_until_ = platform::Duration::zero(); }

private:
    int descriptor_ = -1;
    const char* failure_ = "accept";
    std::size_t place_ = Poll_Set::nowhere;
    platform::Duration resting_until_{0};
};

}  // namespace remote
