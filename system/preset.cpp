#include "system/preset.h"

#include <array>

#include "keys/handlers.h"
#include "keys/status_blocks.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/normalisation.h"
#include "records/sys.h"
#include "records/user_preset.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "sweep/transfer.h"
#include "sweep/trigger.h"
#include "system/dependants.h"
#include "system/status_icons.h"
#include "trace/acquisition.h"
#include "trace/corrections.h"
#include "trace/limit_lines.h"
#include "trace/markers.h"
#include "trace/peak_search.h"
#include "trace/plot.h"
#include "trace/split.h"
#include "trace/views.h"

namespace {

void Modes_Init() {
    FunctionMode_Flag = FunctionMode_Flag_For_File = mode_spectrum;
    Global_Table = Global_Table_Flag_For_File = 0;
    System_information = Sequence_runnow_flag = 0;
    Sys_Data.tracking_normalised = TG_Pos_Diff_Value = Check_TG_Normalize = Check_Sweep_Again = 0;
    EMC_Data = {};
    attention_notice = 0;
    ScreenActive = 0;
}

void Screen_Init() {
    Display_Data.active = Display_Data.clock_shown = 1;
    Display_Data.key_lock = 0;
    Display_Data.split = split_none;
    Display_Data.line_shown = Display_Record{}.line_shown;
    Display_Data.line_level = Display_Record{}.line_level;
}

void Single_Sweep_Init() {
    SweepSingle_Data.store(0, std::memory_order_release);
    DSP_Trigger_Flag.store(0, std::memory_order_release);
}

/// Each area's settings to their factory values. An area that others take values from comes before them.
constexpr std::array areas{Autoset_Init, Channel_Init, Modes_Init, Screen_Init, Freqs_ArrayInit, Trigger_Init,
                           Amp_ArrayInit, limitline_init, PeakSearch_Init, Marker_Init, Markerto_Init, BW_Init,
                           Sweep_Init, Single_Sweep_Init, Init_Trace_Data, Init_Spectrogram, Init_TopographicData,
                           Corr_Init_For_Opening};

void Show_Settings() {
    Apply_Split();
    Ext_Frame();
    Draw_Status_Blocks();
    Display_all_icon();
    if (!Remote_Flag.load(std::memory_order_acquire)) Freq_HwKey();
}

void Send_Settings() {
    LOOP_SetTrans_Peripheral();
    Send_Trigger_Settings();
    LOOP_SetTrans_Single_Sweep();
    LOOP_SetTrans_Var();
}

}  // namespace

void Preset_Instrument() {
    for (const auto init : areas) init();
    if (Sys_Data.user_preset) Recall_User_Preset();
    Show_Settings();
    Send_Settings();
}

void Reset_Instrument() {
    const auto chosen = Sys_Data.user_preset;
    Sys_Data.user_preset = 0;
    FunctionMode_Flag = mode_spectrum;
    Preset_Instrument();
    Sys_Data.user_preset = chosen;
    Command_Opc_Flag.store(0);
}
