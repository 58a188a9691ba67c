#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>

#include "platform/clock.h"
#include "remote/hislip.h"
#include "scpi/status.h"
#include "scpi/wait.h"

namespace remote {
namespace {

constexpr std::uint8_t rmt_delivered = 1;
constexpr std::uint16_t server_version = Hislip_Version[0] << 8 | Hislip_Version[1];
constexpr int session_shift = 8;

bool On_Asynchronous_Channel(std::uint8_t type) {
    switch (type) {
        case hislip_async_lock: case hislip_async_remote_local_control: case hislip_async_maximum_message_size:
        case hislip_async_initialize: case hislip_async_device_clear: case hislip_async_status_query:
        case hislip_async_lock_info: return true;
        default: return false;
    }
}

bool On_Synchronous_Channel(std::uint8_t type) {
    return type == hislip_initialize || type == hislip_data_end || type == hislip_device_clear_complete;
}

template <class Value>
std::string Big_Endian(Value value) {
    std::string bytes(sizeof value, '\0');
    for (std::size_t i = 0; i < sizeof value; ++i) bytes[sizeof value - 1 - i] = static_cast<char>(value >> (8 * i) & 0xff);
    return bytes;
}

std::uint64_t Number(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<std::uint8_t>(byte);
    return value;
}

platform::Duration After(std::uint64_t milliseconds) {
    return platform::Now() + std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds));
}

}  // namespace

void Hislip_Server::hilsip_thread_func(Guard& guard, const Hislip_Work& work) {
    const auto index = static_cast<std::size_t>(work.slot);
    Hislip_Header header;
    Read_Hislip_Header({work.header.data(), work.header.size()}, header);
    const std::string_view payload(work.payload.data(),
                                   static_cast<std::size_t>(std::min<std::uint64_t>(header.length, work.payload.size())));
    Hislip_Slot& slot = *Hislip_Info[index];
    const bool synchronous = slot.state == hislip_synchronous;
    if (slot.clearing && header.type != hislip_device_clear_complete) return;
    const bool known = On_Asynchronous_Channel(header.type) || On_Synchronous_Channel(header.type);
    if (header.length > hislip_maximum_message) return Error(index, fault_too_large, "message too large");
    if (!known) return;
    if (slot.state == hislip_unsaid) return First_Message(index, header, payload);
    if (On_Synchronous_Channel(header.type) != synchronous) return Error(index, fault_type, "wrong channel");
    synchronous ? Synchronous_Message(guard, index, header, payload) : Asynchronous_Message(index, header, payload);
}

void Hislip_Server::First_Message(std::size_t index, const Hislip_Header& header, std::string_view payload) {
    switch (header.type) {
        case hislip_initialize: return Hislip_Init_Fun(index, header, payload);
        case hislip_async_initialize: return Hislip_Async_Init_Fun(index, header);
        default: return Fatal(index, fatal_channels, "there are no two channels yet");
    }
}

void Hislip_Server::Synchronous_Message(Guard& guard, std::size_t index, const Hislip_Header& header,
                                        std::string_view payload) {
    switch (header.type) {
        case hislip_initialize: return Hislip_Init_Fun(index, header, payload);
        case hislip_data_end: return Hislip_Data_End_Fun(guard, index, header, payload);
        default: return Hislip_Device_Clear_Complete_Fun(index);
    }
}

void Hislip_Server::Asynchronous_Message(std::size_t index, const Hislip_Header& header, std::string_view payload) {
    switch (header.type) {
        case hislip_async_lock: return Hislip_Async_Lock_Fun(index, header, payload);
        case hislip_async_remote_local_control: return Hislip_Async_Remote_Local_Control_Fun(index, header);
        case hislip_async_maximum_message_size: return Hislip_Async_Maximum_Message_Size_Fun(index, header, payload);
        case hislip_async_initialize: return Fatal(index, fatal_initialization, "this channel has its session");
        case hislip_async_device_clear: return Hislip_Async_Device_Clear_Fun(index);
        case hislip_async_status_query: return Hislip_Async_Status_Query_Fun(index, header);
        default: return Hislip_Async_Lock_Info_Fun(index);
    }
}

