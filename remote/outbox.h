#pragma once
#include <chrono>
#include <string>
#include <string_view>

#include "platform/clock.h"

namespace remote {

/// What an interface has not taken yet of its answers. Nothing waits: a client is not read while its answers stand, so they
/// never grow beyond those of the bytes that it sent at once.
class Outbox {
public:
    static constexpr platform::Duration patience = std::chrono::seconds(30);
    using Write = std::ptrdiff_t (*)(int descriptor, std::string_view bytes);

    explicit Outbox(Write write) : write_(write) {}

    bool Empty() const { return sent_ == bytes_.size(); }
    std::size_t Size() const { return bytes_.size() - sent_; }
    void Put(std::string_view bytes);
    void Clear();
    /// Drops the messages of which nothing has been sent; message_size tells the length of the one that a text begins with.
    void Drop_Unsent(std::size_t (*message_size)(std::string_view bytes));
    /// Sends what the descriptor takes. False when it is broken; what is left is lost then.
    bool Send(int descriptor);
    /// Something stands and nothing has moved for too long.
    bool Stalled() const { return !Empty() && platform::Now() - moved_ >= patience; }

private:
    Write write_;
    std::string bytes_;
    std::size_t sent_ = 0;
    platform::Duration moved_{0};  ///< when anything was last taken, or put where nothing stood
};

/// Writes to a socket without waiting and without a signal.
std::ptrdiff_t Write_Socket(int descriptor, std::string_view bytes);

}  // namespace remote
