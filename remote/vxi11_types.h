#pragma once
#include <array>
#include <cstddef>
#include <string_view>

#include <rpc/rpc.h>

/// Arguments and results of the VXI-11 procedures and how they are coded. Nothing in them is allocated: what is longer
/// than its place keeps its length and loses its bytes.
namespace remote {

constexpr rpcprog_t DEVICE_CORE = 395183, DEVICE_ASYNC = 395184, DEVICE_INTR = 395185;
constexpr rpcvers_t DEVICE_CORE_VERSION = 1, DEVICE_ASYNC_VERSION = 1, DEVICE_INTR_VERSION = 1;

enum Vxi11_Core_Procedure : rpcproc_t {
    create_link = 10,
    device_write,
    device_read,
    device_readstb,
    device_trigger,
    device_clear,
    device_remote,
    device_local,
    device_lock,
    device_unlock,
    device_enable_srq,
    device_docmd = 22,
    destroy_link,
    create_intr_chan = 25,
    destroy_intr_chan
};
constexpr rpcproc_t device_abort = 1, device_intr_srq = 30;

enum Vxi11_Error : int {
    vxi11_no_error = 0,
    vxi11_syntax_error = 1,
    vxi11_not_accessible = 3,
    vxi11_invalid_link = 4,
    vxi11_parameter_error = 5,
    vxi11_not_supported = 8,
    vxi11_out_of_resources = 9,
    vxi11_locked = 11,
    vxi11_no_lock = 12,
    vxi11_io_timeout = 15
};
enum Vxi11_Flag : int { vxi11_wait_lock = 1, vxi11_end = 8, vxi11_term_char = 128 };
enum Vxi11_Reason : int { vxi11_reqcnt = 1, vxi11_chr = 2, vxi11_reason_end = 4 };

constexpr std::size_t vxi11_receive_size = 1000, vxi11_response_size = 8000;

/// Bytes of variable number, of which those behind the place are not kept.
template <std::size_t size>
struct Vxi11_Bytes {
    u_int length = 0;  ///< as it was sent
    std::array<char, size> bytes;

    std::string_view Kept() const { return {bytes.data(), length < size ? length : size}; }
};

struct Create_LinkParms {
    int client_id = 0;
    bool_t lock_device = 0;
    u_int lock_timeout = 0;  ///< ms, as all times
    Vxi11_Bytes<32> device;
};
struct Create_LinkResp {
    int error = vxi11_no_error;
    int lid = 0;
    u_short abort_port = 0;
    u_int max_receive_size = 0;
};
struct Device_WriteParms {
    int lid = 0;
    u_int io_timeout = 0, lock_timeout = 0;
    int flags = 0;
    Vxi11_Bytes<vxi11_receive_size> data;
};
struct Device_WriteResp {
    int error = vxi11_no_error;
    u_int size = 0;
};
struct Device_ReadParms {
    int lid = 0;
    u_int request_size = 0, io_timeout = 0, lock_timeout = 0;
    int flags = 0;
    char term_char = 0;
};
struct Device_ReadResp {
    int error = vxi11_no_error;
    int reason = 0;
    Vxi11_Bytes<vxi11_response_size> data;
};
struct Device_GenericParms {
    int lid = 0;
    int flags = 0;
    u_int lock_timeout = 0, io_timeout = 0;
};
struct Device_ReadStbResp {
    int error = vxi11_no_error;
    u_char stb = 0;
};
struct Device_LockParms {
    int lid = 0;
    int flags = 0;
    u_int lock_timeout = 0;
};
struct Device_Link {
    int lid = 0;
};
struct Device_Error {
    int error = vxi11_no_error;
};
struct Device_EnableSrqParms {
    int lid = 0;
    bool_t enable = 0;
    Vxi11_Bytes<40> handle;
};
struct Device_RemoteFunc {
    u_int host_address = 0, host_port = 0, program = 0, version = 0;
    int family = 0;
};
struct Device_DocmdParms {
    int lid = 0;
    int flags = 0;
    u_int io_timeout = 0, lock_timeout = 0;
    int command = 0;
    bool_t network_order = 0;
    int data_size = 0;
    Vxi11_Bytes<0> data;
};
struct Device_DocmdResp {
    int error = vxi11_no_error;
    Vxi11_Bytes<0> data;
};
struct Device_SrqParms {
    Vxi11_Bytes<40> handle;
};
struct Device_Nothing {};

bool_t xdr_Create_LinkParms(XDR* xdr, Create_LinkParms* parms);
bool_t xdr_Create_LinkResp(XDR* xdr, Create_LinkResp* resp);
bool_t xdr_Device_WriteParms(XDR* xdr, Device_WriteParms* parms);
bool_t xdr_Device_WriteResp(XDR* xdr, Device_WriteResp* resp);
bool_t xdr_Device_ReadParms(XDR* xdr, Device_ReadParms* parms);
bool_t xdr_Device_ReadResp(XDR* xdr, Device_ReadResp* resp);
bool_t xdr_Device_GenericParms(XDR* xdr, Device_GenericParms* parms);
bool_t xdr_Device_ReadStbResp(XDR* xdr, Device_ReadStbResp* resp);
bool_t xdr_Device_LockParms(XDR* xdr, Device_LockParms* parms);
bool_t xdr_Device_Link(XDR* xdr, Device_Link* link);
bool_t xdr_Device_Error(XDR* xdr, Device_Error* error);
bool_t xdr_Device_EnableSrqParms(XDR* xdr, Device_EnableSrqParms* parms);
bool_t xdr_Device_RemoteFunc(XDR* xdr, Device_RemoteFunc* function);
bool_t xdr_Device_DocmdParms(XDR* xdr, Device_DocmdParms* parms);
bool_t xdr_Device_DocmdResp(XDR* xdr, Device_DocmdResp* resp);
bool_t xdr_Device_SrqParms(XDR* xdr, Device_SrqParms* parms);
bool_t xdr_Device_Nothing(XDR* xdr, Device_Nothing* nothing);

/// A coding routine as the library takes it.
template <typename Value>
xdrproc_t Xdr_Routine(bool_t (*routine)(XDR*, Value*)) {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(routine));
}
inline xdrproc_t Xdr_Void() { return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(xdr_void)); }

}  // namespace remote
