#pragma once
#include <array>
#include <cstddef>
#include <span>

/// The RS-232 port's receive queue.
namespace remote {

constexpr std::size_t RS232_ring_size = 1000;

/// Received bytes. Both indices stand on the byte written or read last; where they meet it is full or empty.
struct RS232_Queue {
    std::array<char, RS232_ring_size> bytes{};
    std::size_t read = RS232_ring_size - 1, write = RS232_ring_size - 1;
    bool full = false;
};
inline RS232_Queue RS232_INBuf;
inline int RS232_Flag = 0;  ///< complete lines in the ring

/// Puts a received byte into the ring. A full one first loses its complete lines but the newest; where that frees nothing,
/// its oldest byte.
void RS232read_queue_insert(char byte);
/// Takes the bytes up to and including the next line feed, at most as many as fit, and returns how many. An empty ring says
/// so and yields nothing. The caller lowers RS232_Flag.
std::size_t RS232read_queue_remove(std::span<char> line);
/// Drops every complete line but the newest and returns how many.
int string_queue_full();

}  // namespace remote
