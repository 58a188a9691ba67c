#include "remote/rs232.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include <unistd.h>

#include "platform/serial.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr const char* device = "/dev/tts/2";
constexpr std::array<int, 10> baud_rates{300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
constexpr std::size_t piece_size = 512;

}  // namespace

int Baud_Rate(int index) {
    return index >= 0 && static_cast<std::size_t>(index) < baud_rates.size() ? baud_rates[static_cast<std::size_t>(index)]
                                                                             : baud_rates.back();
}

void Open_Rs232(int baud_index) {
    RS232_INBuf = {};
    RS232_Flag = 0;
    fd_rs232 = platform::Open_Serial(device, Baud_Rate(baud_index));
    if (fd_rs232 < 0) std::perror(device);
}

void Close_Rs232() { platform::Close_Serial(fd_rs232.exchange(-1)); }

std::ptrdiff_t Write_Port(int descriptor, std::string_view bytes) { return write(descriptor, bytes.data(), bytes.size()); }

void Rs232_Port::Add_Waits(Poll_Set& waits) {
    place_ = waits.Add(failed_ ? -1 : fd_rs232.load(), output_.Empty() ? POLLIN : POLLOUT);
}

void Rs232_Port::Serve(const Poll_Set& waits) {
    const int events = waits.Events(place_);
    if (!output_.Empty()) {
        if (output_.Stalled() || (events & (POLLERR | POLLHUP))) output_.Clear();
        if (events) output_.Send(fd_rs232);
        if (output_.Empty()) Execute_Lines();
        return;
    }
    if (events) Receive();
}

void Rs232_Port::Receive() {
    std::array<char, piece_size> piece;
    const ssize_t got = read(fd_rs232, piece.data(), piece.size());
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) {
        std::fprintf(stderr, "%s: the port has failed\n", device);
        failed_ = true;
        Release_Waits({interface_rs232, fd_rs232});
        return;
    }
    for (ssize_t i = 0; i < got; ++i) RS232read_queue_insert(piece[static_cast<std::size_t>(i)]);
    Execute_Lines();
}

/// As long as the answers are taken.
void Rs232_Port::Execute_Lines() {
    std::array<char, RS232_ring_size> line;
    while (RS232_Flag > 0 && output_.Empty()) {
        const std::size_t length = RS232read_queue_remove(line);
        SCPI_Receive(scpi_context, {interface_rs232, fd_rs232}, pending_, {line.data(), length});
        --RS232_Flag;
    }
}

void Rs232_Port::Answer(int, std::string_view answer) {
    output_.Put(answer);
    output_.Send(fd_rs232);
}

}  // namespace remote
