#pragma once
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include <sys/eventfd.h>
#include <unistd.h>

#include "remote/hislip_framing.h"
#include "remote/hislip_locks.h"
#include "remote/lan_remote.h"
#include "remote/listener.h"
#include "remote/outbox.h"
#include "remote/sinks.h"
#include "remote/waiting.h"
#include "scpi/parser.h"

/// Program messages over HiSLIP (IVI-6.1, protocol 1.0, synchronized mode).
namespace remote {

/// Makes the listening socket as Open_Raw_Listener does.
bool Open_Hislip_Listener(const std::string& address, int port);
void Close_Hislip_Listener();
/// "ADDRESS:PORT" of the listening socket, empty without one. Any thread.
std::string Hislip_Address();

constexpr std::array<std::uint8_t, 2> Hislip_Version{1, 0};

enum Hislip_State { hislip_unsaid = 0, hislip_synchronous = 1, hislip_asynchronous = 2 };
constexpr std::size_t no_slot = ~std::size_t{0};
constexpr std::uint32_t first_message_id = 0xFFFFFF00, no_message_id = 0xFFFFFEFE;

/// What an asynchronous message asks for that has to wait for a synchronous one.
struct Hislip_Deferred {
    bool waiting = false;
    std::uint8_t code = 0;
    std::uint32_t message_id = 0;  ///< of the synchronous message
    platform::Duration until{0};   ///< it is waited for no longer, unless a message is in hand
};

struct Hislip_Lock_Wait {
    bool waiting = false;
    std::uint64_t ticket = 0;  ///< first come, first served
    platform::Duration until{0};
    std::string string;
};

/// A channel. What belongs to the session stands in the slot of its synchronous channel.
struct Hislip_Slot {
    Outbox pending{Write_Socket};
    int socket = -1;
    int state = hislip_unsaid;
    std::uint64_t session_id = 0;
    std::uint64_t patience_ms = 2000;  ///< for a synchronous message that an asynchronous one names
    std::uint32_t next_message_id = first_message_id;
    std::uint64_t client_maximum = ~std::uint64_t{0};  ///< bytes of a message that the client takes
    std::array<char, 2> vendor{'Q', 'X'};
    std::uint16_t client_version = 0, client_vendor = 0;
    Hislip_Reader reader;

    std::array<char, 4096> input;  ///< what has been received and not read yet
    std::size_t begin = 0, end = 0;
    std::uint64_t serial = 0;      ///< no other slot's, ever
    std::size_t peer = no_slot;    ///< the session's other channel
    platform::Duration since{0};   ///< when it was accepted, or left by its client
    bool told = false;             ///< a line about it is on standard error

    bool in_hand = false;    ///< a message of it is being executed
    bool dropped = false;    ///< the answers of that message go nowhere
    bool gone = false;       ///< closed while a message was in hand
    bool ending = false;     ///< closed by the client; what it has sent before is still executed
    bool clearing = false;   ///< between AsyncDeviceClear and DeviceClearComplete
    platform::Duration clearing_since{0};
    bool message_available = false;
    std::uint32_t received_id = no_message_id, done_id = no_message_id;
    bool remote_enabled = true;
    Local_Lockout lockout;
    Hislip_Lock_Wait lock_wait;
    Hislip_Deferred release, remote_control;
};

/// Wakes a poll of another thread.
class Wake_Event {
public:
    ~Wake_Event() { close(descriptor_); }
    Wake_Event() = default;
    Wake_Event(const Wake_Event&) = delete;
    Wake_Event& operator=(const Wake_Event&) = delete;
    int Descriptor() const { return descriptor_; }
    void Post() const;
    void Drain() const;

private:
    const int descriptor_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};

/// The sessions. One thread reads the synchronous channels and executes their messages one after another, another serves
/// everything else, so that status, locks and clears go on meanwhile. hislip_lock_mutex guards all of it and is a leaf; it
/// is never held while the parser runs.
class Hislip_Server : public Sink, public Waiting_Service {
public:
    static constexpr std::size_t slots = 100;
    static constexpr platform::Duration half_open_limit = std::chrono::seconds(10);
    static constexpr platform::Duration clear_limit = std::chrono::seconds(60);
    static constexpr platform::Duration farewell_limit = std::chrono::seconds(2);

    /// Starts its threads where there is a listener.
    Hislip_Server();
    ~Hislip_Server() override;
    Hislip_Server(const Hislip_Server&) = delete;
    Hislip_Server& operator=(const Hislip_Server&) = delete;

    void Answer(int client, std::string_view answer) override;
    void Request_Service(int client, std::uint32_t status_byte) override;
    bool Lives(int client) override;
    /// Of the thread of the synchronous channels.
    bool Serve_While_Waiting() override;

private:
    using Guard = std::unique_lock<std::mutex>;
    enum class Messages { executed, held };
    struct Polled {
        std::size_t place = Poll_Set::nowhere;
        std::uint64_t serial = 0;
    };
    using Polled_Slots = std::array<Polled, slots>;
    struct Farewell {
        int socket = -1;
        std::size_t place = Poll_Set::nowhere;
        platform::Duration until{0};
    };