// Sessions

std::uint64_t Hislip_Server::Next_Session_Id() {
    constexpr std::uint64_t step = 2, end = 65535;
    const auto used = [&](const auto& slot) { return slot && slot->session_id == Server_SessionID; };
    do {
        Server_SessionID += step;
        if (Server_SessionID >= end) Server_SessionID = 1;
    } while (std::any_of(Hislip_Info.begin(), Hislip_Info.end(), used));
    return Server_SessionID;
}

void Hislip_Server::Hislip_Init_Fun(std::size_t index, const Hislip_Header& header, std::string_view payload) {
    Hislip_Slot& slot = *Hislip_Info[index];
    if (slot.peer != no_slot || slot.ending) return Fatal(index, fatal_initialization, "this channel has its session");
    if (payload != "hislip0" && payload != "HISLIP0") return Tell(slot, "hislip init fail");
    slot.session_id = Next_Session_Id();
    slot.next_message_id = first_message_id;
    slot.state = hislip_synchronous;
    slot.client_version = static_cast<std::uint16_t>(header.parameter >> 16);
    slot.client_vendor = static_cast<std::uint16_t>(header.parameter);
    Put(index, {hislip_initialize_response, 0, std::uint32_t{server_version} << 16 | static_cast<std::uint32_t>(slot.session_id), 0});
    hislip_unlock_cond.Post();
}

void Hislip_Server::Hislip_Async_Init_Fun(std::size_t index, const Hislip_Header& header) {
    const auto session = std::find_if(Hislip_Info.begin(), Hislip_Info.end(), [&](const auto& slot) {
        return slot && slot->state == hislip_synchronous && slot->session_id == (header.parameter & 0xffff) && !slot->gone;
    });
    if (session == Hislip_Info.end() || (*session)->peer != no_slot || (*session)->ending) {
        return Fatal(index, fatal_initialization, "no session waits for this channel");
    }
    Hislip_Slot& slot = *Hislip_Info[index];
    slot.state = hislip_asynchronous;
    slot.session_id = (*session)->session_id;
    slot.peer = static_cast<std::size_t>(session - Hislip_Info.begin());
    (*session)->peer = index;
    const auto vendor = static_cast<std::uint32_t>(Number({slot.vendor.data(), slot.vendor.size()}));
    Put(index, {hislip_async_initialize_response, 0, vendor, 0});
    hislip_unlock_cond.Post();
}

std::size_t Hislip_Server::Session_Index(std::size_t index) const {
    return Hislip_Info[index]->state == hislip_asynchronous ? Hislip_Info[index]->peer : index;
}

Hislip_Slot& Hislip_Server::Session_Of(std::size_t index) { return *Hislip_Info[Session_Index(index)]; }

/// The slot, and above it the session, so that the slot's next session is another client.
ScpiUserContext Hislip_Server::Client(std::size_t index) const {
    return {interface_hislip, static_cast<std::int32_t>(Hislip_Info[index]->session_id << session_shift | index)};
}

Hislip_Slot* Hislip_Server::Find(int client) {
    const auto index = static_cast<std::size_t>(client & ((1 << session_shift) - 1));
    if (client < 0 || index >= slots || !Hislip_Info[index] || Client(index).descriptor != client) return nullptr;
    const Hislip_Slot& slot = *Hislip_Info[index];
    return slot.state == hislip_synchronous && !slot.gone ? &*Hislip_Info[index] : nullptr;
}

void Hislip_Server::Put(std::size_t index, Hislip_Header header, std::string_view payload) {
    Hislip_Slot& slot = *Hislip_Info[index];
    header.length = payload.size();
    const auto bytes = Hislip_Bytes(header);
    slot.pending.Put({bytes.data(), bytes.size()});
    slot.pending.Put(payload);
    slot.pending.Send(slot.socket);  // a broken channel is found by its thread
    if (!slot.pending.Empty()) (slot.state == hislip_synchronous ? hislip_unlock_cond : asynchronous_wake_).Post();
}

