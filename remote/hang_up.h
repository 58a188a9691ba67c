#pragma once
#include <poll.h>

namespace remote {

/// True when a socket's other side has closed it or will send no more. Looks without waiting.
inline bool Hung_Up(int socket) {
    pollfd wait{socket, POLLRDHUP, 0};
    return poll(&wait, 1, 0) > 0;
}

}  // namespace remote
