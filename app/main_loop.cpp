#include "app/main_loop.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "display/draw.h"
#include "keys/dispatch.h"
#include "keys/handlers.h"
#include "keys/information_screen.h"
#include "keys/notice.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/reader.h"
#include "keys/soft_keys.h"
#include "measure/autoset.h"
#include "measure/measure.h"
#include "platform/clock.h"
#include "platform/stop.h"
#include "powermeter/powermeter.h"
#include "records/display.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/locks.h"
#include "records/sys.h"
#include "sequence/sequence.h"
#include "sweep/transfer.h"
#include "system/settings.h"
#include "system/status_icons.h"
#include "system/system.h"
#include "trace/acquisition.h"

namespace {

constexpr int sequence_calibration_stage = 4;

/// A mode without work of its own leaves the processor to others until the next look at the keys.
void Rest() { platform::Sleep_For(std::chrono::milliseconds(1)); }

void Mode_Work(std::int32_t mode) {
    switch (mode) {
        case mode_power_meter: {
            {
                const std::lock_guard records(Command_Main_Mutex);
                if (PowerSensor_Insert == 0) Leave_Power_Meter();
            }
            Rest();
            break;
        }
        case mode_emission_mask: SEM_DrawTrace(); break;
        case mode_file_view: case mode_recall_view: Rest(); break;
        case mode_am_fm: case mode_am_fm_list: Demod_DrawTrace(); break;
        case mode_iq: case mode_r_phi: Record_data_Loop(); break;
        case mode_ask: case mode_fsk: FSK_Demod_Loop(); break;
        default: readadc(); break;
    }
}

/// A key wakes a dark display before it is executed.
void Wake_Display() {
    if (Display_Data.active) return;
    Set_Screen_On(true);
    Display_HwKey();
}

/// Panel keys, the newest first.
void Execute_Panel_Keys() {
    while (Keypad_Flag.load(std::memory_order_acquire) > 0) {
        Keypad_AllKeyVarunitype = static_cast<std::uint8_t>(AllKeyVar.unit_type);
        const std::int32_t top = Keypad_Flag.fetch_sub(1, std::memory_order_acq_rel) - 1;
        Wake_Display();
        Keypad_Exe(Keypad_Value[static_cast<std::size_t>(std::clamp(top, 0, keypad_slots - 1))].load(
            std::memory_order_acquire));
    }
}

/// Keys of the web page, in the order in which they came.
void Execute_Web_Keys() {
    while (Web_Keyin_Flag.load(std::memory_order_acquire) > 0) {
        Web_Keyin_Flag.fetch_sub(1, std::memory_order_acq_rel);
        const std::int32_t code = num_queue_remove();
        if (code < 0) continue;
        Wake_Display();
        Keypad_Exe(code);
    }
}

void Resend_During_EMC_Test() {
    if (systeminit.load(std::memory_order_acquire) > 0 && EMC_Data.running == 1 && EMC_Data.held == 0) {
        LOOP_SetTrans_Var();
    }
}

void Do_Posted_Work() {
    if (RecallFormCommand.load(std::memory_order_acquire) == 1) CommandForDemodAndSEM();
    if (RecallMenuState.load(std::memory_order_acquire) == 1) RecallMenuState.store(0, std::memory_order_release);
    if (USBButtonOnOff_Flag.load(std::memory_order_acquire) == 1) {
        USBSD_ButtonOnOff(0);
        USBButtonOnOff_Flag.store(0, std::memory_order_release);
        int waiting = 1;
        RecallAfterRemoveDeviceFlag.compare_exchange_strong(waiting, 2);
    }
    if (!System_information) USBnumberdisplay();
    if (RecallAfterRemoveDeviceFlag.load(std::memory_order_acquire) == 2) {
        Recall_HwKey();
        RecallAfterRemoveDeviceFlag.store(0, std::memory_order_release);
    }
}

/// A remote interface has taken control: the menu gives way to the remote page, once.
void Enter_Remote() {
    if (Remote_Flag.load(std::memory_order_acquire) != 1 || &Current_Page() == &PresetLink[0]) return;
    if (Sequence_runnow_flag == 1) Sequence_runnow_flag = 0;
    if (FunctionMode_Flag == mode_power_meter && PmetRemoteJudgeFlag == 0) PmetRemoteJudgeFlag = 1;
    Leave_Information_Screen();
    if (SEQCAL_Flag == sequence_calibration_stage) {
        Redraw_Sequence_Screen();
        Display_all_icon();
    }
    Menu_Page& left = Current_Page();
    software_key(left.highlight, no_highlight, false, fbVid0);
    left.highlight = no_highlight;
    PresetLink[0].parent = &PresetLink[0];
    Show_Page(PresetLink[0]);
    Blank_Entry();
    Draw_Remote_Icon();
}

/// A client has given control back: the panel begins anew, its settings stay.
void Leave_Remote() {
    if (Remote_Flag.load(std::memory_order_acquire) != 0 || &Current_Page() != &PresetLink[0]) return;
    Set_Screen_On(true);
    Freq_HwKey();
    Draw_Remote_Icon();
}

}  // namespace

void Main_Loop_Once() {
    std::int32_t mode = mode_spectrum;
    {
        const std::lock_guard records(Command_Main_Mutex);
        Powermeter_InIt();
        mode = FunctionMode_Flag;
    }
    Mode_Work(mode);
    const std::lock_guard records(Command_Main_Mutex);
    Autoset_Step();
    Execute_Panel_Keys();
    Resend_During_EMC_Test();
    Execute_Web_Keys();
    Do_Posted_Work();
    Enter_Remote();
    Leave_Remote();
    End_Notice_In_Time();
}

void Main_Loop() {
    while (!platform::Stop_Requested()) Main_Loop_Once();
}