void Hislip_Server::Fatal(std::size_t index, Hislip_Fatal code, std::string_view text) {
    const std::size_t session = Session_Index(index), other = Hislip_Info[session]->peer;
    for (const std::size_t channel : {session, other}) {
        if (channel != no_slot) Put(channel, {hislip_fatal_error, code, 0, 0}, text);
    }
    Hislip_Close_Fun(index, true);
}

void Hislip_Server::Error(std::size_t index, Hislip_Fault code, std::string_view text) {
    Put(index, {hislip_error, code, 0, 0}, text);
}

void Hislip_Server::Tell(Hislip_Slot& slot, const char* text) {
    if (!std::exchange(slot.told, true)) std::fprintf(stderr, "%s\n", text);
}

// Data

void Hislip_Server::Hislip_Data_End_Fun(Guard& guard, std::size_t index, const Hislip_Header& header,
                                        std::string_view payload) {
    Hislip_Slot& slot = *Hislip_Info[index];
    if (slot.peer == no_slot && !slot.ending) return Fatal(index, fatal_channels, "there are no two channels yet");
    slot.received_id = header.parameter;
    slot.next_message_id = header.parameter + 2;
    slot.message_available = false;
    bool fits = header.length <= hislip_record_payload;
    if (fits) {
        slot.in_hand = true;
        slot.dropped = false;
        Hislip_Response_Header = {hislip_data_end, 0, header.parameter, 0};
        if (slot.remote_enabled) Go_Remote();
        const ScpiUserContext client = Client(index);
        guard.unlock();
        fits = SCPI_Receive(scpi_context, client, message_, payload) != -1;
        if (message_.length > 0 && !message_.refused) SCPI_Finish(scpi_context, client, message_);
        message_.length = 0;
        message_.refused = false;
        guard.lock();
        slot.in_hand = false;
    }
    if (slot.gone) return Free_Slot(index);
    slot.done_id = slot.dropped ? slot.done_id : header.parameter;
    if (!fits && !slot.dropped) Error(index, fault_too_large, "message too large");
    slot.dropped = false;
    Do_Deferred(index);
}

void Hislip_Server::Answer(int client, std::string_view answer) {
    const Guard guard(hislip_lock_mutex);
    Hislip_Slot* const slot = Find(client);
    if (!slot || slot->dropped) return;
    const std::uint64_t room = slot->client_maximum > hislip_header_size ? slot->client_maximum - hislip_header_size : 1;
    Hislip_Header header = Hislip_Response_Header;
    try {
        while (answer.size() > room) {
            header.type = hislip_data;
            header.length = room;
            const auto bytes = Hislip_Bytes(header);
            slot->pending.Put({bytes.data(), bytes.size()});
            slot->pending.Put(answer.substr(0, static_cast<std::size_t>(room)));
            answer.remove_prefix(static_cast<std::size_t>(room));
        }
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "hislip calloc data error\n");
        return;
    }
    Put(client & ((1 << session_shift) - 1), Hislip_Response_Header, answer);
    slot->message_available = true;
}

bool Hislip_Server::Lives(int client) {
    const Guard guard(hislip_lock_mutex);
    const Hislip_Slot* const slot = Find(client);
    return slot && !slot->dropped && !slot->ending;
}

// Status

void Hislip_Server::Hislip_Async_Status_Query_Fun(std::size_t index, const Hislip_Header& header) {
    Hislip_Slot& slot = Session_Of(index);
    if (header.control & rmt_delivered) slot.message_available = false;
    if (slot.remote_enabled) Go_Remote();
    // Another id says that a message is on its way. Some clients quote the one that they will use next, or none.
    const std::uint32_t id = header.parameter;
    const bool quoted = id == slot.received_id || id == slot.next_message_id || id == 0;
    std::uint32_t status = SCPI_RegGet(scpi_context, reg_stb) & ~std::uint32_t{stb_message_available | stb_request_service};
    if (slot.message_available && quoted) status |= stb_message_available;
    if (status & SCPI_RegGet(scpi_context, reg_sre)) status |= stb_request_service;
    Put(index, {hislip_async_status_response, static_cast<std::uint8_t>(status), 0, 0});
}

