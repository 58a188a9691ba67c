#include "remote/vxi11_server.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <span>

#include <unistd.h>

#include "platform/stop.h"
#include "remote/sinks.h"
#include "remote/tcp_listener.h"

namespace remote {
namespace {

constexpr int clock_look_ms = 100;

/// Outlives the server, since other threads ask it at any time whether a client that waits lives.
class Vxi11_Sink : public Sink {
public:
    void Answer(int, std::string_view answer) override { device->Put_Answer(answer); }
    bool Lives(int) override { return !asker_gone.load(); }

    Vxi11_Device* device = nullptr;       ///< of the thread that feeds the parser
    std::atomic<bool> asker_gone{false};  ///< whoever sent the message in hand
};
Vxi11_Sink sink;

// Procedures

template <typename Value>
bool Freed(bool_t (*routine)(XDR*, Value*), Value& value) {
    XDR freeing{};
    freeing.x_op = XDR_FREE;
    return routine(&freeing, &value);
}

template <typename Arguments, bool_t (*routine)(XDR*, Arguments*)>
bool Decode(SVCXPRT* handle, Vxi11_Call::Arguments& place) {
    Arguments& arguments = place.emplace<Arguments>();
    return svc_getargs(handle, Xdr_Routine(routine), &arguments);
}

template <auto method, typename Arguments, bool_t (*decoding)(XDR*, Arguments*), typename Result,
          bool_t (*coding)(XDR*, Result*)>
bool Attempt(Vxi11_Device& device, Vxi11_Call& call) {
    Arguments& arguments = std::get<Arguments>(call.arguments);
    auto result = (device.*method)(arguments, call.wait);
    if (!result) return false;
    SVCXPRT* const handle = call.transport->Handle();
    call.transport->Reply_To(call.caller);
    if (!svc_sendreply(handle, Xdr_Routine(coding), &*result)) svcerr_systemerr(handle);
    if (!svc_freeargs(handle, Xdr_Routine(decoding), &arguments)) std::fprintf(stderr, "unable to free arguments\n");
    if (!Freed(coding, *result)) std::fprintf(stderr, "unable to free results\n");
    return true;
}

/// The types of a procedure's arguments and results are those that their routines code.
template <typename Routine>
struct Coded;
template <typename Value>
struct Coded<bool_t (*)(XDR*, Value*)> {
    using Type = Value;
};

template <auto method, auto decoding, auto coding>
constexpr Vxi11_Procedure Entry(rpcproc_t number) {
    using Arguments = typename Coded<decltype(decoding)>::Type;
    using Result = typename Coded<decltype(coding)>::Type;
    return {number, Decode<Arguments, decoding>, Attempt<method, Arguments, decoding, Result, coding>};
}

using Device = Vxi11_Device;

constexpr Vxi11_Procedure core_procedures[] = {
    Entry<&Device::create_link_1_svc, xdr_Create_LinkParms, xdr_Create_LinkResp>(create_link),
    Entry<&Device::device_write_1_svc, xdr_Device_WriteParms, xdr_Device_WriteResp>(device_write),
    Entry<&Device::device_read_1_svc, xdr_Device_ReadParms, xdr_Device_ReadResp>(device_read),
    Entry<&Device::device_readstb_1_svc, xdr_Device_GenericParms, xdr_Device_ReadStbResp>(device_readstb),
    Entry<&Device::device_trigger_1_svc, xdr_Device_GenericParms, xdr_Device_Error>(device_trigger),
    Entry<&Device::device_clear_1_svc, xdr_Device_GenericParms, xdr_Device_Error>(device_clear),
    Entry<&Device::device_remote_1_svc, xdr_Device_GenericParms, xdr_Device_Error>(device_remote),
    Entry<&Device::device_local_1_svc, xdr_Device_GenericParms, xdr_Device_Error>(device_local),
    Entry<&Device::device_lock_1_svc, xdr_Device_LockParms, xdr_Device_Error>(device_lock),
    Entry<&Device::device_unlock_1_svc, xdr_Device_Link, xdr_Device_Error>(device_unlock),
    Entry<&Device::device_enable_srq_1_svc, xdr_Device_EnableSrqParms, xdr_Device_Error>(device_enable_srq),
    Entry<&Device::device_docmd_1_svc, xdr_Device_DocmdParms, xdr_Device_DocmdResp>(device_docmd),
    Entry<&Device::destroy_link_1_svc, xdr_Device_Link, xdr_Device_Error>(destroy_link),
    Entry<&Device::create_intr_chan_1_svc, xdr_Device_RemoteFunc, xdr_Device_Error>(create_intr_chan),
    Entry<&Device::destroy_intr_chan_1_svc, xdr_Device_Nothing, xdr_Device_Error>(destroy_intr_chan),
};
constexpr Vxi11_Procedure async_procedures[] = {
    Entry<&Device::device_abort_1_svc, xdr_Device_Link, xdr_Device_Error>(device_abort),
};
constexpr Vxi11_Procedure interrupt_procedures[] = {
    Entry<&Device::device_intr_srq_1_svc, xdr_Device_SrqParms, xdr_Device_Nothing>(device_intr_srq),
};

void Dispatch(std::span<const Vxi11_Procedure> procedures, const svc_req* request, SVCXPRT* handle) {
    if (request->rq_proc == NULLPROC) {
        svc_sendreply(handle, Xdr_Void(), nullptr);
        return;
    }
    const auto procedure = std::find_if(procedures.begin(), procedures.end(), [&](const Vxi11_Procedure& entry) {
        return entry.number == request->rq_proc;
    });
    if (procedure == procedures.end()) return svcerr_noproc(handle);
    Vxi11_Transport::Of(handle).Server().Take(*procedure, handle);
}

void device_core_1(svc_req* request, SVCXPRT* handle) { Dispatch(core_procedures, request, handle); }
void device_async_1(svc_req* request, SVCXPRT* handle) { Dispatch(async_procedures, request, handle); }
void device_intr_1(svc_req* request, SVCXPRT* handle) { Dispatch(interrupt_procedures, request, handle); }

}  // namespace

Vxi11_Server::Vxi11_Server(int listener, int datagrams)
    : device_(Execute, this), listening_(listener), datagrams_(*this, datagrams, true) {
    clients_.reserve(most_connections);
    calls_.reserve(most_connections + most_datagram_calls);
    listener_.Listen_On(listener, "vxi11 accept error");
    const std::string address = Bound_Address(listener);
    device_.Set_Abort_Port(static_cast<std::uint16_t>(std::stoi(address.substr(address.find(':') + 1))));
    // The port mapper is none of the library's business here, which would take away what others have registered.
    constexpr int no_mapper = 0;
    svc_register(datagrams_.Handle(), DEVICE_ASYNC, DEVICE_ASYNC_VERSION, device_async_1, no_mapper);
    svc_register(datagrams_.Handle(), DEVICE_CORE, DEVICE_CORE_VERSION, device_core_1, no_mapper);
    svc_register(datagrams_.Handle(), DEVICE_INTR, DEVICE_INTR_VERSION, device_intr_1, no_mapper);
    sink.device = &device_;
    Set_Sink(interface_vxi11, &sink);
}

Vxi11_Server::~Vxi11_Server() {
    Set_Sink(interface_vxi11, nullptr);
    close(listening_);
}

bool Vxi11_Server::Run() {
    Set_Waiting_Service(this);
    while (Serve(-1)) {}
    Set_Waiting_Service(nullptr);
    return platform::Stop_Requested();
}

bool Vxi11_Server::Serve_While_Waiting() { return Serve(waiting_ms); }

int Vxi11_Server::Events_Wanted(const Client& client) const {
    if (!client.pending.Empty()) return POLLOUT;
    return client.call.procedure ? POLLRDHUP : POLLIN;
}

/// Whole milliseconds of the poll, at most those given; -1: for ever.
int Vxi11_Server::Wait_Time(int time_ms) const {
    const auto at_most = [&](int limit) { time_ms = time_ms < 0 ? limit : std::min(time_ms, limit); };
    if (listener_.Resting()) at_most(clock_look_ms);
    for (const auto& client : clients_) {
        if (!client->pending.Empty()) at_most(clock_look_ms);
        if (client->pending.Empty() && !client->call.procedure && client->Has_Input()) return 0;
    }
    for (const Vxi11_Call* call : calls_) {
        if (call->in_hand || !call->wait.until) continue;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*call->wait.until - platform::Now()).count();
        at_most(static_cast<int>(std::clamp<std::int64_t>(left, 1, clock_look_ms)));
    }
    return time_ms;
}

