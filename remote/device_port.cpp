#include "remote/device_port.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include "platform/device_file.h"
#include "records/handover.h"
#include "remote/gpib.h"
#include "remote/usb.h"
#include "scpi/status.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr std::size_t piece_size = 512;

}  // namespace

Device_Port::Device_Port(Interface_Kind kind)
    : kind_(kind), descriptor_(kind == interface_gpib ? fd_gpib : fd_usb), output_(platform::Write_Device) {
    Set_Sink(kind_, this);
}

Device_Port::~Device_Port() { Set_Sink(kind_, nullptr); }

void Device_Port::Add_Waits(Poll_Set& waits) {
    place_ = waits.Add(failed_ ? -1 : descriptor_.load(), output_.Empty() ? POLLIN : POLLOUT);
}

void Device_Port::Serve(const Poll_Set& waits) {
    const int events = waits.Events(place_);
    if (output_.Empty()) {
        if (events) Receive();
        return;
    }
    if (output_.Stalled()) output_.Clear();
    if ((events & (POLLERR | POLLHUP)) || (events && !output_.Send(descriptor_))) Fail();
}

void Device_Port::Receive() {
    std::array<char, piece_size> piece;
    const auto got = platform::Read_Device(descriptor_, piece);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) return Fail();
    Remote_Flag.store(1, std::memory_order_release);
    SCPI_Receive(scpi_context, {kind_, descriptor_}, pending_, {piece.data(), static_cast<std::size_t>(got)});
}

void Device_Port::Fail() {
    std::fprintf(stderr, "the %s device has failed\n", kind_ == interface_gpib ? "GPIB" : "USB");
    failed_ = true;
    output_.Clear();
    Release_Waits({kind_, descriptor_});
}

/// Sent at once as far as it goes, so that USB's status byte follows its answer.
void Device_Port::Answer(int, std::string_view answer) {
    output_.Put(answer);
    if (!failed_ && !output_.Send(descriptor_)) Fail();
    if (kind_ == interface_usb) Hand_Over_Usb_Status(SCPI_RegGet(scpi_context, reg_stb));
}

void Device_Port::Hand_Status_Byte(int, std::uint32_t status_byte) { Hand_Over_Usb_Status(status_byte); }

void Device_Port::Request_Service(int, std::uint32_t status_byte) {
    if (kind_ == interface_gpib) {
        Request_Gpib_Service(status_byte);
    } else {
        Request_Usb_Service(status_byte);
    }
}

}  // namespace remote
