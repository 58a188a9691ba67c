#pragma once

namespace remote {

/// What a thread that feeds the parser goes on serving while its message waits for the end of a sweep or is held back.
class Waiting_Service {
public:
    virtual ~Waiting_Service() = default;
    /// One short wait over what must go on; no message is executed. False on the stop.
    virtual bool Serve_While_Waiting() = 0;
};

/// Time of such a wait.
constexpr int waiting_ms = 1;

/// Makes a service that of the thread that calls; null takes it away.
void Set_Waiting_Service(Waiting_Service* service);

/// The server thread says so of itself: clients of interfaces without threads of their own are its alone.
void Set_Server_Thread(bool server);

/// Asked by a command that waits for the end of a sweep: passes at most some 1 ms, serving what the thread serves
/// meanwhile. False when no sweep will come, the client that waits has gone, or the stop is requested.
bool Keep_Waiting();

/// The same for input that a wait on another thread holds back.
void Held_Back();

}  // namespace remote
