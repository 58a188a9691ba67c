#include "trace/single_sweep.h"

#include "keys/status_blocks.h"
#include "records/freqs.h"
#include "records/handover.h"
#include "records/sweep.h"
#include "records/trace.h"
#include "sweep/transfer.h"
#include "trace/acquisition.h"
#include "trace/icons.h"
#include "trace/split.h"

namespace {

void Write_Viewed_Trace() {
    Trace_Record& record = Trace_Data[static_cast<std::size_t>(ScreenActive)];
    const int active = record.active & 3;
    if (record.mode[static_cast<std::size_t>(active)] != trace_view) return;
    record.mode[static_cast<std::size_t>(active)] = trace_clear_write;
    Reset_Trace_Icon(active);
    Check_Trace_Icons();
}

}  // namespace

void Set_Sweep_Hold(bool hold) {
    if (hold == (Sweep_Data.hold != 0)) return;
    Sweep_Data.hold = hold;
    Draw_Sweep_State();
    if (!hold) Transfer_Settings();
}

void Start_Single_Sweep() {
    const bool counting = Sweep_Data.single_started != 0 && Single_Sweep_Under_Way();
    if (counting) return Set_Sweep_Hold(false);
    Write_Viewed_Trace();
    Sweep_Data.single = 1;
    Sweep_Data.hold = 0;
    Sweep_Data.single_left = Swept_In_Turn() ? screens : 1;
    SweepSingle_Data.store(0, std::memory_order_release);
    LOOP_SetTrans_Single_Sweep();
    Transfer_Settings();
    for (auto& record : Trace_Data) record.average_counter.fill(1);
    Draw_Sweep_State();
}

void Set_Continuous_Sweep(bool continuous) {
    Set_Sweep_Hold(false);
    if (continuous == (Sweep_Data.single == 0)) return;
    Sweep_Data.single = continuous ? 0 : 1;
    if (continuous) {
        Sweep_Data.hold = 0;
        SweepSingle_Data.store(0, std::memory_order_release);
        LOOP_SetTrans_Single_Sweep();
    }
    Sweep_Data.single_started = 0;
    Draw_Sweep_State();
}
