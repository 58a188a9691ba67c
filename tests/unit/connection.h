#pragma once
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

/// A descriptor of a test's client.
class Connection {
public:
    explicit Connection(int descriptor) : descriptor_(descriptor) {}
    Connection(Connection&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Connection& operator=(Connection&&) = delete;
    ~Connection() { Close(); }

    int Descriptor() const { return descriptor_; }
    void Close() {
        if (descriptor_ >= 0) close(descriptor_);
        descriptor_ = -1;
    }
    bool Send(std::string_view bytes) const {
        ssize_t sent = send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == ENOTSOCK) sent = write(descriptor_, bytes.data(), bytes.size());
        return sent == static_cast<ssize_t>(bytes.size());
    }
    /// The next bytes; fewer when the connection ends or nothing comes for the time.
    std::string Receive(std::size_t count, int patience_ms = 10000) const {
        std::string text;
        std::array<char, 4096> piece;
        pollfd wait{descriptor_, POLLIN, 0};
        while (text.size() < count && poll(&wait, 1, patience_ms) > 0) {
            const ssize_t got = read(descriptor_, piece.data(), std::min(piece.size(), count - text.size()));
            if (got <= 0) break;
            text.append(piece.data(), static_cast<std::size_t>(got));
        }
        return text;
    }
    std::string Line() const {
        std::string text;
        while (text.empty() || text.back() != '\n') {
            const std::string byte = Receive(1);
            if (byte.empty()) break;
            text += byte;
        }
        return text;
    }
    std::string Ask(std::string_view query) const { return Send(query) ? Line() : "not sent"; }
    /// What is there at once; nothing.
    bool Silent() const {
        pollfd wait{descriptor_, POLLIN, 0};
        return poll(&wait, 1, 0) == 0;
    }

private:
    int descriptor_;
};

/// A client of a port of this machine.
inline Connection To_Port(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return Connection(client);
}