bool Vxi11_Server::Serve(int time_ms) {
    Poll_Set waits;
    const std::size_t stop = waits.Add(platform::Stop_Fd(), POLLIN), datagrams = waits.Add(datagrams_.Socket(), POLLIN);
    listener_.Add_Wait(waits);
    for (const auto& client : clients_) client->place = waits.Add(client->Socket(), Events_Wanted(*client));
    if (!waits.Wait(Wait_Time(time_ms)) || waits.Events(stop)) return false;
    for (const auto& client : clients_) Serve(*client, waits.Events(client->place));
    if (waits.Events(datagrams) && datagrams_.Receive() == Vxi11_Transport::Received::call) datagrams_.Dispatch();
    Close_Gone();
    Accept(waits);
    Attempt_Calls();
    return true;
}

// Connections

void Vxi11_Server::Serve(Client& client, int events) {
    constexpr int broken = POLLERR | POLLHUP, left = broken | POLLRDHUP;
    if (client.gone) return;
    if (!client.pending.Empty()) {
        const bool stalled = client.pending.Stalled();
        if (stalled) std::fprintf(stderr, "a VXI-11 client that doesn't read its replies is dropped\n");
        client.gone = stalled || (events & broken) || (events && !client.pending.Send(client.Socket()));
    } else if (client.call.procedure) {
        client.gone = events & left;
    } else if (events || client.Has_Input()) {
        Receive(client);
    }
    if (client.gone && client.call.in_hand) sink.asker_gone.store(true);
}

