#include "remote/vxi11_transport.h"

#include <cerrno>
#include <cstring>
#include <type_traits>

#include <sys/socket.h>
#include <unistd.h>

namespace remote {
namespace {

constexpr std::size_t mark_size = 4;

/// Others have handshakes of their own.
bool Known_Flavor(const opaque_auth& credentials) {
    return credentials.oa_flavor == AUTH_NONE || credentials.oa_flavor == AUTH_SYS;
}

}  // namespace

Vxi11_Transport::Vxi11_Transport(Vxi11_Server& server, int socket, bool datagrams)
    : server_(server), datagrams_(datagrams) {
    using Operations = std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>>;
    static constexpr auto call = [](XDR* xdr, xdrproc_t routine, void* value) -> bool_t {
        return (*routine)(xdr, value);
    };
    static const Operations operations = [] {
        Operations made{};
        made.xp_recv = [](SVCXPRT* handle, rpc_msg* message) -> bool_t { return Of(handle).Decode(message); };
        made.xp_stat = [](SVCXPRT*) { return XPRT_IDLE; };
        made.xp_getargs = [](SVCXPRT* handle, xdrproc_t routine, void* value) -> bool_t {
            return call(&Of(handle).arguments_, routine, value);
        };
        made.xp_reply = [](SVCXPRT* handle, rpc_msg* message) -> bool_t { return Of(handle).Reply(message); };
        made.xp_freeargs = [](SVCXPRT* handle, xdrproc_t routine, void* value) -> bool_t {
            Of(handle).arguments_.x_op = XDR_FREE;
            return call(&Of(handle).arguments_, routine, value);
        };
        made.xp_destroy = [](SVCXPRT*) {};
        return made;
    }();
    handle_.xp_fd = socket;
    handle_.xp_ops = &operations;
    handle_.xp_verf = _null_auth;
    handle_.xp_p1 = this;
    handle_.xp_p3 = &extension_;
    socklen_t size = sizeof caller_.address;
    if (!datagrams) getpeername(socket, reinterpret_cast<sockaddr*>(&caller_.address), &size);
    xprt_register(&handle_);
}

Vxi11_Transport::~Vxi11_Transport() {
    xprt_unregister(&handle_);
    close(handle_.xp_fd);
}

Vxi11_Transport::Received Vxi11_Transport::Receive() {
    if (record_.Complete()) record_.Next();
    if (!Has_Input()) {
        socklen_t size = sizeof caller_.address;
        const ssize_t got = recvfrom(Socket(), input_.data(), input_.size(), MSG_DONTWAIT,
                                     reinterpret_cast<sockaddr*>(&caller_.address), &size);
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return Received::nothing;
        if (datagrams_) {
            // What a send before could not deliver is told here.
            if (got <= 0) return Received::nothing;
            record_.Set({input_.data(), static_cast<std::size_t>(got)});
            return Received::call;
        }
        if (got <= 0) return Received::end;
        begin_ = 0;
        end_ = static_cast<std::size_t>(got);
    }
    begin_ += record_.Take({input_.data() + begin_, end_ - begin_});
    return record_.Complete() ? Received::call : Received::nothing;
}

bool Vxi11_Transport::Dispatch() {
    known_ = false;
    svc_getreq_common(Socket());
    return known_;
}

bool Vxi11_Transport::Decode(rpc_msg* message) {
    const std::size_t length = record_.Kept().size();
    if (!record_.Complete() || known_) return false;
    xdrmem_create(&arguments_, record_.Data(), static_cast<u_int>(length), XDR_DECODE);
    if (!xdr_callmsg(&arguments_, message)) return false;
    known_ = true;
    caller_.xid = message->rm_xid;
    if (Known_Flavor(message->rm_call.cb_cred)) return true;
    svcerr_auth(&handle_, AUTH_REJECTEDCRED);
    return false;
}

bool Vxi11_Transport::Reply(rpc_msg* message) {
    alignas(8) std::array<char, mark_size + largest_reply> bytes;
    XDR xdr;
    xdrmem_create(&xdr, bytes.data() + mark_size, largest_reply, XDR_ENCODE);
    message->rm_xid = caller_.xid;
    if (!xdr_replymsg(&xdr, message)) return false;
    const u_int length = xdr_getpos(&xdr);
    if (datagrams_) {
        const auto* address = reinterpret_cast<const sockaddr*>(&caller_.address);
        return sendto(Socket(), bytes.data() + mark_size, length, MSG_DONTWAIT, address, sizeof caller_.address) >= 0;
    }
    constexpr u_int last_fragment = 0x80000000;
    const u_int mark = htonl(last_fragment | length);
    std::memcpy(bytes.data(), &mark, mark_size);
    pending.Put({bytes.data(), mark_size + length});
    pending.Send(Socket());  // a broken connection is found by who reads it
    return true;
}

}  // namespace remote
