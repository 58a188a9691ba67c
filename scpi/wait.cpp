#include "scpi/wait.h"

#include <atomic>
#include <thread>

#include "records/handover.h"
#include "records/locks.h"

namespace {

/// Kind and descriptor in one word, so that both change at once.
std::atomic<std::uint64_t> waiting{~std::uint64_t{0}};
std::atomic<bool> released{false};
std::atomic<std::uint64_t> completion_for{~std::uint64_t{0}};  ///< likewise, of *OPC

std::uint64_t Packed(ScpiUserContext client) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(client.kind)) << 32 |
           static_cast<std::uint32_t>(client.descriptor);
}

ScpiUserContext Unpacked(std::uint64_t packed) {
    return {static_cast<std::int32_t>(packed >> 32), static_cast<std::int32_t>(packed)};
}

bool Pending() {
    return Pending_Operation_Flag.load(std::memory_order_acquire) || Pending_Operation_Flag_check.load(std::memory_order_acquire);
}

void End_Pending() {
    Command_Query_Opc_Flag.store(0, std::memory_order_release);
    Pending_Operation_Flag_check.store(0, std::memory_order_release);
    Pending_Operation_Flag.store(0, std::memory_order_release);
}

bool Go_On(const ScpiContext& context) { return context.host && context.host->keep_waiting && context.host->keep_waiting(); }

void Wait_Pending(const ScpiContext& context) {
    while (Pending()) {
        if (!released.load() && Go_On(context)) continue;
        End_Pending();
    }
}

bool turn_kept = false;  ///< by a thread that waits; under scpi_lock_mutex

/// Without scpi_lock_mutex, but with the turn.
class Lock_Let_Go {
public:
    Lock_Let_Go() : held_(scpi_lock_mutex.Held_Here()) {
        if (!held_) return;
        turn_kept = true;
        scpi_lock_mutex.unlock();
    }
    ~Lock_Let_Go() {
        if (!held_) return;
        scpi_lock_mutex.lock();
        turn_kept = false;
    }
    Lock_Let_Go(const Lock_Let_Go&) = delete;
    Lock_Let_Go& operator=(const Lock_Let_Go&) = delete;

private:
    const bool held_;
};

}  // namespace

Input_Turn::Input_Turn(ScpiContext& context) {
    scpi_lock_mutex.lock();
    while (turn_kept) {
        scpi_lock_mutex.unlock();
        if (context.host && context.host->held_back) context.host->held_back();
        std::this_thread::yield();
        scpi_lock_mutex.lock();
    }
}

Input_Turn::~Input_Turn() { scpi_lock_mutex.unlock(); }

void Begin_Pending_Operation(ScpiContext& context) {
    // In this order: whoever finds the client here releases this wait, not an earlier one.
    released.store(false);
    waiting.store(Packed(*context.user_context));
    Pending_Operation_Flag.store(1, std::memory_order_release);
    Pending_Operation_Flag_check.store(1, std::memory_order_release);
}

void Wait_For_Pending_Operation(ScpiContext& context) {
    if (Pending()) {
        const Lock_Let_Go others_serve;
        Wait_Pending(context);
    }
    waiting.store(Packed({}));
}

bool Wait_For_Sweep(ScpiContext& context) {
    Command_Query_Opc_Flag.store(1, std::memory_order_release);
    Begin_Pending_Operation(context);
    Command_Main_Mutex.unlock();
    bool kept = false;
    {
        const Lock_Let_Go others_serve;
        while (Command_Query_Opc_Flag.load(std::memory_order_acquire) && !released.load() && Go_On(context)) {}
        kept = !released.load();
        End_Pending();
        waiting.store(Packed({}));
    }
    Command_Main_Mutex.lock();
    return kept;
}

void Release_Waits(ScpiUserContext client) {
    if (client.kind != interface_none && waiting.load() == Packed(client)) released.store(true);
}

void Await_Completion(ScpiContext& context) {
    completion_for.store(Packed(*context.user_context));
    Command_Opc_Flag.store(1);
}

void Clear_Client(ScpiUserContext client) {
    Release_Waits(client);
    if (client.kind != interface_none && completion_for.load() == Packed(client)) Command_Opc_Flag.store(0);
}

ScpiUserContext Waiting_Client() { return Unpacked(waiting.load()); }

ScpiUserContext Completion_Client() { return Unpacked(completion_for.load()); }
