#pragma once
#include <atomic>
#include <cstddef>

#include "remote/outbox.h"
#include "remote/poll_set.h"
#include "remote/rs232_ring.h"
#include "remote/sinks.h"
#include "scpi/parser.h"

/// The RS-232 port.
namespace remote {

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
