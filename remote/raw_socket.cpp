#include "remote/raw_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "records/handover.h"
#include "remote/hang_up.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr int backlog = 64;
constexpr std::size_t piece_size = 512;

int raw_listener = -1;
std::mutex address_mutex;
std::string raw_address;  // under address_mutex

void Set_Option(int socket, int level, int option) {
    const int on = 1;
    setsockopt(socket, level, option, &on, sizeof on);
}

std::string Bound_Address(int socket) {
    sockaddr_in name{};
    socklen_t size = sizeof name;
    std::array<char, INET_ADDRSTRLEN> text{};
    getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size);
    inet_ntop(AF_INET, &name.sin_addr, text.data(), text.size());
    return std::string(text.data()) + ':' + std::to_string(ntohs(name.sin_port));
}

}  // namespace

bool Open_Raw_Listener(const std::string& address, int port) {
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
        return false;
    }
    raw_listener = listener;
    const std::lock_guard guard(address_mutex);
    raw_address = Bound_Address(listener);
    return true;
}

void Close_Raw_Listener() {
    if (raw_listener >= 0) close(raw_listener);
    raw_listener = -1;
    const std::lock_guard guard(address_mutex);
    raw_address.clear();
}

std::string Raw_Address() {
    const std::lock_guard guard(address_mutex);
    return raw_address;
}

Raw_Clients::Raw_Clients() {
    listener_.Listen_On(raw_listener);
    Set_Sink(interface_socket, this);
}

Raw_Clients::~Raw_Clients() {
    Set_Sink(interface_socket, nullptr);
    for (Client& client : clients_) Close(client);
}

void Raw_Clients::Add_Waits(Poll_Set& waits) {
    for (Client& client : clients_) {
        client.place = client.socket < 0 ? Poll_Set::nowhere
                                         : waits.Add(client.socket, client.output.Empty() ? POLLIN : POLLOUT);
    }
    listener_.Add_Wait(waits);
}

bool Raw_Clients::Watches_Time() const {
    return listener_.Resting() ||
           std::any_of(clients_.begin(), clients_.end(), [](const Client& client) { return !client.output.Empty(); });
}

void Raw_Clients::Serve(const Poll_Set& waits) {
    for (Client& client : clients_) {
        if (client.socket >= 0 && !Serve(client, waits.Events(client.place))) Close(client);
    }
    Accept(waits);
}

bool Raw_Clients::Serve(Client& client, int events) {
    if (!client.output.Empty()) {
        if (client.output.Stalled()) {
            std::fprintf(stderr, "a raw client that doesn't read its answers is dropped\n");
            return false;
        }
        if (events & (POLLERR | POLLHUP)) return false;
        return !events || client.output.Send(client.socket);
    }
    return !events || Receive(client);
}

bool Raw_Clients::Receive(Client& client) {
    std::array<char, piece_size> piece;
    const ssize_t got = recv(client.socket, piece.data(), piece.size(), MSG_DONTWAIT);
    if (got < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    if (got == 0) return false;
    Remote_Flag.store(1, std::memory_order_release);
    // The socket stays open until this returns, so its number can't become another client's.
    SCPI_Receive(scpi_context, {interface_socket, client.socket}, client.pending,
                 {piece.data(), static_cast<std::size_t>(got)});
    return !client.gone;
}

void Raw_Clients::Accept(const Poll_Set& waits) {
    const int socket = listener_.Accept(waits);
    if (socket < 0) return;
    Client* const slot = Find(-1);
    if (!slot) {
        close(socket);
        if (!crowd_told_) std::fprintf(stderr, "a raw client is refused: there are %zu already\n", slots);
        crowd_told_ = true;
        return;
    }
    Set_Option(socket, IPPROTO_TCP, TCP_NODELAY);
    // A client whose machine went away silently gives its slot back some day.
    Set_Option(socket, SOL_SOCKET, SO_KEEPALIVE);
    slot->socket = socket;
}

Raw_Clients::Client* Raw_Clients::Find(int descriptor) {
    const auto found = std::find_if(clients_.begin(), clients_.end(),
                                    [&](const Client& client) { return client.socket == descriptor; });
    return found == clients_.end() ? nullptr : &*found;
}

void Raw_Clients::Close(Client& client) {
    if (client.socket < 0) return;
    Release_Waits({interface_socket, client.socket});
    close(client.socket);
    client.socket = -1;
    client.gone = false;
    client.pending.length = 0;
    client.pending.refused = false;
    client.output.Clear();
    crowd_told_ = false;
    listener_.Wake();
}

void Raw_Clients::Answer(int descriptor, std::string_view answer) {
    Client* const client = descriptor < 0 ? nullptr : Find(descriptor);
    if (!client || client->gone) return;
    client->output.Put(answer);
    client->gone = !client->output.Send(client->socket);
}

bool Raw_Clients::Lives(int descriptor) {
    Client* const client = descriptor < 0 ? nullptr : Find(descriptor);
    if (!client) return false;
    client->gone = client->gone || Hung_Up(client->socket);
    return !client->gone;
}

}  // namespace remote
