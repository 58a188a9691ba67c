#pragma once
#include <atomic>

#include "remote/outbox.h"
#include "remote/poll_set.h"
#include "remote/sinks.h"
#include "scpi/parser.h"

namespace remote {

/// The traffic of the GPIB or the USB device file. Of the server thread.
class Device_Port : public Sink {
public:
    explicit Device_Port(Interface_Kind kind);
    ~Device_Port() override;
    Device_Port(const Device_Port&) = delete;
    Device_Port& operator=(const Device_Port&) = delete;

    void Add_Waits(Poll_Set& waits);
    void Serve(const Poll_Set& waits);
    bool Watches_Time() const { return !output_.Empty(); }

    void Answer(int descriptor, std::string_view answer) override;
    void Hand_Status_Byte(int descriptor, std::uint32_t status_byte) override;
    void Request_Service(int descriptor, std::uint32_t status_byte) override;

private:
    void Receive();
    void Fail();

    const Interface_Kind kind_;
    const std::atomic<int>& descriptor_;
    std::size_t place_ = Poll_Set::nowhere;
    bool failed_ = false;
    Pending_Input pending_;
    Outbox output_;
};

}  // namespace remote
