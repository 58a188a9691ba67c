#include "remote/vxi11_types.h"

#include <algorithm>

namespace remote {
namespace {

/// The bytes stand at the end of their message, so those that nobody keeps need not be read.
template <std::size_t size>
bool_t xdr_Beginning(XDR* xdr, Vxi11_Bytes<size>* value) {
    if (!xdr_u_int(xdr, &value->length)) return FALSE;
    const u_int kept = std::min(value->length, static_cast<u_int>(size));
    if (xdr->x_op == XDR_FREE || kept == 0) return TRUE;
    return xdr_opaque(xdr, value->bytes.data(), kept);
}

/// Of bytes that are too many, only their number is of interest.
template <std::size_t size>
bool_t xdr_Last_Bytes(XDR* xdr, Vxi11_Bytes<size>* value) {
    if (!xdr_u_int(xdr, &value->length)) return FALSE;
    if (xdr->x_op == XDR_FREE || value->length == 0 || value->length > size) return TRUE;
    return xdr_opaque(xdr, value->bytes.data(), value->length);
}

}  // namespace

bool_t xdr_Create_LinkParms(XDR* xdr, Create_LinkParms* parms) {
    return xdr_int(xdr, &parms->client_id) && xdr_bool(xdr, &parms->lock_device) &&
           xdr_u_int(xdr, &parms->lock_timeout) && xdr_Beginning(xdr, &parms->device);
}

bool_t xdr_Create_LinkResp(XDR* xdr, Create_LinkResp* resp) {
    return xdr_int(xdr, &resp->error) && xdr_int(xdr, &resp->lid) && xdr_u_short(xdr, &resp->abort_port) &&
           xdr_u_int(xdr, &resp->max_receive_size);
}

bool_t xdr_Device_WriteParms(XDR* xdr, Device_WriteParms* parms) {
    return xdr_int(xdr, &parms->lid) && xdr_u_int(xdr, &parms->io_timeout) && xdr_u_int(xdr, &parms->lock_timeout) &&
           xdr_int(xdr, &parms->flags) && xdr_Last_Bytes(xdr, &parms->data);
}

bool_t xdr_Device_WriteResp(XDR* xdr, Device_WriteResp* resp) {
    return xdr_int(xdr, &resp->error) && xdr_u_int(xdr, &resp->size);
}

bool_t xdr_Device_ReadParms(XDR* xdr, Device_ReadParms* parms) {
    return xdr_int(xdr, &parms->lid) && xdr_u_int(xdr, &parms->request_size) && xdr_u_int(xdr, &parms->io_timeout) &&
           xdr_u_int(xdr, &parms->lock_timeout) && xdr_int(xdr, &parms->flags) && xdr_char(xdr, &parms->term_char);
}

bool_t xdr_Device_ReadResp(XDR* xdr, Device_ReadResp* resp) {
    return xdr_int(xdr, &resp->error) && xdr_int(xdr, &resp->reason) && xdr_Last_Bytes(xdr, &resp->data);
}

bool_t xdr_Device_GenericParms(XDR* xdr, Device_GenericParms* parms) {
    return xdr_int(xdr, &parms->lid) && xdr_int(xdr, &parms->flags) && xdr_u_int(xdr, &parms->lock_timeout) &&
           xdr_u_int(xdr, &parms->io_timeout);
}

bool_t xdr_Device_ReadStbResp(XDR* xdr, Device_ReadStbResp* resp) {
    return xdr_int(xdr, &resp->error) && xdr_u_char(xdr, &resp->stb);
}

bool_t xdr_Device_LockParms(XDR* xdr, Device_LockParms* parms) {
    return xdr_int(xdr, &parms->lid) && xdr_int(xdr, &parms->flags) && xdr_u_int(xdr, &parms->lock_timeout);
}

bool_t xdr_Device_Link(XDR* xdr, Device_Link* link) { return xdr_int(xdr, &link->lid); }

bool_t xdr_Device_Error(XDR* xdr, Device_Error* error) { return xdr_int(xdr, &error->error); }

bool_t xdr_Device_EnableSrqParms(XDR* xdr, Device_EnableSrqParms* parms) {
    return xdr_int(xdr, &parms->lid) && xdr_bool(xdr, &parms->enable) && xdr_Last_Bytes(xdr, &parms->handle);
}

bool_t xdr_Device_RemoteFunc(XDR* xdr, Device_RemoteFunc* function) {
    return xdr_u_int(xdr, &function->host_address) && xdr_u_int(xdr, &function->host_port) &&
           xdr_u_int(xdr, &function->program) && xdr_u_int(xdr, &function->version) && xdr_int(xdr, &function->family);
}

bool_t xdr_Device_DocmdParms(XDR* xdr, Device_DocmdParms* parms) {
    return xdr_int(xdr, &parms->lid) && xdr_int(xdr, &parms->flags) && xdr_u_int(xdr, &parms->io_timeout) &&
           xdr_u_int(xdr, &parms->lock_timeout) && xdr_int(xdr, &parms->command) &&
           xdr_bool(xdr, &parms->network_order) && xdr_int(xdr, &parms->data_size) && xdr_Last_Bytes(xdr, &parms->data);
}

bool_t xdr_Device_DocmdResp(XDR* xdr, Device_DocmdResp* resp) {
    return xdr_int(xdr, &resp->error) && xdr_Last_Bytes(xdr, &resp->data);
}

bool_t xdr_Device_SrqParms(XDR* xdr, Device_SrqParms* parms) { return xdr_Last_Bytes(xdr, &parms->handle); }

bool_t xdr_Device_Nothing(XDR*, Device_Nothing*) { return TRUE; }

}  // namespace remote