void Hislip_Server::Request_Service(int client, std::uint32_t status_byte) {
    const Guard guard(hislip_lock_mutex);
    const Hislip_Slot* const slot = Find(client);
    if (slot && slot->peer != no_slot) Hislip_Async_Service_Request_Fuc(slot->peer, status_byte);
}

void Hislip_Server::Hislip_Async_Service_Request_Fuc(std::size_t index, std::uint32_t status_byte) {
    constexpr std::size_t most_standing = 4096;
    if (Hislip_Info[index]->pending.Size() > most_standing) return;  // its client doesn't read
    Put(index, {hislip_async_service_request, static_cast<std::uint8_t>(status_byte), 0, 0});
}

// Device clear

void Hislip_Server::Hislip_Async_Device_Clear_Fun(std::size_t index) {
    const std::size_t session = Session_Index(index);
    Hislip_Slot& slot = *Hislip_Info[session];
    if (slot.remote_enabled) Go_Remote();
    slot.clearing = true;
    slot.clearing_since = platform::Now();
    slot.dropped = slot.in_hand;
    slot.lock_wait.waiting = slot.remote_control.waiting = slot.message_available = false;
    slot.pending.Drop_Unsent(Hislip_Message_Size);
    Clear_Client(Client(session));
    if (std::exchange(slot.release.waiting, false) && locks_.Release(session) != Lock_Outcome::refused) Locks_Changed();
    Put(index, {hislip_async_device_clear_acknowledge, 0, 0, 0});
    hislip_unlock_cond.Post();
}

void Hislip_Server::Hislip_Device_Clear_Complete_Fun(std::size_t index) {
    Hislip_Slot& slot = *Hislip_Info[index];
    slot.clearing = slot.message_available = false;
    slot.next_message_id = first_message_id;
    slot.received_id = slot.done_id = no_message_id;
    Put(index, {hislip_device_clear_acknowledge, 0, 0, 0});
}

void Hislip_Server::Hislip_Async_Maximum_Message_Size_Fun(std::size_t index, const Hislip_Header& header,
                                                          std::string_view payload) {
    if (header.parameter != 0 || header.length != sizeof(std::uint64_t)) return;
    Session_Of(index).client_maximum = Number(payload);
    Put(index, {hislip_async_maximum_message_size_response, 0, 0, 0}, Big_Endian(hislip_maximum_message));
}

// Locks

void Hislip_Server::Respond_Lock(std::size_t index, Lock_Outcome outcome) {
    const std::size_t channel = Hislip_Info[index]->peer;
    if (channel != no_slot) Put(channel, {hislip_async_lock_response, static_cast<std::uint8_t>(outcome), 0, 0});
}

void Hislip_Server::Hislip_Async_Lock_Fun(std::size_t index, const Hislip_Header& header, std::string_view payload) {
    enum Lock_Code : std::uint8_t { lock_release = 0, lock_request = 1 };
    const std::size_t session = Session_Index(index);
    Hislip_Slot& slot = *Hislip_Info[session];
    if (header.control > lock_request) return Error(index, fault_control_code, "unrecognized control code");
    if (slot.release.waiting || slot.lock_wait.waiting) return Error(index, fault_unidentified, "a lock request is pending");
    if (slot.remote_enabled) Go_Remote();
    if (header.control == lock_release) {
        slot.release = {true, 0, header.parameter, After(slot.patience_ms)};
        return Do_Deferred(session);
    }
    if (header.length > Hislip_Locks::longest_string) return Error(index, fault_too_large, "lock string too long");
    const Lock_Outcome outcome = locks_.Request(session, payload);
    if (outcome != Lock_Outcome::busy || header.parameter == 0) {
        Respond_Lock(session, outcome);
        if (outcome == Lock_Outcome::granted) Locks_Changed();
        return;
    }
    slot.lock_wait = {true, ++lock_tickets_, After(header.parameter), std::string(payload)};
}

