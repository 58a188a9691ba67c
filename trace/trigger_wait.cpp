#include "trace/trigger_wait.h"

#include <chrono>
#include <mutex>

#include "keys/status_blocks.h"
#include "platform/clock.h"
#include "platform/fpga_int.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/sweep.h"
#include "records/trigger.h"
#include "scpi/status.h"
#include "sweep/transfer.h"
#include "sweep/trigger.h"

namespace {

constexpr std::chrono::nanoseconds shown_after = std::chrono::milliseconds(200);  ///< shorter waits would only flicker

std::int64_t Nanoseconds() { return std::chrono::nanoseconds(platform::Now()).count(); }

}  // namespace

bool Start_Triggered_Sweep() {
    if (!Trigger_Waits()) return false;
    LOOP_SetTrans_Trigger();
    return true;
}

void Show_Trigger_Wait() {
    const bool waiting = DSP_Trigger_Flag.load(std::memory_order_acquire) == 1 && Sweep_Data.hold == 0;
    constexpr auto condition = reg_operation + set_condition;
    const bool reported = (SCPI_RegGet(scpi_context, condition) & operation_waiting_for_trigger) != 0;
    if (waiting && !reported) SCPI_RegSetBits(scpi_context, condition, operation_waiting_for_trigger);
    if (!waiting && reported) SCPI_RegClearBits(scpi_context, condition, operation_waiting_for_trigger);
    if (!waiting) Trigger_Waiting_Since = -1;
    else if (Trigger_Waiting_Since < 0) Trigger_Waiting_Since = Nanoseconds();
    const bool shown = waiting && Nanoseconds() - Trigger_Waiting_Since >= shown_after.count();
    if (shown == (Trigger_Wait_Shown != 0)) return;
    Trigger_Wait_Shown = shown;
    Draw_Trigger_Wait();
}

void Take_FPGA_Event(int device) {
    const std::lock_guard trigger(Trigger_Mutex);
    const auto event = platform::Take_Fpga_Event(device);
    if (event == platform::fpga_triggered) DSP_Trigger_Flag.store(0, std::memory_order_release);
}
