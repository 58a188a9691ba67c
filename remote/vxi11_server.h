#pragma once
#include <array>
#include <memory>
#include <string_view>
#include <variant>
#include <vector>

#include "remote/listener.h"
#include "remote/vxi11_device.h"
#include "remote/vxi11_transport.h"
#include "remote/waiting.h"

namespace remote {

struct Vxi11_Procedure;

/// A call that has come and is not answered yet.
struct Vxi11_Call {
    using Arguments = std::variant<Device_Nothing, Create_LinkParms, Device_WriteParms, Device_ReadParms,
                                   Device_GenericParms, Device_LockParms, Device_Link, Device_EnableSrqParms,
                                   Device_RemoteFunc, Device_DocmdParms, Device_SrqParms>;
    const Vxi11_Procedure* procedure = nullptr;  ///< null: the place is free
    Vxi11_Transport* transport = nullptr;
    Vxi11_Caller caller;
    Vxi11_Wait wait;
    bool in_hand = false;  ///< being tried; its message may be with the parser
    Arguments arguments;
};

/// A procedure by its number in its program.
struct Vxi11_Procedure {
    rpcproc_t number;
    bool (*decode)(SVCXPRT* handle, Vxi11_Call::Arguments& arguments);
    /// Tries it and replies; false while it has to wait.
    bool (*attempt)(Vxi11_Device& device, Vxi11_Call& call);
};

/// The service loop. The RPC library takes calls apart and finds their procedures; a call that has to wait is set
/// aside, so that those which end its wait are served. One thread has all of it.
class Vxi11_Server : public Waiting_Service {
public:
    static constexpr std::size_t most_connections = 100, most_datagram_calls = 16;

    /// Takes a listening socket and one for datagrams, both non-blocking.
    Vxi11_Server(int listener, int datagrams);
    ~Vxi11_Server() override;
    Vxi11_Server(const Vxi11_Server&) = delete;
    Vxi11_Server& operator=(const Vxi11_Server&) = delete;

    /// Serves until the stop, on the thread that calls. False when it could not go on.
    bool Run();
    /// A call that the library has taken apart; it is tried after those that wait already.
    void Take(const Vxi11_Procedure& procedure, SVCXPRT* handle);

    bool Serve_While_Waiting() override;

private:
    struct Client : Vxi11_Transport {
        Client(Vxi11_Server& server, int socket) : Vxi11_Transport(server, socket, false) {}
        Vxi11_Call call;
        std::size_t place = Poll_Set::nowhere;
        bool gone = false;  ///< to be closed
    };

    bool Serve(int time_ms);
    int Events_Wanted(const Client& client) const;
    int Wait_Time(int time_ms) const;
    void Serve(Client& client, int events);
    void Receive(Client& client);
    void Accept(const Poll_Set& waits);
    void Close_Gone();
    Vxi11_Call* Free_Place(Vxi11_Transport& transport);
    void Attempt_Calls();
    static void Execute(void* server, int lid, std::string_view message);

    Vxi11_Device device_;
    Listener listener_;
    const int listening_;
    Vxi11_Transport datagrams_;
    std::array<Vxi11_Call, most_datagram_calls> datagram_calls_;
    std::vector<std::unique_ptr<Client>> clients_;
    std::vector<Vxi11_Call*> calls_;  ///< those that wait, in the order in which they came
    Pending_Input message_;           ///< of the message in hand
    bool crowd_told_ = false;
};

}  // namespace remote
