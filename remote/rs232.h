#pragma once
#include <array>
#include <atomic>
#include <cstddef>
#include <span>

#include "remote/outbox.h"
#include "remote/poll_set.h"
#include "remote/sinks.h"
#include "scpi/parser.h"

/// The RS-232 port.
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

inline std::atomic<int> fd_rs232{-1};

/// Bits a second of a setting, counted from 0.
int Baud_Rate(int index);
/// Opens the port and empties the ring; a line on standard error where there is none.
void Open_Rs232(int baud_index);
void Close_Rs232();

/// Writes without waiting.
std::ptrdiff_t Write_Port(int descriptor, std::string_view bytes);

/// The port's traffic. Of the server thread.
class Rs232_Port : public Sink {
public:
    Rs232_Port() { Set_Sink(interface_rs232, this); }
    ~Rs232_Port() override { Set_Sink(interface_rs232, nullptr); }
    Rs232_Port(const Rs232_Port&) = delete;
    Rs232_Port& operator=(const Rs232_Port&) = delete;

    void Add_Waits(Poll_Set& waits);
    void Serve(const Poll_Set& waits);
    bool Watches_Time() const { return !output_.Empty(); }

    void Answer(int descriptor, std::string_view answer) override;

private:
    void Receive();
    void Execute_Lines();

    std::size_t place_ = Poll_Set::nowhere;
    bool failed_ = false;
    Pending_Input pending_;
    Outbox output_{Write_Port};
};

}  // namespace remote
