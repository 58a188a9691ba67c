#include "launcher/status_query.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/virtual/device_files.h"

namespace launcher {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds answer_limit{500};
constexpr std::uint32_t size_limit = 65536;  // bytes

/// Reads exactly size bytes; nothing when they don't come in time.
std::optional<std::string> Read_Bytes(int socket, std::size_t size, steady_clock::time_point end) {
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < size) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        pollfd wait{socket, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&wait, 1, static_cast<int>(left.count())) == 0)
            return std::nullopt;
        const auto count = ::recv(socket, bytes.data() + got, size - got, 0);
        if (count > 0)
            got += static_cast<std::size_t>(count);
        else if (count == 0 || (errno != EAGAIN && errno != EINTR))
            return std::nullopt;
    }
    return bytes;
}

std::optional<std::string> Ask(int socket) {
    const auto end = steady_clock::now() + answer_limit;
    if (::send(socket, "IN", 2, MSG_NOSIGNAL) != 2)
        return std::nullopt;
    const auto head = Read_Bytes(socket, sizeof(std::uint32_t), end);
    if (!head)
        return std::nullopt;
    std::uint32_t size = 0;
    for (std::size_t i = 0; i < sizeof size; ++i)
        size |= std::uint32_t{static_cast<std::uint8_t>((*head)[i])} << (8 * i);
    return size <= size_limit ? Read_Bytes(socket, size, end) : std::nullopt;
}

}  // namespace

Status Ask_Status(const std::string& root) {
    const int socket = platform::device_files::Connect_Device(root + "/tmp/web_store/talmiron.sock", SOCK_STREAM);
    if (socket < 0)
        return {};
    const auto answer = Ask(socket);
    ::close(socket);
    if (!answer)
        return {};
    const auto state = nlohmann::json::parse(*answer, nullptr, false);
    if (!state.is_object())
        return {};
    Status status;
    const auto starting = state.find("starting");
    const auto text = [&](const char* name, std::string& value) {
        const auto found = state.find(name);
        if (found != state.end() && found->is_string() && !found->get<std::string>().empty())
            value = found->get<std::string>();
    };
    status.takes_keys = starting != state.end() && starting->is_boolean() && !starting->get<bool>();
    text("scpi", status.scpi);
    text("hislip", status.hislip);
    text("vxi11", status.vxi11);
    return status;
}

}  // namespace launcher
