#include "remote/listener.h"

#include <cerrno>
#include <cstdio>

#include <sys/socket.h>

namespace remote {

void Listener::Add_Wait(Poll_Set& waits) { place_ = waits.Add(Resting() ? -1 : descriptor_, POLLIN); }

int Listener::Accept(const Poll_Set& waits) {
    constexpr auto rest = std::chrono::seconds(1);
    if (!waits.Events(place_)) return -1;
    const int socket = accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket >= 0) return socket;
    if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        std::perror(failure_);
        resting_until_ = platform::Now() + rest;
    }
    return -1;
}

}  // namespace remote
