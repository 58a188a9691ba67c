#include "remote/local_socket.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/root.h"
#include "platform/stop.h"

namespace remote {
namespace {

constexpr const char* folder_path = "/tmp/web_store";
constexpr const char* socket_name = "talmiron.sock";
constexpr int backlog = 5;
constexpr std::size_t most_clients = 16, largest_backlog_of_answers = 1u << 20, longest_setting = 64;

struct Client {
    int socket = -1;
    std::string input, output;
    enum class Expects { command, key, setting } expects = Expects::command;
};

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

void Answer(Client& client, std::string_view word) {
    client.output.append(word);
    client.output.push_back('\0');
}

void Answer_Text(Client& client, void (*write)(std::string& text)) {
    std::string text;
    write(text);
    for (int shift = 0; shift < 32; shift += 8) client.output.push_back(static_cast<char>(text.size() >> shift));
    client.output += text;
}

/// A line of name and value. Locale-free, so that the point stays a point.
bool Set(std::string_view line, const Local_Commands& commands) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return false;
    double value = 0;
    const char* last = line.data() + line.size();
    const auto [end, error] = std::from_chars(line.data() + blank + 1, last, value);
    return error == std::errc() && end == last && std::isfinite(value) && commands.set(line.substr(0, blank), value);
}

/// Executes what has arrived whole. False ends the connection.
bool Execute(Client& client, const Local_Commands& commands) {
    while (!client.input.empty()) {
        if (client.expects == Client::Expects::key) {
            const auto code = static_cast<std::uint8_t>(client.input[0]);
            client.input.erase(0, 1);
            client.expects = Client::Expects::command;
            Answer(client, commands.key(code) ? "OK" : "NO");
            continue;
        }
        if (client.expects == Client::Expects::setting) {
            const std::size_t end = client.input.find('\n');
            if (end == std::string::npos) return client.input.size() <= longest_setting;
            Answer(client, Set(client.input.substr(0, end), commands) ? "OK" : "NO");
            client.input.erase(0, end + 1);
            client.expects = Client::Expects::command;
            continue;
        }
        if (client.input.size() < 2) return true;
        const std::string command = client.input.substr(0, 2);
        client.input.erase(0, 2);
        if (command == "KY") {
            client.expects = Client::Expects::key;
            Answer(client, "ST");
        } else if (command == "SE") {
            client.expects = Client::Expects::setting;
            Answer(client, "ST");
        } else if (command == "PW") {
            Answer(client, commands.power() ? "OK" : "NO");
        } else if (command == "IN") {
            Answer_Text(client, commands.state);
        } else if (command == "TR") {
            Answer_Text(client, commands.trace);
        } else {
            return false;
        }
    }
    return true;
}

bool Send_Pending(Client& client) {
    while (!client.output.empty()) {
        const ssize_t sent = send(client.socket, client.output.data(), client.output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
        client.output.erase(0, static_cast<std::size_t>(sent));
    }
    return true;
}

bool Receive(Client& client, const Local_Commands& commands) {
    std::array<char, 512> piece;
    const ssize_t got = recv(client.socket, piece.data(), piece.size(), MSG_DONTWAIT);
    if (got < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    if (got == 0) return false;
    client.input.append(piece.data(), static_cast<std::size_t>(got));
    return Execute(client, commands) && client.output.size() < largest_backlog_of_answers;
}

void Accept(int listener, std::vector<Client>& clients) {
    const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0) return;
    if (clients.size() >= most_clients) {
        close(socket);
        return;
    }
    clients.push_back({.socket = socket, .input = {}, .output = {}});
}

/// One wait over the stop, the listener and all clients. False on the stop.
bool Serve_Once(int listener, std::vector<Client>& clients, const Local_Commands& commands) {
    std::array<pollfd, most_clients + 2> waits{};
    waits[0] = {platform::Stop_Fd(), POLLIN, 0};
    waits[1] = {listener, POLLIN, 0};
    for (std::size_t i = 0; i < clients.size(); ++i) {
        waits[i + 2] = {clients[i].socket, static_cast<short>(clients[i].output.empty() ? POLLIN : POLLIN | POLLOUT), 0};
    }
    const std::size_t polled = clients.size();
    if (poll(waits.data(), polled + 2, -1) < 0) return errno == EINTR;
    if (waits[0].revents) return false;
    for (std::size_t i = polled; i-- > 0;) {
        const short events = waits[i + 2].revents;
        if (!events) continue;
        const bool alive = (!(events & (POLLIN | POLLHUP | POLLERR)) || Receive(clients[i], commands)) && Send_Pending(clients[i]);
        if (alive) continue;
        close(clients[i].socket);
        clients.erase(clients.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (waits[1].revents) Accept(listener, clients);
    return true;
}

}  // namespace

void Serve_Local_Socket(const Local_Commands& commands) {
    const int listener = cli_listen();
    if (listener < 0) {
        std::perror(socket_name);
        return;
    }
    std::vector<Client> clients;
    clients.reserve(most_clients);
    while (Serve_Once(listener, clients, commands)) {}
    for (const auto& client : clients) close(client.socket);
    close(listener);
    unlink(platform::Rooted(std::string(folder_path) + '/' + socket_name).c_str());
}

}  // namespace remote
