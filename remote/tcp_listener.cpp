#include "remote/tcp_listener.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace remote {
namespace {

constexpr int backlog = 64;

void Set_Option(int socket, int level, int option) {
    const int on = 1;
    setsockopt(socket, level, option, &on, sizeof on);
}

}  // namespace

int Listen_On(const std::string& address, int port) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    errno = EINVAL;
    const bool known = inet_pton(AF_INET, address.c_str(), &name.sin_addr) == 1;
    const int listener = known ? socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0) : -1;
    if (listener >= 0) Set_Option(listener, SOL_SOCKET, SO_REUSEADDR);
    if (listener < 0 || bind(listener, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 ||
        listen(listener, backlog) != 0) {
        std::fprintf(stderr, "can't listen on %s port %d: %s\n", address.c_str(), port, std::strerror(errno));
        if (listener >= 0) close(listener);
        return -1;
    }
    return listener;
}

std::string Bound_Address(int socket) {
    sockaddr_in name{};
    socklen_t size = sizeof name;
    std::array<char, INET_ADDRSTRLEN> text{};
    getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size);
    inet_ntop(AF_INET, &name.sin_addr, text.data(), text.size());
    return std::string(text.data()) + ':' + std::to_string(ntohs(name.sin_port));
}

void Prepare_Client(int socket) {
    Set_Option(socket, IPPROTO_TCP, TCP_NODELAY);
    Set_Option(socket, SOL_SOCKET, SO_KEEPALIVE);
}

}  // namespace remote
