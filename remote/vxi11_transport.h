#pragma once
#include <array>
#include <cstdint>
#include <string_view>

#include <netinet/in.h>

#include <rpc/rpc.h>
#include <rpc/svc_mt.h>

#include "remote/outbox.h"
#include "remote/vxi11_record.h"

namespace remote {

class Vxi11_Server;

/// Who a call came from and by which number its reply is known.
struct Vxi11_Caller {
    u_int32_t xid = 0;
    sockaddr_in address{};
};

/// A transport of the RPC library over a socket of ours. The library's own would stand still while half a record is
/// there, and know only the last call's number; this one never waits, and replies whenever it is told to.
class Vxi11_Transport {
public:
    /// Takes the socket, non-blocking: a connection, or one for datagrams.
    Vxi11_Transport(Vxi11_Server& server, int socket, bool datagrams);
    ~Vxi11_Transport();
    Vxi11_Transport(const Vxi11_Transport&) = delete;
    Vxi11_Transport& operator=(const Vxi11_Transport&) = delete;

    /// The one behind the library's handle.
    static Vxi11_Transport& Of(SVCXPRT* handle) { return *static_cast<Vxi11_Transport*>(handle->xp_p1); }
    SVCXPRT* Handle() { return &handle_; }
    Vxi11_Server& Server() const { return server_; }
    int Socket() const { return handle_.xp_fd; }
    bool Datagrams() const { return datagrams_; }

    enum class Received { call, nothing, end };
    /// Reads what is there, at most one call, which Dispatch hands to the library.
    Received Receive();
    /// A connection has bytes that were received, but not looked at yet.
    bool Has_Input() const { return begin_ != end_; }
    /// False when the call is none: a connection can't be followed any further then.
    bool Dispatch();

    const Vxi11_Caller& Caller() const { return caller_; }
    /// The next reply is for a call that was set aside.
    void Reply_To(const Vxi11_Caller& caller) { caller_ = caller; }
    /// What the connection has not taken yet of its replies.
    Outbox pending{Write_Socket};

private:
    static constexpr std::size_t largest_reply = 9216;

    bool Decode(rpc_msg* message);
    bool Reply(rpc_msg* message);

    Vxi11_Server& server_;
    SVCXPRT handle_{};
    SVCXPRT_EXT extension_{};
    const bool datagrams_;
    Vxi11_Record record_;
    XDR arguments_{};
    bool known_ = false;  ///< the record is a call
    Vxi11_Caller caller_;
    std::array<char, 2048> input_;
    std::size_t begin_ = 0, end_ = 0;
};

}  // namespace remote
