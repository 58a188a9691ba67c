#include "remote/sinks.h"

#include <array>
#include <atomic>
#include <mutex>
#include <span>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

#include "remote/gpib.h"
#include "remote/waiting.h"
#include "scpi/writers.h"

namespace remote {
namespace {

constexpr std::size_t kinds = 7;
std::array<std::atomic<Sink*>, kinds> sinks{};

Remote_Setup setup;
const Scpi_Host host{.leave_file_modes = [] { if (setup.leave_file_modes) setup.leave_file_modes(); },
                     .keep_waiting = Keep_Waiting,
                     .held_back = Held_Back};

/// A status byte that GPIB is told of on *CLS travels in the same queue, so that it keeps its place.
struct Request {
    int control = 0;
    ScpiUserContext client;
    std::uint32_t status_byte = 0;
};

/// The newest takes the place of the last one where nobody has sent any for long.
class Request_Queue {
public:
    void Put(const Request& request) {
        {
            const std::lock_guard guard(mutex_);
            requests_[count_ < requests_.size() ? count_++ : count_ - 1] = request;
        }
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(event_, &one, sizeof one);
    }
    std::size_t Take(std::array<Request, 64>& requests) {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto drained = read(event_, &count, sizeof count);
        const std::lock_guard guard(mutex_);
        requests = requests_;
        return std::exchange(count_, 0);
    }
    int Event() const { return event_; }

private:
    std::mutex mutex_;  // a leaf
    std::array<Request, 64> requests_{};
    std::size_t count_ = 0;
    const int event_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};
Request_Queue queue;

void Send(std::span<const Request> requests) {
    for (const Request& request : requests) {
        if (request.control == control_status_cleared) {
            Hand_Over_Cleared_Status(request.status_byte);
        } else if (Sink* sink = Sink_Of(request.client.kind)) {
            sink->Request_Service(request.client.descriptor, request.status_byte);
        }
    }
}

bool Requests_Service(std::int32_t kind) {
    return kind == interface_gpib || kind == interface_usb || kind == interface_hislip;
}

}  // namespace

void Set_Sink(Interface_Kind kind, Sink* sink) { sinks.at(static_cast<std::size_t>(kind)).store(sink); }

Sink* Sink_Of(std::int32_t kind) {
    return kind >= 0 && static_cast<std::size_t>(kind) < kinds ? sinks[static_cast<std::size_t>(kind)].load() : nullptr;
}

int SCPI_Error(ScpiContext&, int) { return 0; }

void SCPI_Flush(ScpiContext& context) {
    if (Sink* sink = Sink_Of(context.user_context->kind)) {
        sink->Answer(context.user_context->descriptor, {SCPI_outputBuffer.data(), SCPI_outputBuffer_idx});
    }
    Clear_Output();
}

void SCPI_Control(ScpiContext& context, int control, std::uint32_t value) {
    ScpiUserContext client;
    {
        // Who is talking changes under this lock.
        const std::lock_guard guard(context.status_lock);
        client = *context.user_context;
    }
    if (control == control_service_request && Requests_Service(client.kind)) queue.Put({control, client, value});
    if (control == control_status_cleared) queue.Put({control, client, value});
    if (control != control_status_byte) return;
    if (Sink* sink = Sink_Of(client.kind)) sink->Hand_Status_Byte(client.descriptor, value);
}

void SCPI_Reset(ScpiContext&) {
    if (setup.reset) setup.reset();
}

void Install_Interface(const Remote_Setup& new_setup) {
    setup = new_setup;
    scpi_interface = {SCPI_Error, SCPI_Write, SCPI_Control, SCPI_Flush, SCPI_Reset};
    scpi_context.host = &host;
}

void Remove_Interface() {
    scpi_context.host = nullptr;
    scpi_interface = {};
    setup = {};
}

const Remote_Setup& Setup() { return setup; }

int Request_Event() { return queue.Event(); }

void Send_Requests() {
    std::array<Request, 64> requests;
    Send({requests.data(), queue.Take(requests)});
}

}  // namespace remote
