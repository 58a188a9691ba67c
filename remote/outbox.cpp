#include "remote/outbox.h"

#include <algorithm>
#include <cerrno>

#include <sys/socket.h>

namespace remote {

void Outbox::Put(std::string_view bytes) {
    if (Empty()) {
        Clear();
        moved_ = platform::Now();
    }
    bytes_.append(bytes);
}

void Outbox::Clear() {
    constexpr std::size_t kept_room = 1u << 16;
    sent_ = 0;
    bytes_.clear();
    if (bytes_.capacity() > kept_room) bytes_ = {};
}

void Outbox::Drop_Unsent(std::size_t (*message_size)(std::string_view bytes)) {
    std::size_t kept = 0;
    while (kept < sent_) kept += message_size(std::string_view(bytes_).substr(kept));
    bytes_.resize(std::min(kept, bytes_.size()));
    if (Empty()) Clear();
}

bool Outbox::Send(int descriptor) {
    while (!Empty()) {
        const std::ptrdiff_t taken = write_(descriptor, std::string_view(bytes_).substr(sent_));
        if (taken < 0 && errno == EINTR) continue;
        if (taken == 0 || (taken < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))) return true;
        if (taken < 0) {
            Clear();
            return false;
        }
        sent_ += static_cast<std::size_t>(taken);
        moved_ = platform::Now();
    }
    Clear();
    return true;
}

std::ptrdiff_t Write_Socket(int descriptor, std::string_view bytes) {
    return send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace remote
