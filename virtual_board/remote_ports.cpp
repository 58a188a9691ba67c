#include "virtual_board/remote_ports.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace virtual_board {

namespace {

constexpr int serial_look_ms = 100, longest_wait_ms = 1000;

void Close(int& descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

bool Would_Block() {
    return errno == EAGAIN || errno == EINTR;
}

/// Takes who wants to connect, or refuses it while there is somebody.
void Accept(int listener, int& socket) {
    const int accepted = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (accepted < 0)
        return;
    if (socket >= 0)
        ::close(accepted);
    else
        socket = accepted;
}

/// To a socket, without its signal, or a terminal.
ssize_t Write(int to, const char* bytes, std::size_t size) {
    const auto sent = ::send(to, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    return sent < 0 && errno == ENOTSOCK ? ::write(to, bytes, size) : sent;
}

pollfd Wait(int descriptor, const One_Way& from_it, const One_Way& to_it) {
    const int events = (from_it.Empty() ? POLLIN : 0) | (to_it.Empty() ? 0 : POLLOUT);
    return {descriptor, static_cast<short>(events), 0};
}

}  // namespace

bool One_Way::Fill(int from) {
    if (!Empty())
        return true;
    const auto got = ::read(from, kept_.data(), kept_.size());
    if (got > 0) {
        begin_ = 0;
        end_ = static_cast<std::size_t>(got);
    }
    return got > 0 || (got < 0 && Would_Block());
}

bool One_Way::Empty_Into(int to) {
    if (to < 0)
        Clear();
    while (!Empty()) {
        const std::size_t piece = largest_ == 0 ? end_ - begin_ : std::min(largest_, end_ - begin_);
        const auto gone = Write(to, kept_.data() + begin_, piece);
        if (gone < 0)
            return Would_Block();
        begin_ += static_cast<std::size_t>(gone);
    }
    return true;
}

Remote_Ports::Remote_Ports(const Devices& devices)
    : serial_(devices.Serial_Master()), serial_user_(devices.Serial_User_Master()) {
    buses_[0].listeners = devices.Gpib();
    buses_[1].listeners = devices.Usb();
}

Remote_Ports::~Remote_Ports() {
    for (Bus& bus : buses_) {
        Close(bus.instrument);
        Close(bus.controller);
    }
}

int Remote_Ports::Longest_Wait_Ms() const {
    return user_there_ ? longest_wait_ms : serial_look_ms;
}

void Remote_Ports::Fill_Waits(std::span<pollfd, waits> waits) const {
    waits[0] = Wait(serial_, to_user_, to_instrument_);
    waits[1] = Wait(user_there_ ? serial_user_ : -1, to_instrument_, to_user_);
    std::size_t place = 2;
    for (const Bus& bus : buses_) {
        waits[place++] = {bus.listeners.instrument, POLLIN, 0};
        waits[place++] = {bus.listeners.controller, POLLIN, 0};
        waits[place++] = Wait(bus.instrument, bus.out, bus.in);
        waits[place++] = Wait(bus.controller, bus.in, bus.out);
    }
}

void Remote_Ports::Serve(std::span<const pollfd, waits> waits) {
    if (!user_there_ || waits[0].revents != 0 || waits[1].revents != 0)
        Serve_Serial();
    std::size_t place = 2;
    for (Bus& bus : buses_) {
        // Before the next one is let in, it is seen that the last one has gone.
        if (waits[place + 2].revents != 0 || waits[place + 3].revents != 0)
            Serve_Bus(bus);
        if (waits[place].revents != 0)
            Accept(bus.listeners.instrument, bus.instrument);
        if (waits[place + 1].revents != 0)
            Accept(bus.listeners.controller, bus.controller);
        place += 4;
    }
}

void Remote_Ports::Serve_Serial() {
    pollfd user{serial_user_, POLLIN, 0};
    ::poll(&user, 1, 0);
    // What a program wrote before it closed its end is carried too.
    if ((user.revents & POLLIN) != 0)
        to_instrument_.Fill(serial_user_);
    user_there_ = (user.revents & POLLHUP) == 0;
    to_instrument_.Empty_Into(serial_);
    to_user_.Fill(serial_);
    to_user_.Empty_Into(user_there_ ? serial_user_ : -1);
}

void Remote_Ports::Serve_Bus(Bus& bus) {
    if (bus.instrument >= 0 && (!bus.out.Fill(bus.instrument) || !bus.in.Empty_Into(bus.instrument))) {
        Close(bus.instrument);
        bus.in.Clear();
    }
    if (bus.controller >= 0 && (!bus.in.Fill(bus.controller) || !bus.out.Empty_Into(bus.controller)))
        Close(bus.controller);
    if (bus.instrument < 0)
        bus.in.Clear();
    bus.out.Empty_Into(bus.controller);
    bus.in.Empty_Into(bus.instrument);
}

}  // namespace virtual_board
