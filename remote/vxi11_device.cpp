#include "remote/vxi11_device.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "remote/lan_remote.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr int error_no_link = 450;

/// Whole seconds of a time-out in ms, after a time.
platform::Duration After(platform::Duration begin, u_int timeout_ms) {
    return begin + std::chrono::seconds(timeout_ms / 1000);
}

int Name_Error(std::string_view device) {
    constexpr std::string_view beginning = "inst";
    if (!device.starts_with(beginning) || device.size() == beginning.size()) return vxi11_syntax_error;
    const char digit = device[beginning.size()];
    if (digit < '0' || digit > '9') return vxi11_syntax_error;
    return digit == '0' ? vxi11_no_error : vxi11_not_accessible;
}

}  // namespace

Vxi11_Device::~Vxi11_Device() {
    // One after another: a long list would end itself by as deep a recursion.
    while (vxi_port) vxi_port = std::move(vxi_port->next);
}

void Vxi11_Device::vxi_init() { VXI11_receive_len = VXI11_response_len = 0; }

Vxi11_Link* Vxi11_Device::Find(int lid) {
    Vxi11_Link* link = vxi_port.get();
    while (link && link->lid != lid) link = link->next.get();
    return link;
}

Vxi11_Device::Way Vxi11_Device::Pass_Lock(bool barred, bool may_wait, u_int lock_timeout, Vxi11_Wait& wait) {
    if (!barred) return Way::free;
    wait.until = After(wait.begin, lock_timeout);
    return may_wait && platform::Now() < *wait.until ? Way::waiting : Way::barred;
}

// Links

int Vxi11_Device::New_Link_Id() {
    constexpr int modulus = 47483647;
    int lid = 0;
    do lid = std::rand() % modulus + 1;
    while (Find(lid));
    return lid;
}

std::optional<Create_LinkResp> Vxi11_Device::create_link_1_svc(const Create_LinkParms& parms, Vxi11_Wait& wait) {
    if (const int error = Name_Error(parms.device.Kept()); error != vxi11_no_error) {
        return Create_LinkResp{.error = error};
    }
    const Way way = Pass_Lock(lock_device.locked, true, parms.lock_timeout, wait);
    if (way == Way::waiting) return std::nullopt;
    if (way == Way::barred) return Create_LinkResp{.error = vxi11_locked};
    std::unique_ptr<Vxi11_Link> link(links_ < most_links ? new (std::nothrow) Vxi11_Link : nullptr);
    if (!link) return Create_LinkResp{.error = vxi11_out_of_resources};
    link->client_id = parms.client_id;
    link->lid = New_Link_Id();
    link->abort_port = abort_port_;
    link->client_address = wait.client_address;
    Vxi11_Link* const created = link.get();
    (last_link_ ? last_link_->next : vxi_port) = std::move(link);
    last_link_ = created;
    ++links_;
    if (parms.lock_device) lock_device = {true, created->lid};
    Go_Remote();
    return Create_LinkResp{vxi11_no_error, created->lid, abort_port_, vxi11_receive_size};
}

std::optional<Device_Error> Vxi11_Device::destroy_link_1_svc(const Device_Link& link, Vxi11_Wait&) {
    Vxi11_Link* before = nullptr;
    Vxi11_Link* found = vxi_port.get();
    while (found && found->lid != link.lid) before = std::exchange(found, found->next.get());
    if (!found) return Device_Error{vxi11_invalid_link};
    if (lock_device.owner == link.lid) lock_device = {};
    if (found == last_link_) last_link_ = before;
    std::unique_ptr<Vxi11_Link>& place = before ? before->next : vxi_port;
    place = std::move(found->next);
    --links_;
    return Device_Error{};
}

// Messages

/// False when they don't fit: then nothing of the message is kept.
bool Vxi11_Device::Collect(const Device_WriteParms& parms) {
    const std::string_view data = parms.data.Kept().substr(0, parms.data.Kept().find('\0'));
    VXI11_response_len = 0;
    if (data.size() > VXI11_receive.size() - VXI11_receive_len) {
        VXI11_receive_len = 0;
        return false;
    }
    std::memcpy(VXI11_receive.data() + VXI11_receive_len, data.data(), data.size());
    VXI11_receive_len += data.size();
    return true;
}

