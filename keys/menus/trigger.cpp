#include "keys/menus/trigger_keys.h"

#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/trigger_entry.h"
#include "records/freqs.h"
#include "records/trigger.h"
#include "sweep/bandwidth.h"
#include "sweep/trigger.h"

namespace {

using namespace keys;
using namespace menus;

enum Trigger_Key { free_key, video_key, input_key, video_setup_key, input_slope_key, delay_key, mode_key };
enum Video_Key { level_key, video_slope_key, frequency_key };
enum Gate_Key { gate_key, gate_delay_key, gate_length_key, gate_slope_key };

template <int (*setter)(int, double), Trigger_Entry entry>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    Show_Trigger_Entry(entry);
    return 0;
}

int Toggle_Input_Slope(int, double) { return Set_Input_Slope(!Trigger_Data.input_falling); }
int Toggle_Video_Slope(int, double) { return Set_Video_Slope(!Trigger_Data.video_falling); }
int Toggle_Mode(int, double) { return Set_Trigger_Mode(!Trigger_Data.automatic); }

void Begin_Value(char unit_type, Trigger_Entry entry) {
    Begin_Entry(unit_type, unit_type == '7');
    Show_Trigger_Entry(entry);
}

void No_Value(int (*toggle)(int, double)) {
    No_Entry();
    Blank_Entry();
    toggle(0, 0);
}

void Choose_Source(int choice) {
    No_Entry();
    Blank_Entry();
    if (Set_Trigger_Source(choice) != 0) display_warning(warning_not_now);
}

void fTriggerBase(int key) {
    switch (key) {
        case free_key: Choose_Source(trigger_by_none); break;
        case video_key: Choose_Source(trigger_by_video); break;
        case input_key: Choose_Source(trigger_by_input); break;
        case input_slope_key: No_Value(Toggle_Input_Slope); break;
        case delay_key: Begin_Value('6', Trigger_Entry::delay); break;
        case mode_key: No_Value(Toggle_Mode); break;
        default: No_Entry(); Open_Page_Of(key);
    }
}

void fVideoBase(int key) {
    switch (key) {
        case level_key: Begin_Value('7', Trigger_Entry::level); break;
        case video_slope_key: No_Value(Toggle_Video_Slope); break;
        case frequency_key: Begin_Value('1', Trigger_Entry::frequency); break;
        default: No_Entry(); Open_Page_Of(key);
    }
}

void fGateBase(int key) {
    switch (key) {
        case gate_key: No_Value(Toggle_Gate); break;
        case gate_delay_key: Begin_Value('6', Trigger_Entry::gate_delay); break;
        case gate_length_key: Begin_Value('6', Trigger_Entry::gate_length); break;
        case gate_slope_key: No_Value(Toggle_Input_Slope); break;
        default: No_Entry(); Open_Page_Of(key);
    }
}

void Slope_Face(bool falling, Key_Face& face) {
    face.choice = {selectVideoRise, selectVideoFall};
    face.chosen = falling;
}

void Trigger_Face(int key, Key_Face& face) {
    switch (key) {
        case free_key: case video_key: case input_key: face.in_force = Trigger_Data.source == key; break;
        case input_slope_key: Slope_Face(Trigger_Data.input_falling, face); break;
        case delay_key: Format_Trigger_Entry(Trigger_Entry::delay, face.value); break;
        case mode_key:
            face.choice = {selectNormal, selectAuto};
            face.chosen = Trigger_Data.automatic;
            break;
        default: break;
    }
}

void Video_Face(int key, Key_Face& face) {
    if (key == level_key) Format_Trigger_Entry(Trigger_Entry::level, face.value);
    if (key == video_slope_key) Slope_Face(Trigger_Data.video_falling, face);
    if (key == frequency_key) Format_Trigger_Entry(Trigger_Entry::frequency, face.value);
}

void Gate_Face(int key, Key_Face& face) {
    if (key == gate_key) Face_Of_Gate(face);
    if (key == gate_delay_key) Format_Trigger_Entry(Trigger_Entry::gate_delay, face.value);
    if (key == gate_length_key) Format_Trigger_Entry(Trigger_Entry::gate_length, face.value);
    if (key == gate_slope_key) Slope_Face(Trigger_Data.input_falling, face);
}

/// What the present settings leave without effect.
bool Trigger_Greyed(int key) { return key == video_key && (JUDGE_FFT_MODE() != 0 || Trigger_Data.gate != 0); }

bool Video_Greyed(int key) {
    return key == frequency_key && Freqs.span[static_cast<std::size_t>(ScreenActive)] == 0;
}

bool Gate_Page_Greyed(int key) {
    if (key == gate_key) return Gate_Greyed();
    return (key == gate_delay_key || key == gate_length_key) && JUDGE_FFT_MODE() != 0;
}

constexpr auto rows = std::to_array<Page_Row>({
    {enTriggerBig,
     {Key(enTriggerFreeRun), Key(enTriggerVideo), Key(enTriggerExternal), Opens(enVideoSetup, TriggerLink[1]),
      Key(enExtSlope, Toggle_Input_Slope), Key(enTriggerDelay, Set_And_Show<Set_Trigger_Delay, Trigger_Entry::delay>),
      Key(enTriggerMode, Toggle_Mode)},
     nullptr, fTriggerBase, Trigger_Face, nullptr, Trigger_Greyed},
    {enVideoSetupBig,
     {Key(enLevel, Set_And_Show<Set_Video_Level, Trigger_Entry::level>), Key(enSlope, Toggle_Video_Slope),
      Key(enFrequency, Set_And_Show<Set_Video_Frequency, Trigger_Entry::frequency>), none, none, none,
      Return(TriggerLink[0])},
     nullptr, fVideoBase, Video_Face, nullptr, Video_Greyed},
    {enGateSetupBig,
     {Key(enGatedSweep, Toggle_Gate), Key(enGateDelay, Set_And_Show<Set_Gate_Delay, Trigger_Entry::gate_delay>),
      Key(enGateLength, Set_And_Show<Set_Gate_Length, Trigger_Entry::gate_length>),
      Key(enExtSlope, Toggle_Input_Slope), none, none,
      Return(SweepLink[0])},
     nullptr, fGateBase, Gate_Face, nullptr, Gate_Page_Greyed},
});

}  // namespace

int menus::Toggle_Gate(int, double) {
    if (Set_Gate(!Trigger_Data.gate) != 0) display_warning(warning_not_now);
    return 0;
}

void menus::Face_Of_Gate(Key_Face& face) {
    face.choice = {selectOn, selectOff};
    face.chosen = Trigger_Data.gate ? 0 : 1;
}

bool menus::Gate_Greyed() { return JUDGE_FFT_MODE() != 0 || Trigger_Data.source == trigger_by_video; }

std::array<Menu_Page, 3> TriggerLink = Pages<3>(11, rows);

void menus::Reset_Trigger() { TriggerLink = Pages<3>(11, rows); }

void Trigger_HwKey() { menus::Open_First_Page(TriggerLink[0]); }

void Trigger_SwKey(int key, char) { Press_Soft_Key(key, "Trigger_SwKey error"); }