void Vxi11_Server::Receive(Client& client) {
    switch (client.Vxi11_Transport::Receive()) {
        case Vxi11_Transport::Received::end: client.gone = true; break;
        case Vxi11_Transport::Received::call: client.gone = !client.Dispatch(); break;
        case Vxi11_Transport::Received::nothing: break;
    }
}

void Vxi11_Server::Accept(const Poll_Set& waits) {
    const int socket = listener_.Accept(waits);
    if (socket < 0) return;
    if (clients_.size() >= most_connections) {
        close(socket);
        if (!crowd_told_) std::fprintf(stderr, "a VXI-11 client is refused: there are %zu already\n", most_connections);
        crowd_told_ = true;
        return;
    }
    Prepare_Client(socket);
    clients_.push_back(std::make_unique<Client>(*this, socket));
}

void Vxi11_Server::Close_Gone() {
    const auto leaves = [](const auto& client) { return client->gone && !client->call.in_hand; };
    std::erase_if(calls_, [&](const Vxi11_Call* call) {
        return std::any_of(clients_.begin(), clients_.end(),
                           [&](const auto& client) { return &client->call == call && leaves(client); });
    });
    if (std::erase_if(clients_, leaves) == 0) return;
    listener_.Wake();
    crowd_told_ = false;
}

// Calls

/// Null where too many datagrams' calls wait, or this one does already.
Vxi11_Call* Vxi11_Server::Free_Place(Vxi11_Transport& transport) {
    if (!transport.Datagrams()) return &static_cast<Client&>(transport).call;
    const Vxi11_Caller& caller = transport.Caller();
    Vxi11_Call* free = nullptr;
    for (Vxi11_Call& call : datagram_calls_) {
        if (!call.procedure) {
            free = &call;
        } else if (call.caller.xid == caller.xid && call.caller.address.sin_port == caller.address.sin_port &&
                   call.caller.address.sin_addr.s_addr == caller.address.sin_addr.s_addr) {
            return nullptr;
        }
    }
    return free;
}

void Vxi11_Server::Take(const Vxi11_Procedure& procedure, SVCXPRT* handle) {
    Vxi11_Transport& transport = Vxi11_Transport::Of(handle);
    Vxi11_Call* const call = Free_Place(transport);
    if (!call) return;
    if (!procedure.decode(handle, call->arguments)) return svcerr_decode(handle);
    call->procedure = &procedure;
    call->transport = &transport;
    call->caller = transport.Caller();
    call->wait = {.begin = platform::Now(),
                  .answer_until = {},
                  .until = {},
                  .client_address = call->caller.address.sin_addr.s_addr};
    calls_.push_back(call);
}

/// One that is done may end another's wait, so all are looked at again; each may let time pass in which calls come and go.
void Vxi11_Server::Attempt_Calls() {
    for (std::size_t i = 0; i < calls_.size();) {
        Vxi11_Call* const call = calls_[i++];
        if (call->in_hand) continue;
        call->in_hand = true;
        const bool done = call->procedure->attempt(device_, *call);
        call->in_hand = false;
        if (!done) continue;
        call->procedure = nullptr;
        std::erase(calls_, call);
        i = 0;
    }
}

// Messages

void Vxi11_Server::Execute(void* server, int lid, std::string_view message) {
    Vxi11_Server& self = *static_cast<Vxi11_Server*>(server);
    const ScpiUserContext client{interface_vxi11, lid};
    SCPI_Receive(scpi_context, client, self.message_, message);
    // A string that is not closed keeps its newline.
    if (self.message_.length > 0 && !self.message_.refused) SCPI_Finish(scpi_context, client, self.message_);
    self.message_.length = 0;
    self.message_.refused = false;
    sink.asker_gone.store(false);
}

}  // namespace remote