void Vxi11_Device::Execute(int lid) {
    // While the message is executed, others are collected in the buffer already.
    std::array<char, vxi11_receive_size + 1> message;
    std::size_t length = std::exchange(VXI11_receive_len, 0);
    std::memcpy(message.data(), VXI11_receive.data(), length);
    if (length == 0 || message[length - 1] != '\n') message[length++] = '\n';
    executing_ = true;
    unwanted_ = false;
    run_(context_, lid, {message.data(), length});
    executing_ = false;
}

std::optional<Device_WriteResp> Vxi11_Device::device_write_1_svc(const Device_WriteParms& parms, Vxi11_Wait& wait) {
    if (parms.lid == 0) SCPI_ErrorPush(scpi_context, error_no_link);
    if (!Find(parms.lid)) return Device_WriteResp{vxi11_invalid_link, 0};
    if (parms.data.length > vxi11_receive_size) return Device_WriteResp{vxi11_parameter_error, 0};
    const Way way = Pass_Lock(Locked_By_Another(parms.lid), parms.flags, parms.lock_timeout, wait);
    if (way == Way::waiting) return std::nullopt;
    if (way == Way::barred) return Device_WriteResp{vxi11_locked, 0};
    const bool end = (parms.flags & vxi11_end) != 0;
    wait.until.reset();
    if (end && executing_) return std::nullopt;
    Go_Remote();
    if (!Collect(parms)) return Device_WriteResp{vxi11_parameter_error, 0};
    if (end) Execute(parms.lid);
    return Device_WriteResp{vxi11_no_error, parms.data.length};
}

void Vxi11_Device::Put_Answer(std::string_view answer) {
    if (unwanted_ || answer.empty()) return;
    const std::size_t kept = std::min(answer.size(), VXI11_response.size() - VXI11_response_len);
    std::memcpy(VXI11_response.data() + VXI11_response_len, answer.data(), kept);
    VXI11_response_len += kept;
    if (kept < answer.size()) VXI11_response.back() = '\n';
}

Device_ReadResp Vxi11_Device::Take_Response(const Device_ReadParms& parms) {
    Device_ReadResp resp;
    const std::size_t most = std::min<std::size_t>(parms.request_size, VXI11_response_len);
    std::size_t count = 0;
    while (count < most && !(resp.reason & (vxi11_chr | vxi11_reason_end))) {
        const char byte = VXI11_response[count];
        resp.data.bytes[count++] = byte;
        if ((parms.flags & vxi11_term_char) && byte == parms.term_char) resp.reason |= vxi11_chr;
        if (byte == '\n') resp.reason |= vxi11_reason_end;
    }
    if (count == parms.request_size) resp.reason |= vxi11_reqcnt;
    resp.data.length = static_cast<u_int>(count);
    VXI11_response_len -= count;
    std::memmove(VXI11_response.data(), VXI11_response.data() + count, VXI11_response_len);
    return resp;
}

std::optional<Device_ReadResp> Vxi11_Device::device_read_1_svc(const Device_ReadParms& parms, Vxi11_Wait& wait) {
    Device_ReadResp refused;
    if (!Find(parms.lid)) {
        refused.error = vxi11_invalid_link;
        return refused;
    }
    const Way way = Pass_Lock(Locked_By_Another(parms.lid), parms.flags, parms.lock_timeout, wait);
    if (way == Way::waiting) return std::nullopt;
    if (way == Way::barred) {
        refused.error = vxi11_locked;
        return refused;
    }
    if (!wait.answer_until) Go_Remote();
    if (VXI11_response_len > 0) return Take_Response(parms);
    constexpr u_int shortest_ms = 1000;
    if (!wait.answer_until) wait.answer_until = After(platform::Now(), std::max(parms.io_timeout, shortest_ms));
    wait.until = wait.answer_until;
    if (platform::Now() < *wait.until) return std::nullopt;
    refused.error = vxi11_io_timeout;
    return refused;
}

// Status and control

