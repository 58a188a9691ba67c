#include "web/instrument_link.h"

#include "platform/root.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace web {
namespace {

using Steady = std::chrono::steady_clock;

constexpr std::size_t most_info_bytes = 4096;
constexpr std::size_t most_trace_bytes = 1 << 20;
constexpr std::size_t most_answer_bytes = 1 << 16;

/// Of four bytes, the low one first.
std::uint32_t Number(const std::array<std::uint8_t, 4>& bytes) {
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | std::uint32_t{bytes[3]} << 24;
}

std::span<const std::uint8_t> Command(const char* letters) {
    return {reinterpret_cast<const std::uint8_t*>(letters), 2};
}

}  // namespace

/// One exchange at a time; who waits too long for the turn goes without.
class Instrument_Link::Turn {
public:
    explicit Turn(Instrument_Link& link) : link_(link) {
        std::unique_lock lock(link_.mutex_);
        taken_ = link_.freed_.wait_for(lock, link_.answer_limit_, [&] { return !link_.busy_; });
        if (taken_) link_.busy_ = true;
    }
    ~Turn() {
        if (!taken_) return;
        {
            const std::lock_guard lock(link_.mutex_);
            link_.busy_ = false;
        }
        link_.freed_.notify_one();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    explicit operator bool() const { return taken_; }

private:
    Instrument_Link& link_;
    bool taken_ = false;
};

Instrument_Link::Instrument_Link(std::chrono::milliseconds answer_limit) : answer_limit_(answer_limit) {}

Instrument_Link::~Instrument_Link() { Disconnect(); }

void Instrument_Link::Disconnect() {
    if (socket_ >= 0) close(socket_);
    socket_ = -1;
}

/// The socket is named relative to its folder: a root can be deeper than a socket's name is long.
bool Instrument_Link::Connect() {
    if (socket_ >= 0) {
        // The instrument speaks only when asked. Anything to read now is its end, or the rest of a lost exchange.
        pollfd idle{socket_, POLLIN, 0};
        if (poll(&idle, 1, 0) == 0) return true;
        Disconnect();
    }
    const auto folder = open(platform::Rooted("/tmp/web_store").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return false;
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    std::snprintf(name.sun_path, sizeof name.sun_path, "/proc/self/fd/%d/talmiron.sock", folder);
    socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool connected = socket_ >= 0 && connect(socket_, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
    close(folder);
    if (!connected) Disconnect();
    return connected;
}

bool Instrument_Link::Send(std::span<const std::uint8_t> bytes) {
    // A few bytes into an idle stream: they fit, or the other side has stopped reading.
    return send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

bool Instrument_Link::Receive(std::span<std::uint8_t> bytes, Deadline deadline) {
    while (!bytes.empty()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Steady::now()).count();
        if (left <= 0) return false;
        pollfd readable{socket_, POLLIN, 0};
        const int ready = poll(&readable, 1, static_cast<int>(left));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
        const auto count = recv(socket_, bytes.data(), bytes.size(), 0);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

Key_Answer Instrument_Link::Receive_Answer() {
    std::array<std::uint8_t, 3> answer{};
    if (Receive(answer, Steady::now() + answer_limit_)) {
        if (std::memcmp(answer.data(), "OK", 3) == 0) return Key_Answer::taken;
        if (std::memcmp(answer.data(), "NO", 3) == 0) return Key_Answer::refused;
    }
    Disconnect();
    return Key_Answer::unreachable;
}

/// A command that is answered "ST" and then takes a detail.
bool Instrument_Link::Begin(const char* command) {
    std::array<std::uint8_t, 3> start{};
    return Send(Command(command)) && Receive(start, Steady::now() + answer_limit_) &&
           std::memcmp(start.data(), "ST", 3) == 0;
}

Key_Answer Instrument_Link::Exchange(const char* command, std::span<const std::uint8_t> detail) {
    const Turn turn(*this);
    if (!turn || !Connect()) return Key_Answer::unreachable;
    if (!Begin(command) || !Send(detail)) {
        Disconnect();
        return Key_Answer::unreachable;
    }
    return Receive_Answer();
}

Key_Answer Instrument_Link::Press_Key(std::uint8_t code) { return Exchange("KY", {&code, 1}); }

Key_Answer Instrument_Link::Set(std::string_view name, double value) {
    if (!(std::abs(value) < 1e15)) return Key_Answer::refused;
    std::array<char, 64> line{};
    const int size =
        std::snprintf(line.data(), line.size(), "%.*s %.3f\n", static_cast<int>(name.size()), name.data(), value);
    if (size <= 0 || static_cast<std::size_t>(size) >= line.size()) return Key_Answer::refused;
    return Exchange("SE", {reinterpret_cast<const std::uint8_t*>(line.data()), static_cast<std::size_t>(size)});
}

Key_Answer Instrument_Link::Press_Power() {
    const Turn turn(*this);
    if (!turn || !Connect()) return Key_Answer::unreachable;
    if (!Send(Command("PW"))) {
        Disconnect();
        return Key_Answer::unreachable;
    }
    return Receive_Answer();
}

Instrument_Link::Scpi_Result Instrument_Link::Scpi(std::string_view messages, std::string& answer) {
    constexpr std::uint32_t refused = 0xffffffff;
    if (messages.size() > most_scpi_bytes) return Scpi_Result::too_long;
    const Turn turn(*this);
    if (!turn || !Connect()) return Scpi_Result::unreachable;
    std::vector<std::uint8_t> detail(4 + messages.size());
    for (std::size_t i = 0; i < 4; ++i) detail[i] = static_cast<std::uint8_t>(messages.size() >> 8 * i);
    std::copy(messages.begin(), messages.end(), detail.begin() + 4);
    const auto deadline = Steady::now() + answer_limit_;
    std::array<std::uint8_t, 4> length{};
    if (!Begin("SC") || !Send(detail) || !Receive(length, deadline)) {
        Disconnect();
        return Scpi_Result::late;
    }
    const std::uint32_t bytes = Number(length);
    if (bytes == refused) return Scpi_Result::too_long;
    answer.resize(std::min<std::size_t>(bytes, most_answer_bytes));
    if (bytes <= most_answer_bytes && Receive({reinterpret_cast<std::uint8_t*>(answer.data()), bytes}, deadline))
        return Scpi_Result::answered;
    Disconnect();
    return Scpi_Result::late;
}

std::optional<std::string> Instrument_Link::Ask_Text(const char* command, std::size_t most_bytes) {
    const Turn turn(*this);
    if (!turn) return "";
    if (!Connect()) return std::nullopt;
    const auto deadline = Steady::now() + answer_limit_;
    std::array<std::uint8_t, 4> length{};
    if (Send(Command(command)) && Receive(length, deadline)) {
        const std::size_t bytes = Number(length);
        if (bytes <= most_bytes) {
            std::string text(bytes, '\0');
            if (Receive({reinterpret_cast<std::uint8_t*>(text.data()), bytes}, deadline)) return text;
        }
    }
    Disconnect();
    return "";
}

std::optional<std::string> Instrument_Link::Info() { return Ask_Text("IN", most_info_bytes); }

std::optional<std::string> Instrument_Link::Trace() { return Ask_Text("TR", most_trace_bytes); }

}  // namespace web
