#include "keys/dispatch.h"

#include <cstdio>

#include "keys/handlers.h"
#include "keys/information_screen.h"
#include "keys/key_codes.h"
#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "records/display.h"
#include "records/error_log.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/sweep.h"
#include "records/sys.h"

namespace {

bool Remote() { return Remote_Flag.load(std::memory_order_acquire) != 0; }
bool Sequence_Running() { return Sequence_runnow_flag == 1; }

void Clear_Pending_Warning() {
    Check_warning = Check_block3 = 0;
    Clear_Attention();
}

/// Hard keys that work while the sweep is on hold.
bool Works_On_Hold(std::int32_t code) {
    return code == key_peak_search || code == key_marker || code == key_sweep || code == key_sweep_mode ||
           code == key_quick_save;
}

bool Sweep_Mode_Key_Open() {
    const Menu_Page& page = Current_Page();
    if (&page != &SweepLink[0]) return false;
    return page.highlight == 0 || (page.highlight >= 3 && page.highlight <= 5);
}

void Run_Hard_Key(std::int32_t code) {
    NUM2init();
    Blank_Entry();
    fHwKeyPtr[static_cast<std::size_t>(code)]();
    HWkeyIdx = code;
}

void Run_On_Hold(std::int32_t code) {
    if (!Works_On_Hold(code)) return ThirdAttentionwords(24);
    if (code == key_sweep_mode && !Sweep_Mode_Key_Open()) return;
    Run_Hard_Key(code);
}

/// Preset works under remote control, while locked and during a sequence. The entry of the key buffer that is looked at
/// is the panel key itself; a web key finds whatever the buffer holds.
bool Preset_Passes() {
    const auto slot = static_cast<std::size_t>(Keypad_Flag.load(std::memory_order_acquire));
    const std::int32_t entry = Keypad_Value[slot < keypad_slots ? slot : keypad_slots - 1].load();
    if (FunctionMode_Flag == mode_spectrum || FunctionMode_Flag == mode_spectrum_list) return true;
    if (FunctionMode_Flag == mode_file_view && FunctionMode_Flag_For_File != mode_power_meter) return true;
    switch (entry) {
        case key_file: case key_save: case key_recall: case key_preset: case key_quick_save: return true;
        case key_mode: return FunctionMode_Flag == mode_power_meter;
        case key_frequency: case key_amplitude: case key_measure: return FunctionMode_Flag == mode_emission_mask;
        default: return false;
    }
}

void Execute_Hard_Key(std::int32_t code) {
    Clear_Pending_Warning();
    if (FunctionMode_Flag == mode_file_view && code != key_quick_save) Leave_Information_Screen();
    const bool free = !Remote() && Display_Data.key_lock == 0 && !Sequence_Running() && Sweep_Data.hold == 0;
    if (free) {
        Keypad_Exe_SPECTRUM_MODE(code);
    } else {
        if (Sweep_Data.hold == 1) {
            Run_On_Hold(code);
        } else if (Display_Data.key_lock == 1) {
            Run_Hard_Key(code == key_quick_save ? key_quick_save : key_display);
        }
        if (code == key_preset && Preset_Passes()) {
            NUM2init();
            Blank_Numeric_Field();
            Preset_HwKey();
        }
    }
    if (code != key_preset && code != key_save && code != key_quick_save) Keylink_HwInit = code;
    Keypad_Keyin_Type_Lock = 0;
}

void Execute_Soft_Key(std::int32_t code) {
    Clear_Pending_Warning();
    const int key = code & 15;
    if (!Remote()) fSwKeyPtr[Current_Page().family](key, AllKeyVar.unit_type);
    Keylink_SwInit = key;
    Keypad_Keyin_Type_Lock = 0;
}

/// Entry states in which digits are no value: lists and names.
bool Takes_No_Value(char unit_type) { return unit_type >= '2' && unit_type <= '5'; }

void Execute_Numeric_Key(std::int32_t code) {
    if (Check_warning) Clear_Pending_Warning();
    if (Remote() || Sequence_Running()) return;
    if (AllKeyVar.clear == 1) {
        Blank_Numeric_Field();
        keyvarecover();
    }
    if (Takes_No_Value(AllKeyVar.unit_type)) return;
    if (!Current_Page().parent) Num_HwKey(AllKeyVar.unit_type);
    Numberkey(code);
    Keypad_Keyin_Type_Lock = 1;
}

bool Steps_Allowed() {
    const bool typed = AllKeyVar.count != 0 || AllKeyVar.sign == 1;
    return !Remote() && !Sequence_Running() && AllKeyVar.unit_type != '5' && !typed;
}

void Execute_Arrow(std::int32_t code) {
    if (!Steps_Allowed()) return;
    if (!Keypad_Keyin_Type_Lock) Numberkey(code);
    clean_keybuffer();
}

void Execute_Knob(std::int32_t code) {
    if (!Steps_Allowed()) return;
    Numberkey(code);
    keyvarecover();
    clean_keybuffer();
}

}  // namespace

void Keypad_Exe_SPECTRUM_MODE(std::int32_t code) { Run_Hard_Key(code); }

void Keypad_Exe(std::int32_t code) {
    if (code == key_emc && KVA720_ATTR_INST_MODEL != 1) {
        std::printf("\r\n 7200b do not have EMC function\n");
        return;
    }
    if (code >= 0 && code < hard_keys) return Execute_Hard_Key(code);
    if (code >= key_soft_first && code <= key_soft_last) return Execute_Soft_Key(code);
    switch (code) {
        case key_minus: case key_point: case key_backspace: return Execute_Numeric_Key(code);
        case key_down: case key_left: case key_right: case key_up: return Execute_Arrow(code);
        case key_enter: return;
        default: break;
    }
    if (code >= key_digit_first && code <= key_digit_last) return Execute_Numeric_Key(code);
    if (code >= key_knob_left_first && code <= key_knob_right_last) return Execute_Knob(code);
    ErrorMessage("keyin_value ERROR");
}