std::optional<Device_ReadStbResp> Vxi11_Device::device_readstb_1_svc(const Device_GenericParms& parms,
                                                                     Vxi11_Wait& wait) {
    if (!Find(parms.lid)) return Device_ReadStbResp{vxi11_invalid_link, 0};
    const Way way = Pass_Lock(Locked_By_Another(parms.lid), parms.flags, parms.lock_timeout, wait);
    if (way == Way::waiting) return std::nullopt;
    if (way == Way::barred) return Device_ReadStbResp{vxi11_locked, 0};
    std::uint32_t status =
        SCPI_RegGet(scpi_context, reg_stb) & ~std::uint32_t{stb_message_available | stb_request_service};
    if (VXI11_response_len > 0) status |= stb_message_available;
    if (status & SCPI_RegGet(scpi_context, reg_sre)) status |= stb_request_service;
    return Device_ReadStbResp{vxi11_no_error, static_cast<u_char>(status)};
}

std::optional<Device_Error> Vxi11_Device::Enter(int lid, int flags, u_int lock_timeout, Vxi11_Wait& wait) {
    if (!Find(lid)) return Device_Error{vxi11_invalid_link};
    const Way way = Pass_Lock(lock_device.locked, flags, lock_timeout, wait);
    if (way == Way::waiting) return std::nullopt;
    return Device_Error{way == Way::barred ? vxi11_locked : vxi11_no_error};
}

std::optional<Device_Error> Vxi11_Device::device_clear_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait) {
    const auto entered = Enter(parms.lid, parms.flags, parms.lock_timeout, wait);
    if (!entered || entered->error != vxi11_no_error) return entered;
    vxi_init();
    unwanted_ = executing_;
    // The buffers are those of all links, and so is what comes of a clear.
    for (const ScpiUserContext client : {Waiting_Client(), Completion_Client()}) {
        if (client.kind == interface_vxi11) Clear_Client(client);
    }
    return entered;
}

std::optional<Device_Error> Vxi11_Device::device_remote_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait) {
    const auto entered = Enter(parms.lid, parms.flags, parms.lock_timeout, wait);
    if (entered && entered->error == vxi11_no_error) Go_Remote();
    return entered;
}

std::optional<Device_Error> Vxi11_Device::device_local_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait) {
    const auto entered = Enter(parms.lid, parms.flags, parms.lock_timeout, wait);
    if (entered && entered->error == vxi11_no_error) Go_Local();
    return entered;
}

// Lock

std::optional<Device_Error> Vxi11_Device::device_lock_1_svc(const Device_LockParms& parms, Vxi11_Wait& wait) {
    const auto entered = Enter(parms.lid, parms.flags, parms.lock_timeout, wait);
    if (entered && entered->error == vxi11_no_error) lock_device = {true, parms.lid};
    return entered;
}

std::optional<Device_Error> Vxi11_Device::device_unlock_1_svc(const Device_Link& link, Vxi11_Wait&) {
    if (!Find(link.lid)) return Device_Error{vxi11_invalid_link};
    if (!lock_device.locked) return Device_Error{vxi11_no_lock};
    if (lock_device.owner != link.lid) return Device_Error{vxi11_locked};
    lock_device = {};
    return Device_Error{};
}

// Not supported

std::optional<Device_Error> Vxi11_Device::device_trigger_1_svc(const Device_GenericParms&, Vxi11_Wait&) {
    return Device_Error{vxi11_not_supported};
}

std::optional<Device_Error> Vxi11_Device::device_enable_srq_1_svc(const Device_EnableSrqParms&, Vxi11_Wait&) {
    return Device_Error{vxi11_not_supported};
}

std::optional<Device_DocmdResp> Vxi11_Device::device_docmd_1_svc(const Device_DocmdParms&, Vxi11_Wait&) {
    return Device_DocmdResp{vxi11_not_supported, {}};
}

std::optional<Device_Error> Vxi11_Device::create_intr_chan_1_svc(const Device_RemoteFunc&, Vxi11_Wait&) {
    return Device_Error{vxi11_not_supported};
}

std::optional<Device_Error> Vxi11_Device::destroy_intr_chan_1_svc(const Device_Nothing&, Vxi11_Wait&) {
    return Device_Error{vxi11_not_supported};
}

std::optional<Device_Error> Vxi11_Device::device_abort_1_svc(const Device_Link&, Vxi11_Wait&) {
    return Device_Error{vxi11_not_supported};
}

std::optional<Device_Nothing> Vxi11_Device::device_intr_srq_1_svc(const Device_SrqParms&, Vxi11_Wait&) {
    return Device_Nothing{};
}

}  // namespace remote