void Hislip_Server::Hislip_Async_Lock_Info_Fun(std::size_t index) {
    Put(index, {hislip_async_lock_info_response, static_cast<std::uint8_t>(locks_.Exclusively_Held()),
                static_cast<std::uint32_t>(locks_.Holders()), 0});
}

/// Those who wait longest come first.
void Hislip_Server::Grant_Locks() {
    std::array<std::size_t, slots> waiting{};
    std::size_t count = 0;
    for (std::size_t index = 0; index < slots; ++index) {
        if (Hislip_Info[index] && Hislip_Info[index]->lock_wait.waiting) waiting[count++] = index;
    }
    std::sort(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(count),
              [&](std::size_t a, std::size_t b) { return Hislip_Info[a]->lock_wait.ticket < Hislip_Info[b]->lock_wait.ticket; });
    for (std::size_t i = 0; i < count; ++i) {
        const Lock_Outcome outcome = locks_.Request(waiting[i], Hislip_Info[waiting[i]]->lock_wait.string);
        if (outcome == Lock_Outcome::busy) continue;
        Hislip_Info[waiting[i]]->lock_wait.waiting = false;
        Respond_Lock(waiting[i], outcome);
    }
}

void Hislip_Server::Locks_Changed() {
    Grant_Locks();
    for (std::size_t index = 0; index < slots; ++index) {
        if (Hislip_Info[index]) Do_Deferred(index);
    }
    hislip_unlock_cond.Post();
}

// What waits for a synchronous message

/// Its message is done, or won't come.
bool Hislip_Server::Due(const Hislip_Slot& slot, const Hislip_Deferred& deferred) const {
    if (!deferred.waiting) return false;
    const std::uint32_t id = deferred.message_id;
    const bool done = id == 0 || id == no_message_id || static_cast<std::int32_t>(slot.done_id - id) >= 0;
    return done || (!slot.in_hand && platform::Now() >= deferred.until);
}

void Hislip_Server::Do_Deferred(std::size_t index) {
    Hislip_Slot& slot = *Hislip_Info[index];
    if (Due(slot, slot.remote_control) && locks_.Allows(index)) {
        slot.remote_control.waiting = false;
        Apply_Remote_Control(slot, slot.remote_control.code);
    }
    if (!Due(slot, slot.release)) return;
    slot.release.waiting = false;
    const Lock_Outcome outcome = locks_.Release(index);
    Respond_Lock(index, outcome);
    if (outcome != Lock_Outcome::refused) Locks_Changed();
}

void Hislip_Server::Hislip_Async_Remote_Local_Control_Fun(std::size_t index, const Hislip_Header& header) {
    constexpr std::uint8_t last_code = 6;
    if (header.control > last_code) return Error(index, fault_control_code, "unrecognized control code");
    const std::size_t session = Session_Index(index);
    Hislip_Slot& slot = *Hislip_Info[session];
    if (slot.remote_control.waiting) Apply_Remote_Control(slot, slot.remote_control.code);
    slot.remote_control = {true, header.control, header.parameter, After(slot.patience_ms)};
    Put(index, {hislip_async_remote_local_response, 0, 0, 0});
    Do_Deferred(session);
}

void Hislip_Server::Apply_Remote_Control(Hislip_Slot& slot, std::uint8_t code) {
    enum Remote_Code : std::uint8_t {
        disable_remote = 0, enable_remote, disable_and_local, enable_and_remote, enable_and_lockout, enable_remote_lockout, go_local
    };
    switch (code) {
        case disable_remote: case disable_and_local:
            slot.remote_enabled = false;
            slot.lockout.Set(false);
            return Go_Local();
        case go_local: return Go_Local();
        default: break;
    }
    slot.remote_enabled = true;
    if (code == enable_and_lockout || code == enable_remote_lockout) slot.lockout.Set(true);
    if (code == enable_and_remote || code == enable_remote_lockout) Go_Remote();
}

}  // namespace remote
