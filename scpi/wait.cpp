#include "scpi/wait.h"

#include <atomic>

#include "records/handover.h"
#include "records/locks.h"

namespace {

/// Kind and descriptor in one word, so that both change at once.
std::atomic<std::uint64_t> waiting{~std::uint64_t{0}};
std::atomic<bool> released{false};

std::uint64_t Packed(ScpiUserContext client) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(client.kind)) << 32 |
           static_cast<std::uint32_t>(client.descriptor);
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

}  // namespace

void Begin_Pending_Operation(ScpiContext& context) {
    // In this order: whoever finds the client here releases this wait, not an earlier one.
    released.store(false);
    waiting.store(Packed(*context.user_context));
    Pending_Operation_Flag.store(1, std::memory_order_release);
    Pending_Operation_Flag_check.store(1, std::memory_order_release);
}

void Wait_For_Pending_Operation(ScpiContext& context) {
    while (Pending()) {
        if (!released.load() && Go_On(context)) continue;
        End_Pending();
    }
    waiting.store(Packed({}));
}

bool Wait_For_Sweep(ScpiContext& context) {
    Command_Query_Opc_Flag.store(1, std::memory_order_release);
    Begin_Pending_Operation(context);
    Command_Main_Mutex.unlock();
    while (Command_Query_Opc_Flag.load(std::memory_order_acquire) && !released.load() && Go_On(context)) {}
    const bool kept = !released.load();
    End_Pending();
    waiting.store(Packed({}));
    Command_Main_Mutex.lock();
    return kept;
}

void Release_Waits(ScpiUserContext client) {
    if (client.kind != interface_none && waiting.load() == Packed(client)) released.store(true);
}

ScpiUserContext Waiting_Client() {
    const std::uint64_t packed = waiting.load();
    return {static_cast<std::int32_t>(packed >> 32), static_cast<std::int32_t>(packed)};
}
