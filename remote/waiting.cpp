#include "remote/waiting.h"

#include <chrono>

#include "platform/clock.h"
#include "platform/stop.h"
#include "remote/sinks.h"
#include "scpi/wait.h"

namespace remote {
namespace {

thread_local Waiting_Service* service = nullptr;
thread_local bool server_thread = false;

bool Pass_Time() {
    return service ? service->Serve_While_Waiting() : platform::Sleep_For(std::chrono::milliseconds(waiting_ms));
}

/// Ends the wait of a client that has gone, as far as this thread may ask. True when it did.
bool Release_Gone_Client() {
    const ScpiUserContext client = Waiting_Client();
    const bool any_thread = client.kind == interface_hislip || client.kind == interface_vxi11;
    Sink* const sink = Sink_Of(client.kind);
    if (!sink || !(any_thread || server_thread) || sink->Lives(client.descriptor)) return false;
    Release_Waits(client);
    return true;
}

}  // namespace

void Set_Waiting_Service(Waiting_Service* new_service) { service = new_service; }

void Set_Server_Thread(bool server) { server_thread = server; }

bool Keep_Waiting() {
    if (platform::Stop_Requested() || Release_Gone_Client()) return false;
    if (Setup().sweep_can_come && !Setup().sweep_can_come()) return false;
    return Pass_Time();
}

void Held_Back() {
    Release_Gone_Client();
    Pass_Time();
}

}  // namespace remote
