#include "app/remote_base.h"

#include <mutex>
#include <utility>

#include "files/last_screen.h"
#include "platform/environment.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/sys.h"
#include "records/trace.h"
#include "remote/server.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"
#include "system/preset.h"

namespace {

/// The factory preset, whatever the user chose for the key.
void Reset_To_Factory() {
    const auto chosen = std::exchange(Sys_Data.user_preset, 0);
    Preset_Instrument();
    Sys_Data.user_preset = chosen;
    FunctionMode_Flag = mode_spectrum;
}

void Leave_File_Modes() {
    const std::lock_guard records(Command_Main_Mutex);
    if (FunctionMode_Flag != mode_file_view && FunctionMode_Flag != mode_recall_view) return;
    Global_Table = Global_Table_Flag_For_File;
    FunctionMode_Flag = FunctionMode_Flag_For_File;
    Recall_Last_Global();
}

bool Sweep_Can_Come() { return DSP_Trace_Data && SweepSingle_Data.load(std::memory_order_acquire) == 0; }

}  // namespace

bool Start_Remote_Base() {
    SCPI_RegInitial(scpi_context);
    SCPI_Init(scpi_context);
    const bool opened = remote::Open_Ports({Reset_To_Factory, Leave_File_Modes, Sweep_Can_Come}, Sys_Data.baud_rate);
    SCPI_RegSetBits(scpi_context, reg_esr, esr_power_on);
    return opened || !platform::Network().required;
}
