#include "virtual_board/board.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

#include "platform/backlight.h"
#include "platform/dsp_message.h"

namespace virtual_board {

namespace {

namespace files = platform::device_files;
using files::Link_Header;
using files::Link_Packet;

constexpr int rearm_request = 0;

/// Screen on or off and its brightness, as far as the message holds numbers.
void Take_Peripheral_Message(std::span<const double> message) {
    if (message.size() < 3 || !std::isfinite(message[1]) || !std::isfinite(message[2]))
        return;
    const double percent = message[1] == 0.0 ? 0.0 : std::clamp(message[2], 0.0, 100.0);
    platform::Set_Backlight(static_cast<int>(std::lround(percent)));
}

}  // namespace

Board::Board(std::shared_ptr<const Input> input, const Board_Options& options)
    : ports_(devices_), manual_(options.manual), core_(std::move(input), options.core, devices_.Sample_Memory()) {
    link_.listener = devices_.Link_Listener();
    fpga_.listener = devices_.Fpga_Listener();
    stop_event_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (stop_event_ < 0)
        throw std::runtime_error(std::string("can't make an event: ") + std::strerror(errno));
    // Messages act at the time the core was told last.
    Advance();
}

Board::~Board() {
    Stop();
    ::close(stop_event_);
}

void Board::Start() {
    if (!thread_.joinable())
        thread_ = std::thread(&Board::Serve, this);
}

void Board::Stop() {
    if (!thread_.joinable())
        return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(stop_event_, &one, sizeof one);
    thread_.join();
    std::uint64_t count = 0;
    [[maybe_unused]] const auto drained = ::read(stop_event_, &count, sizeof count);
    std::lock_guard lock(core_mutex_);
    Disconnect(link_);
    Disconnect(fpga_);
}

void Board::Step(platform::Duration time) {
    std::lock_guard lock(core_mutex_);
    manual_time_ += time;
    core_.Advance(manual_time_);
    Send_Events();
}

void Board::Serve() {
    for (;;) {
        std::array<pollfd, 6 + Remote_Ports::waits> waits{{{stop_event_, POLLIN, 0},
                                                           {link_.socket, POLLIN, 0},
                                                           {fpga_.socket, POLLIN, 0},
                                                           {link_.listener, POLLIN, 0},
                                                           {fpga_.listener, POLLIN, 0},
                                                           {devices_.Trigger_Input(), POLLIN, 0}}};
        ports_.Fill_Waits(std::span(waits).last<Remote_Ports::waits>());
        if (::poll(waits.data(), waits.size(), Wait_Time_Ms()) < 0 && errno != EINTR)
            return;
        if (waits[0].revents != 0)
            return;
        // Before the next instrument is let in, it is seen that the last one has gone.
        if (waits[1].revents != 0)
            Serve_Link();
        if (waits[2].revents != 0)
            Serve_Fpga();
        if (waits[3].revents != 0)
            Accept(link_);
        if (waits[4].revents != 0) {
            std::lock_guard lock(core_mutex_);
            Accept(fpga_);
        }
        if (waits[5].revents != 0)
            Serve_Trigger_Input();
        ports_.Serve(std::span(waits).last<Remote_Ports::waits>());
        if (!manual_)
            Advance();
    }
}

int Board::Wait_Time_Ms() {
    const int longest = ports_.Longest_Wait_Ms();
    if (manual_)
        return longest;
    std::lock_guard lock(core_mutex_);
    const auto due = core_.Next_Due();
    if (!due)
        return longest;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - platform::Now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, longest));
}

void Board::Accept(Client& client) {
    const int socket = ::accept4(client.listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0)
        return;
    if (client.socket >= 0)
        ::close(socket);
    else
        client.socket = socket;
}

void Board::Disconnect(Client& client) {
    if (client.socket >= 0)
        ::close(client.socket);
    client.socket = -1;
}

void Board::Serve_Link() {
    Link_Header header{};
    std::array<iovec, 2> parts{{{&header, sizeof header}, {buffer_.data(), buffer_.size()}}};
    msghdr packet{};
    packet.msg_iov = parts.data();
    packet.msg_iovlen = parts.size();
    const auto size = ::recvmsg(link_.socket, &packet, 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (size < static_cast<ssize_t>(sizeof header)) {
        Disconnect(link_);
        answer_bytes_ = 0;
        answer_wanted_ = false;
        return;
    }
    Take_Packet(header, static_cast<std::size_t>(size) - sizeof header);
}

void Board::Take_Packet(const Link_Header& header, std::size_t bytes) {
    if (header.packet == Link_Packet::output) {
        answer_bytes_ = bytes;
        Take_Message({reinterpret_cast<const double*>(buffer_.data()), bytes / sizeof(double)});
        Send(Link_Packet::taken, 0);
    } else if (header.packet == Link_Packet::input) {
        answer_wanted_ = true;
    }
    if (answer_wanted_ && answer_bytes_ > 0)
        Answer();
}

void Board::Answer() {
    answer_wanted_ = false;
    Send(Link_Packet::filled, std::exchange(answer_bytes_, 0));
}

bool Board::Send(Link_Packet packet, std::size_t bytes) {
    Link_Header header{packet, static_cast<std::uint32_t>(bytes)};
    std::array<iovec, 2> parts{{{&header, sizeof header}, {buffer_.data(), bytes}}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    // An instrument that doesn't read its answers is as good as gone.
    if (link_.socket >= 0 && ::sendmsg(link_.socket, &message, MSG_NOSIGNAL) >= 0)
        return true;
    Disconnect(link_);
    return false;
}

void Board::Serve_Fpga() {
    files::Fpga_Request request{};
    const auto size = ::recv(fpga_.socket, &request, sizeof request, 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    std::lock_guard lock(core_mutex_);
    if (size <= 0) {
        Disconnect(fpga_);
        return;
    }
    if (size != sizeof request || request.request != rearm_request)
        return;
    core_.Arm(request.argument);
    Send_Events();
}

void Board::Serve_Trigger_Input() {
    std::array<char, 256> levels{};
    const auto size = ::read(devices_.Trigger_Input(), levels.data(), levels.size());
    for (ssize_t i = 0; i < size; ++i)
        if (levels[static_cast<std::size_t>(i)] == '0' || levels[static_cast<std::size_t>(i)] == '1')
            Set_Trigger_Input(levels[static_cast<std::size_t>(i)] == '1');
}

void Board::Set_Trigger_Input(bool high) {
    std::lock_guard lock(core_mutex_);
    if (!manual_)
        core_.Advance(platform::Now(), Effort::bounded);
    core_.Set_Trigger_Input(high);
    if (manual_)
        core_.Advance(manual_time_);
    Send_Events();
}

void Board::Take_Message(std::span<const double> message) {
    if (message.empty() || !std::isfinite(message[0]))
        return;
    if (message[0] == static_cast<double>(platform::code_peripheral)) {
        Take_Peripheral_Message(message);
        return;
    }
    std::lock_guard lock(core_mutex_);
    if (!manual_)
        core_.Advance(platform::Now(), Effort::bounded);
    core_.Handle_Message(message);
}

void Board::Advance() {
    std::lock_guard lock(core_mutex_);
    if (manual_) core_.Advance(manual_time_);
    else core_.Advance(platform::Now(), Effort::bounded);
    Send_Events();
}

/// Under core_mutex_.
void Board::Send_Events() {
    while (const auto event = core_.Take_Event())
        if (fpga_.socket >= 0)
            [[maybe_unused]] const auto sent = ::send(fpga_.socket, &*event, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace virtual_board
