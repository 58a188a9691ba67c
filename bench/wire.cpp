// Queries a second over the raw socket and over HiSLIP, beside a bare TCP echo of the same bytes in the same run.
// wire PORT [HISLIP_PORT]: prints a line a query.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Figures {
    double a_second = 0;
    double slow_us = 0;  ///< 99.9th percentile
    std::size_t bytes = 0;
};

void Fail(const char* what) {
    std::perror(what);
    std::exit(1);
}

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int Connect(int port) {
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto address = Loopback(port);
    if (connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) Fail("connect");
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return client;
}

/// A process that answers each piece with the same bytes, after a poll as any server of several clients has it.
pid_t Start_Echo(int& port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    auto address = Loopback(0);
    socklen_t size = sizeof address;
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        Fail("echo");
    }
    port = ntohs(address.sin_port);
    const pid_t child = fork();
    if (child != 0) {
        close(listener);
        return child;
    }
    const int client = accept(listener, nullptr, nullptr);
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::vector<char> piece(512);
    while (true) {
        pollfd wait{client, POLLIN, 0};
        poll(&wait, 1, -1);
        const ssize_t got = recv(client, piece.data(), piece.size(), 0);
        if (got <= 0 || send(client, piece.data(), static_cast<std::size_t>(got), MSG_NOSIGNAL) != got) _exit(0);
    }
}

using Complete = bool (*)(const std::vector<char>& answer, std::size_t bytes);

bool Line_Complete(const std::vector<char>& answer, std::size_t bytes) { return bytes > 0 && answer[bytes - 1] == '\n'; }

constexpr std::size_t header_size = 16;

std::string Hislip_Message(int type, unsigned parameter, const std::string& payload) {
    std::string message{'H', 'S', static_cast<char>(type), 0};
    for (int shift = 24; shift >= 0; shift -= 8) message += static_cast<char>(parameter >> shift & 0xff);
    for (int shift = 56; shift >= 0; shift -= 8) message += static_cast<char>(payload.size() >> shift & 0xff);
    return message + payload;
}

bool Hislip_Complete(const std::vector<char>& answer, std::size_t bytes) {
    std::size_t length = header_size;
    if (bytes < header_size) return false;
    for (std::size_t i = 12; i < header_size; ++i) {
        length += std::size_t{static_cast<unsigned char>(answer[i])} << (8 * (header_size - 1 - i));
    }
    return bytes == length;
}

std::size_t Ask(int client, const std::string& query, Complete complete, std::vector<char>& answer) {
    if (send(client, query.data(), query.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(query.size())) Fail("send");
    std::size_t bytes = 0;
    while (!complete(answer, bytes)) {
        const ssize_t got = recv(client, answer.data() + bytes, answer.size() - bytes, 0);
        if (got <= 0) Fail("recv");
        bytes += static_cast<std::size_t>(got);
    }
    return bytes;
}

/// Both channels of a session; the first one is for its data.
std::array<int, 2> Connect_Hislip(int port) {
    constexpr int initialize = 0, async_initialize = 17;
    const int data = Connect(port), control = Connect(port);
    std::vector<char> answer(64);
    Ask(data, Hislip_Message(initialize, 0x01000000, "hislip0"), Hislip_Complete, answer);
    const unsigned session = static_cast<unsigned char>(answer[6]) << 8u | static_cast<unsigned char>(answer[7]);
    Ask(control, Hislip_Message(async_initialize, session, ""), Hislip_Complete, answer);
    return {data, control};
}

Figures Measure(int client, const std::string& query, Complete complete, double seconds) {
    std::vector<char> answer(20000);
    std::vector<double> times;
    std::size_t bytes = 0;
    const auto begin = Clock::now();
    const auto spent = [&] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
    while (spent() < seconds) {
        const auto asked = Clock::now();
        bytes = Ask(client, query, complete, answer);
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - asked).count());
    }
    const double all = spent();
    close(client);
    std::sort(times.begin(), times.end());
    return {static_cast<double>(times.size()) / all, times[times.size() * 999 / 1000], bytes};
}

void Compare(const char* name, int client, const std::string& message, Complete complete) {
    int echo_port = 0;
    const pid_t echo = Start_Echo(echo_port);
    const Figures floor = Measure(Connect(echo_port), message, complete, 1), got = Measure(client, message, complete, 2);
    std::printf("%-22s %8.0f a second, 99.9 %% within %6.0f us, %5zu bytes; echo %8.0f a second, %6.0f us; ratio %.2f\n", name,
                got.a_second, got.slow_us, got.bytes, floor.a_second, floor.slow_us, got.a_second / floor.a_second);
    kill(echo, SIGTERM);
    waitpid(echo, nullptr, 0);
}

}  // namespace

int main(int count, char** arguments) {
    constexpr int data_end = 7;
    if (count != 2 && count != 3) return 2;
    for (const char* query : {"*IDN?", ":FREQ:CENT?", ":TRAC? TRAC1"}) {
        Compare(query, Connect(std::atoi(arguments[1])), std::string(query) + '\n', Line_Complete);
        if (count < 3) continue;
        const auto session = Connect_Hislip(std::atoi(arguments[2]));
        Compare((std::string("HiSLIP ") + query).c_str(), session[0], Hislip_Message(data_end, 2, std::string(query) + '\n'),
                Hislip_Complete);
        close(session[1]);
    }
    return 0;
}
