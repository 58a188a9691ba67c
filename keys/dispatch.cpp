#include "keys/dispatch.h"

#include <cstdio>
#include <initializer_list>
#include <utility>

#include "keys/handlers.h"
#include "keys/information_screen.h"
#include "keys/key_codes.h"
#include "keys/limit_name.h"
#include "keys/messages.h"
#include "keys/name_entry.h"
#include "keys/notice.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "records/display.h"
#include "records/error_log.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/sweep.h"
#include "records/sys.h"

namespace {

bool Remote() { return Remote_Flag.load(std::memory_order_acquire) != 0; }
bool Locked_Out() { return Remote() && Local_Lockouts.load(std::memory_order_acquire) != 0; }
bool Locked() { return Display_Data.key_lock != 0 && !Remote(); }
bool Sequence_Running() { return Sequence_runnow_flag == 1; }
bool Autoset_Running() { return Run_AuotSet_flag == 1; }
/// While the automatic setting runs, its own page has the key that ends it; all others wait.
bool Soft_Keys_Wait() { return Remote() || (Autoset_Running() && &Current_Page() != &AutosetLink[0]); }

void Clear_Pending_Warning() {
    Check_warning = Check_block3 = 0;
    Forget_Notice();
    Clear_Attention();
}

/// What a mode does with each hard key.
struct Mode_Keys {
    std::array<bool, hard_keys> allowed{};
    std::array<Menu_Page*, hard_keys> page{};  ///< the mode's own page, null for the key's handler
};

using Codes = std::initializer_list<Key_Code>;
using Mode_Pages = std::initializer_list<std::pair<Key_Code, Menu_Page*>>;

constexpr Mode_Keys With_Pages(Mode_Keys keys, Mode_Pages pages) {
    for (const auto& [code, page] : pages) keys.page[code] = page;
    return keys;
}

constexpr Mode_Keys Only(Codes codes, Mode_Pages pages = {}) {
    Mode_Keys keys;
    for (const auto code : codes) keys.allowed[code] = true;
    return With_Pages(keys, pages);
}

constexpr Mode_Keys All_But(Codes codes, Mode_Pages pages = {}) {
    Mode_Keys keys;
    keys.allowed.fill(true);
    for (const auto code : codes) keys.allowed[code] = false;
    return With_Pages(keys, pages);
}

constexpr Mode_Keys spectrum_keys = All_But({});
constexpr Mode_Keys emc_keys = All_But({}, {{key_bw, &EMCLink[17]}});
/// While an EMC test or the automatic setting runs; its own soft key stops it.
constexpr Mode_Keys busy_keys = Only({key_preset, key_quick_save});
constexpr Mode_Keys emission_mask_keys =
    Only({key_frequency, key_amplitude, key_measure, key_mode, key_file, key_save, key_recall, key_system, key_preset,
          key_quick_save},
         {{key_measure, &MeasLink[39]}});
constexpr Mode_Keys power_meter_keys = Only(
    {key_mode, key_measure, key_trigger, key_file, key_save, key_recall, key_system, key_preset, key_quick_save},
    {{key_measure, &ModeLink[4]}, {key_trigger, &ModeLink[9]}});
constexpr Mode_Keys am_fm_keys =
    All_But({key_span, key_autoset, key_trace, key_limit_line, key_emc},
            {{key_measure, &MeasLink[16]}, {key_amplitude, &MeasLink[20]}, {key_bw, &MeasLink[17]},
             {key_trigger, &MeasLink[22]}, {key_display, &MeasLink[31]}});
constexpr Mode_Keys ask_fsk_keys =
    With_Pages(am_fm_keys, {{key_measure, &MeasLink[26]}, {key_bw, &MeasLink[27]}});
constexpr Mode_Keys recording_keys =
    Only({key_frequency, key_amplitude, key_trigger, key_measure, key_marker, key_save, key_file, key_system, key_mode,
          key_preset, key_quick_save},
         {{key_measure, &MeasLink[35]}, {key_amplitude, &MeasLink[38]}, {key_trigger, &MeasLink[36]}});

/// Hard keys that work while the sweep is on hold.
constexpr Mode_Keys hold_keys = Only({key_peak_search, key_marker, key_sweep, key_sweep_mode, key_quick_save});

void Show_Mode_Page(Menu_Page& page) {
    AllKeyVar.unit_type = '4';
    FLAG_BLOCK_MINUS_KEY = 1;
    clean_keybuffer();
    Show_Page(page);
}

void Run_Hard_Key(std::int32_t code) {
    NUM2init();
    Blank_Entry();
    fHwKeyPtr[static_cast<std::size_t>(code)]();
    HWkeyIdx = code;
}

bool Works_In_View(std::int32_t code) {
    return code == key_file || code == key_save || code == key_recall || code == key_quick_save;
}

void Run_Mode_Key(const Mode_Keys& keys, std::int32_t code) {
    const auto index = static_cast<std::size_t>(code);
    if (!keys.allowed[index]) return;
    const bool in_view = FunctionMode_Flag == mode_file_view || FunctionMode_Flag == mode_recall_view;
    if (in_view && !Works_In_View(code)) changeto_spectrumfd();
    Menu_Page* page = keys.page[index];
    if (code == key_quick_save) {  // the picture shows the screen as it stands
        QuickSave_HwKey();
        HWkeyIdx = code;
    } else if (page) {
        NUM2init();
        Blank_Entry();
        Show_Mode_Page(*page);
        HWkeyIdx = code;
    } else {
        Run_Hard_Key(code);
    }
}

void Dispatch_By_Mode(std::int32_t mode, std::int32_t code) {
    switch (mode) {
        case mode_power_meter: return Keypad_Exe_POWERMETER_MODE(code);
        case mode_emission_mask: return Keypad_Exe_SEM_MODE(code);
        case mode_am_fm: case mode_am_fm_list: return Keypad_Exe_FM_AM_MODE(code);
        case mode_iq: case mode_r_phi: return Keypad_Exe_IQRP_MODE(code);
        case mode_ask: case mode_fsk: return Keypad_Exe_FSK_ASK_MODE(code);
        default: return Keypad_Exe_SPECTRUM_MODE(code);
    }
}

/// A view of files passes the keys of the mode that it was opened from; recordings count as the spectrum.
void Dispatch_In_View(std::int32_t code) {
    const std::int32_t saved = FunctionMode_Flag_For_File;
    const bool recording = saved == mode_iq || saved == mode_r_phi;
    Dispatch_By_Mode(recording ? std::int32_t{mode_spectrum} : saved, code);
}

bool Sweep_Mode_Key_Open() {
    const Menu_Page& page = Current_Page();
    if (&page != &SweepLink[0]) return false;
    return page.highlight == 0 || (page.highlight >= 3 && page.highlight <= 5);
}

void Run_On_Hold(std::int32_t code) {
    if (!hold_keys.allowed[static_cast<std::size_t>(code)]) return ThirdAttentionwords(24);
    if (code == key_sweep_mode && !Sweep_Mode_Key_Open()) return;
    Run_Hard_Key(code);
}

/// Preset works under remote control, while locked and during a sequence. The entry of the key buffer that is looked at
/// is the panel key itself; a web key finds whatever the buffer holds.
bool Preset_Passes(std::int32_t mode) {
    const auto slot = static_cast<std::size_t>(Keypad_Flag.load(std::memory_order_acquire));
    const std::int32_t entry = Keypad_Value[slot < keypad_slots ? slot : keypad_slots - 1].load();
    if (mode == mode_spectrum || mode == mode_spectrum_list) return true;
    if (mode == mode_file_view && FunctionMode_Flag_For_File != mode_power_meter) return true;
    switch (entry) {
        case key_file: case key_save: case key_recall: case key_preset: case key_quick_save: return true;
        case key_mode: return mode == mode_power_meter;
        case key_frequency: case key_amplitude: case key_measure: return mode == mode_emission_mask;
        default: return false;
    }
}

void Run_Preset() {
    if (FunctionMode_Flag == mode_file_view) changeto_spectrumfd();
    NUM2init();
    Blank_Entry();
    Preset_HwKey();
}

/// Hard keys under remote control, on hold, while locked, during a sequence or a search near 0 Hz.
void Execute_Barred(std::int32_t mode, std::int32_t code) {
    if (Sweep_Data.hold == 1) {
        Run_On_Hold(code);
    } else if (Display_Data.key_lock == 1) {
        Run_Hard_Key(code == key_quick_save ? key_quick_save : key_display);
    }
    if (code == key_preset && !Locked_Out() && Preset_Passes(mode)) Run_Preset();
}

void Execute_Hard_Key(std::int32_t code) {
    Clear_Pending_Warning();
    const std::int32_t mode = FunctionMode_Flag;
    if (mode == mode_file_view && code != key_quick_save) Leave_Information_Screen();
    const bool barred = Remote() || Display_Data.key_lock != 0 || Sequence_Running() || Sweep_Data.hold != 0 ||
                        Near_DC_Search_Flag != 0;
    if (barred) {
        Execute_Barred(mode, code);
    } else if (mode == mode_file_view || mode == mode_recall_view) {
        Dispatch_In_View(code);
    } else {
        Dispatch_By_Mode(mode, code);
    }
    if (code != key_preset && code != key_save && code != key_quick_save) Keylink_HwInit = code;
    Keypad_Keyin_Type_Lock = 0;
    if (Name_Entry_Open == Name_Entry::web_password) Abandon_Web_Password();
}

/// True when the key ends there: Return of the error list. On the system page the keys but the first two leave the screen
/// and then work as ever.
bool Ends_At_Information_Screen(int key) {
    constexpr int last_information_key = 1, return_key = 6;
    constexpr std::size_t error_list = 14;
    if (!System_information) return false;
    const bool from_system = &Current_Page() == &SysLink[0] && key > last_information_key;
    const bool from_list = &Current_Page() == &SysLink[error_list] && key == return_key;
    if (!from_system && !from_list) return false;
    Leave_Information_Screen();
    Sys_HwKey();
    return from_list;
}

void Execute_Soft_Key(std::int32_t code) {
    Clear_Pending_Warning();
    const int key = code & 15;
    if (Locked() && &Current_Page() != &DisplayLink[0]) return Run_Hard_Key(key_display);
    if (!Soft_Keys_Wait() && !Ends_At_Information_Screen(key)) fSwKeyPtr[Current_Page().family](key, AllKeyVar.unit_type);
    Keylink_SwInit = key;
    Keypad_Keyin_Type_Lock = 0;
}

/// Entry states in which digits are no value: lists and names.
bool Takes_No_Value(char unit_type) { return unit_type >= '2' && unit_type <= '5'; }

/// The values come back that a warning or a notice has covered.
void Redraw_Covered_Values() {
    constexpr int password_field = 7;
    if (Check_warning) {
        if (Check_warning == password_field) {
            Show_Web_Password();
        } else {
            Draw_Status_Blocks();
        }
        Check_warning = 0;
        Clear_Attention();
    }
    const bool names = Name_Entry_Open != Name_Entry::none || AllKeyVar.unit_type == '5' || AllKeyVar.unit_type == '2';
    if (Check_block3 && !names) {
        Draw_Status_Blocks();
        Check_block3 = 0;
    }
}

void Type_Name(std::int32_t code) {
    switch (Name_Entry_Open) {
        case Name_Entry::none: break;
        case Name_Entry::file: FileRenameNumber(code); break;
        case Name_Entry::state: SaveRenameNumber(code); break;
        case Name_Entry::web_password:
            SaveRenameNumber(code);
            Show_Web_Password();
            break;
        case Name_Entry::pattern: FskRenameNumber(code); break;
        case Name_Entry::sync_word: SyncRenameNumber(code); break;
        case Name_Entry::limit_line:
            SaveRenameNumber(code);
            Show_Limit_Name();
            break;
    }
}

void Execute_Numeric_Key(std::int32_t code) {
    Marker_Limit_Two_Point = 0;
    Redraw_Covered_Values();
    if (Remote() || Locked() || Sequence_Running() || Autoset_Running()) return;
    if (AllKeyVar.clear == 1) {
        if (Name_Entry_Open == Name_Entry::none) Blank_Numeric_Field();
        keyvarecover();
    }
    if (!Takes_No_Value(AllKeyVar.unit_type)) {
        if (!Current_Page().parent) Num_HwKey(AllKeyVar.unit_type);
        Numberkey(code);
        Keypad_Keyin_Type_Lock = 1;
    }
    Type_Name(code);
}

bool Steps_Allowed() {
    const bool typed = AllKeyVar.count != 0 || AllKeyVar.sign == 1;
    return !Remote() && !Locked() && !Sequence_Running() && !Autoset_Running() && AllKeyVar.unit_type != '5' && !typed;
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

void Run_If_There(void (*work)()) {
    if (work) work();
}

/// Enter ends the name that is typed, and what else waits for it.
void Execute_Enter() {
    if (Remote() || Locked() || Sequence_Running()) return;
    switch (Name_Entry_Open) {
        case Name_Entry::file:
            Run_If_There(Enter_Work.file_name);
            Name_Entry_Open = Name_Entry::none;
            File_HwKey();
            break;
        case Name_Entry::state:
            Run_If_There(Enter_Work.state_name);
            Name_Entry_Open = Name_Entry::none;
            Save_HwKey();
            AllKeyVar.unit_type = '5';
            break;
        case Name_Entry::web_password: Finish_Web_Password(); break;
        default: break;
    }
    Run_If_There(Enter_Work.ctb_setting);
    Run_If_There(Enter_Work.limit_point);
    Run_If_There(Enter_Work.sequence);
    const bool in_view = FunctionMode_Flag == mode_file_view || FunctionMode_Flag == mode_recall_view;
    if (in_view) Run_If_There(Enter_Work.usb_directory);
}

}  // namespace

void Keypad_Exe_SPECTRUM_MODE(std::int32_t code) {
    const bool busy = EMC_Data.running == 1 || Autoset_Running();
    Run_Mode_Key(busy ? busy_keys : EMC_Data.mode == 1 ? emc_keys : spectrum_keys, code);
}
void Keypad_Exe_SEM_MODE(std::int32_t code) { Run_Mode_Key(emission_mask_keys, code); }
void Keypad_Exe_POWERMETER_MODE(std::int32_t code) { Run_Mode_Key(power_meter_keys, code); }
void Keypad_Exe_FM_AM_MODE(std::int32_t code) { Run_Mode_Key(am_fm_keys, code); }
void Keypad_Exe_IQRP_MODE(std::int32_t code) { Run_Mode_Key(recording_keys, code); }
void Keypad_Exe_FSK_ASK_MODE(std::int32_t code) { Run_Mode_Key(ask_fsk_keys, code); }

void Keypad_Exe(std::int32_t code) {
    if (code == key_emc && KVA720_ATTR_INST_MODEL != 1) {
        std::printf("\r\n 7200b do not have EMC function\n");
        return;
    }
    if (code >= 0 && code < hard_keys) return Execute_Hard_Key(code);
    if (code >= key_soft_first && code <= key_soft_last) return Execute_Soft_Key(code);
    if (code >= key_digit_first && code <= key_digit_last) return Execute_Numeric_Key(code);
    if (code >= key_knob_left_first && code <= key_knob_right_last) return Execute_Knob(code);
    switch (code) {
        case key_minus: case key_point: case key_backspace: return Execute_Numeric_Key(code);
        case key_down: case key_left: case key_right: case key_up: return Execute_Arrow(code);
        case key_enter:
            Execute_Knob(code);
            return Execute_Enter();
        default: ErrorMessage("keyin_value ERROR");
    }
}
