#include "remote/raw_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <mutex>

#include <sys/socket.h>
#include <unistd.h>

#include "records/handover.h"
#include "remote/hang_up.h"
#include "remote/tcp_listener.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr std::size_t piece_size = 512;

int raw_listener = -1;
std::mutex address_mutex;
std::string raw_address;  // under address_mutex

}  // namespace

bool Open_Raw_Listener(const std::string& address, int port) {
    const int listener = Listen_On(address, port);
    if (listener < 0) return false;
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
    Prepare_Client(socket);
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
