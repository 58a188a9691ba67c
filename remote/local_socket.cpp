#include "remote/local_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/root.h"
#include "remote/hang_up.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr const char* folder_path = "/tmp/web_store";
constexpr const char* socket_name = "talmiron.sock";
constexpr int backlog = 5;

/// Address of the socket below its folder; a root can be deeper than a socket name is long.
bool Folder_Address(int folder, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    const int length = std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder, socket_name);
    return length > 0 && static_cast<std::size_t>(length) < sizeof address.sun_path;
}

/// Makes the listening socket; -1 with errno on failure.
int cli_listen() {
    const int folder = open(platform::Rooted(folder_path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return -1;
    unlinkat(folder, socket_name, 0);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    const bool bound = listener >= 0 && Folder_Address(folder, address) &&
                       bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                       listen(listener, backlog) == 0;
    const int cause = errno;
    close(folder);
    if (bound) return listener;
    if (listener >= 0) close(listener);
    errno = cause;
    return -1;
}

}  // namespace

std::string_view Local_Socket::Client::Short(std::string_view text) {
    answer_size = 0;
    Execute_Messages(text);
    return {answer.data(), answer_size};
}

void Local_Socket::Client::Whole(std::string_view text, std::string& answers) {
    whole = &answers;
    Execute_Messages(text);
    whole = nullptr;
}

/// Each text stands alone: what is left of one without an end is forgotten.
void Local_Socket::Client::Execute_Messages(std::string_view text) {
    Pending_Input pending;
    in_hand = true;
    SCPI_Receive(scpi_context, {interface_web, slot}, pending, text);
    in_hand = false;
}

Local_Socket::Local_Socket(const Local_Commands& commands) : commands_(commands), listening_(cli_listen()) {
    if (listening_ < 0) std::perror(socket_name);
    listener_.Listen_On(listening_);
    for (std::size_t i = 0; i < slots; ++i) clients_[i].slot = static_cast<int>(i);
    Set_Sink(interface_web, this);
}

Local_Socket::~Local_Socket() {
    Set_Sink(interface_web, nullptr);
    for (Client& client : clients_) Close(client);
    if (listening_ < 0) return;
    close(listening_);
    unlink(platform::Rooted(std::string(folder_path) + '/' + socket_name).c_str());
}

void Local_Socket::Add_Waits(Poll_Set& waits) {
    for (Client& client : clients_) {
        const int events = client.output.Empty() ? (client.later ? 0 : POLLIN) : POLLOUT;
        client.place = client.socket < 0 ? Poll_Set::nowhere : waits.Add(client.socket, events);
    }
    listener_.Add_Wait(waits);
}

void Local_Socket::Add_Page_Waits(Poll_Set& waits) {
    for (Client& client : clients_) {
        const bool left = client.socket < 0 || client.in_hand || (client.later && client.output.Empty());
        client.place = left ? Poll_Set::nowhere : waits.Add(client.socket, client.output.Empty() ? POLLIN : POLLOUT);
    }
    listener_.Add_Wait(waits);
}

bool Local_Socket::Watches_Time() const {
    return listener_.Resting() ||
           std::any_of(clients_.begin(), clients_.end(), [](const Client& client) { return !client.output.Empty(); });
}

bool Local_Socket::Has_Work() const {
    return std::any_of(clients_.begin(), clients_.end(),
                       [](const Client& client) { return client.later && client.output.Empty(); });
}

void Local_Socket::Serve(const Poll_Set& waits, bool scpi_allowed) {
    for (Client& client : clients_) {
        if (client.socket < 0 || client.in_hand) continue;
        // A client's place is given up before it is served: a wait inside polls anew.
        const int events = waits.Events(std::exchange(client.place, Poll_Set::nowhere));
        if (!Serve(client, events, scpi_allowed)) Close(client);
    }
    Accept(waits);
}

bool Local_Socket::Serve(Client& client, int events, bool scpi_allowed) {
    if (!client.output.Empty()) {
        if (client.output.Stalled() || (events & (POLLERR | POLLHUP))) return false;
        if (events && !client.output.Send(client.socket)) return false;
        if (!client.output.Empty()) return true;
    } else if (events && !client.later && !Receive(client)) {
        return false;
    }
    if (!events && !client.later) return true;
    const auto outcome = client.protocol.Execute(commands_, scpi_allowed ? &client : nullptr, client.output);
    client.later = outcome == Local_Protocol::Outcome::later;
    return !client.gone && client.output.Send(client.socket) && outcome != Local_Protocol::Outcome::ended;
}

bool Local_Socket::Receive(Client& client) {
    std::array<char, Local_Protocol::longest_short_text> piece;
    const ssize_t got = recv(client.socket, piece.data(), std::min(piece.size(), client.protocol.Wanted()), MSG_DONTWAIT);
    if (got < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    client.protocol.Take({piece.data(), static_cast<std::size_t>(got)});
    return got > 0;
}

void Local_Socket::Accept(const Poll_Set& waits) {
    const int socket = listener_.Accept(waits);
    if (socket < 0) return;
    const auto slot = std::find_if(clients_.begin(), clients_.end(), [](const Client& client) { return client.socket < 0; });
    if (slot == clients_.end()) {
        close(socket);
        return;
    }
    slot->socket = socket;
}

void Local_Socket::Close(Client& client) {
    if (client.socket < 0) return;
    Release_Waits({interface_web, client.slot});
    close(client.socket);
    client.socket = -1;
    client.place = Poll_Set::nowhere;
    client.later = client.gone = false;
    client.protocol = {};
    client.output.Clear();
    listener_.Wake();
}

void Local_Socket::Answer(int slot, std::string_view answer) {
    Client& client = clients_.at(static_cast<std::size_t>(slot));
    if (client.gone) return;
    if (client.whole) {
        client.whole->append(answer.substr(0, Local_Protocol::longest_answers - client.whole->size()));
        return;
    }
    client.answer.fill('\0');
    client.answer_size = std::min(answer.size(), client.answer.size() - 1);
    std::copy_n(answer.begin(), client.answer_size, client.answer.begin());
}

bool Local_Socket::Lives(int slot) {
    Client& client = clients_.at(static_cast<std::size_t>(slot));
    if (client.socket < 0) return false;
    client.gone = client.gone || Hung_Up(client.socket);
    return !client.gone;
}

}  // namespace remote