    // Threads
    void hislip_channel(Hislip_State channels);
    bool Serve_Synchronous(Messages messages, int time_ms);
    bool Serve_Asynchronous();
    int Asynchronous_Wait();
    bool Room_Soon() const;
    int Events_Wanted(const Hislip_Slot& slot, std::size_t index, Messages messages) const;
    bool May_Read(const Hislip_Slot& slot, std::size_t index, Messages messages) const;
    void Serve_Synchronous(Guard& guard, std::size_t index, int events, Messages messages);
    void Serve_Asynchronous(Guard& guard, std::size_t index, int events);
    /// What stands goes out. False when the channel is closed or is not to be read yet.
    bool Send_Pending(std::size_t index, int events);
    enum class Received { bytes, nothing, end };
    Received Receive(Hislip_Slot& slot);
    /// One message at most. False when none is whole.
    bool Take_Message(Guard& guard, std::size_t index);
    void hilsip_thread_func(Guard& guard, const Hislip_Work& work);
    void Accept(const Poll_Set& waits);
    void Look_At_Time();
    void Say_Farewell(int socket);
    void Serve_Farewells(const Poll_Set& waits);

    // Handlers, by the type of message
    void Hislip_Init_Fun(std::size_t index, const Hislip_Header& header, std::string_view payload);
    void Hislip_Async_Init_Fun(std::size_t index, const Hislip_Header& header);
    void Hislip_Data_End_Fun(Guard& guard, std::size_t index, const Hislip_Header& header, std::string_view payload);
    void Hislip_Device_Clear_Complete_Fun(std::size_t index);
    void Hislip_Async_Lock_Fun(std::size_t index, const Hislip_Header& header, std::string_view payload);
    void Hislip_Async_Lock_Info_Fun(std::size_t index);
    void Hislip_Async_Remote_Local_Control_Fun(std::size_t index, const Hislip_Header& header);
    void Hislip_Async_Maximum_Message_Size_Fun(std::size_t index, const Hislip_Header& header, std::string_view payload);
    void Hislip_Async_Device_Clear_Fun(std::size_t index);
    void Hislip_Async_Status_Query_Fun(std::size_t index, const Hislip_Header& header);
    void Hislip_Async_Service_Request_Fuc(std::size_t index, std::uint32_t status_byte);
    void Synchronous_Message(Guard& guard, std::size_t index, const Hislip_Header& header, std::string_view payload);
    void Asynchronous_Message(std::size_t index, const Hislip_Header& header, std::string_view payload);
    void First_Message(std::size_t index, const Hislip_Header& header, std::string_view payload);

    // Sessions
    Hislip_Slot& Session_Of(std::size_t index);
    std::size_t Session_Index(std::size_t index) const;
    Hislip_Slot* Find(int client);
    ScpiUserContext Client(std::size_t index) const;
    std::uint64_t Next_Session_Id();
    void Close_Session(std::size_t index) { Hislip_Close_Fun(index, false); }
    /// Closes both channels of a session, or the one that has none yet; with time for its last words where it gets some.
    void Hislip_Close_Fun(std::size_t index, bool farewell);
    void Free_Slot(std::size_t index);
    void End_Session(std::size_t index);
    void Put(std::size_t index, Hislip_Header header, std::string_view payload = {});
    void Fatal(std::size_t index, Hislip_Fatal code, std::string_view text);
    void Error(std::size_t index, Hislip_Fault code, std::string_view text);
    void Tell(Hislip_Slot& slot, const char* text);

    // Locks and remote state
    void Respond_Lock(std::size_t index, Lock_Outcome outcome);
    void Grant_Locks();
    void Locks_Changed();
    void Do_Deferred(std::size_t index);
    bool Due(const Hislip_Slot& slot, const Hislip_Deferred& deferred) const;
    void Apply_Remote_Control(Hislip_Slot& slot, std::uint8_t code);

    std::mutex hislip_lock_mutex;
    Wake_Event hislip_unlock_cond;  ///< for the thread of the synchronous channels
    Wake_Event asynchronous_wake_;
    std::array<std::optional<Hislip_Slot>, slots> Hislip_Info;
    std::array<Farewell, 8> farewells_{};
    std::size_t next_farewell_ = 0;
    Hislip_Locks locks_;
    std::uint64_t lock_tickets_ = 0, serials_ = 0;
    std::uint64_t Server_SessionID = 65533;  ///< of the last session; the first one is 1
    Hislip_Header Hislip_Response_Header;    ///< of the answers to the message in hand
    Listener listener_;
    bool crowd_told_ = false;

    Pending_Input message_;  ///< of the message in hand
    std::atomic<bool> stopping_{false};
    std::array<std::thread, 2> threads_;
};

}  // namespace remote
