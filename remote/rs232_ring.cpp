#include "remote/rs232_ring.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace remote {
namespace {

std::size_t Next(std::size_t index) { return (index + 1) % RS232_ring_size; }

bool Ring_Empty() { return RS232_INBuf.read == RS232_INBuf.write && !RS232_INBuf.full; }

/// The oldest byte, cleared in the ring.
char Take_Byte() {
    RS232_INBuf.read = Next(RS232_INBuf.read);
    RS232_INBuf.full = false;
    return std::exchange(RS232_INBuf.bytes[RS232_INBuf.read], '\0');
}

}  // namespace

int string_queue_full() {
    const auto lines = std::count(RS232_INBuf.bytes.begin(), RS232_INBuf.bytes.end(), '\n');
    const int surplus = std::max(static_cast<int>(lines) - 1, 0);
    for (int i = 0; i < surplus; ++i) {
        while (Take_Byte() != '\n') {}
    }
    return surplus;
}

void RS232read_queue_insert(char byte) {
    if (RS232_INBuf.full) RS232_Flag -= string_queue_full();
    if (RS232_INBuf.full && Take_Byte() == '\n') --RS232_Flag;
    RS232_INBuf.write = Next(RS232_INBuf.write);
    RS232_INBuf.bytes[RS232_INBuf.write] = byte;
    if (byte == '\n') ++RS232_Flag;
    RS232_INBuf.full = RS232_INBuf.write == RS232_INBuf.read;
}

std::size_t RS232read_queue_remove(std::span<char> line) {
    if (Ring_Empty()) {
        std::printf("RS232read_queue_remove queue is empty \n");
        return 0;
    }
    std::size_t length = 0;
    while (length < line.size() && !Ring_Empty()) {
        line[length] = Take_Byte();
        if (line[length++] == '\n') break;
    }
    return length;
}

}  // namespace remote
