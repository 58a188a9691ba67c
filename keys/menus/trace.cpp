#include <algorithm>
#include <array>

#include "keys/handlers.h"
#include "keys/menus/average_keys.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/sys.h"
#include "records/trace.h"
#include "trace/hold_level.h"
#include "trace/scale.h"
#include "trace/trace_settings.h"

namespace {

using namespace keys;
using namespace menus;

enum First_Key { select_key, write_key, max_hold_key, min_hold_key, view_key, blank_key };
enum Second_Key { hold_level_key = 3, hold_reset_key };
enum Math_Key { source_1_key, source_2_key, power_difference_key, log_difference_key, log_offset_key, math_off_key };
enum Average_Key { average_key, average_type_key, start_again_key };

/// What the keys of the pages choose, by key.
constexpr std::array<int, 6> modes{-1, trace_clear_write, trace_max_hold, trace_min_hold, trace_view, trace_blank};
constexpr std::array<int, 5> detectors{detector_auto, detector_normal, detector_positive, detector_negative,
                                       detector_sample};
/// The average detector is one of powers, so RMS average is another word for it.
constexpr std::array<int, 4> more_detectors{detector_average, detector_average, detector_emi_average,
                                            detector_quasi_peak};

const Trace_Record& Record() { return Trace_Data[static_cast<std::size_t>(ScreenActive)]; }
std::size_t Trace() { return Record().active & 3; }
int Round(int present, int steps, int count) { return ((present + steps) % count + count) % count; }

using Text = std::array<char, 40>;

Text Decibels(double value) {
    constexpr int decimals = 2;
    Formatted_Value formatted;
    deltavalue_trans(value, decimals, formatted);
    Text text{};
    Format_Value(formatted, decimals, true, text);
    return text;
}

void Show_Log_Reference() { Show_Entry("Log difference reference", Decibels(static_cast<double>(Log_Ref)).data()); }
void Show_Log_Offset() { Show_Entry("Log offset", Decibels(TraceMath.offset).data()); }

int Step_Log_Reference(int source, double value) {
    Set_Log_Reference(source, value);
    Show_Log_Reference();
    return 0;
}

int Step_Log_Offset(int source, double value) {
    Set_Log_Offset(source, value);
    Show_Log_Offset();
    return 0;
}

int Step_Trace(int, double) { return Set_Active_Trace(Round(Record().active, Pending_Steps(), traces)); }
int Step_Source_1(int, double) { return Set_Math_Source(0, Round(TraceMath.source_1, Pending_Steps(), traces)); }
int Step_Source_2(int, double) { return Set_Math_Source(1, Round(TraceMath.source_2, Pending_Steps(), traces)); }
int Toggle_Hold_Reset(int, double) { return Set_Hold_Restart(!Max_Hold_Restart); }

/// Shows the refusal where a setting is not possible now.
void Try(int code) {
    if (code != 0) display_warning(warning_not_now);
}

void Begin_Choice() {
    No_Entry();
    Blank_Entry();
}

void Begin_Value(char unit_type, bool may_be_negative, void (*show)()) {
    Begin_Entry(unit_type, may_be_negative);
    show();
}

void fTraceBase(int key) {
    Begin_Choice();
    if (key == select_key) {
        Set_Active_Trace(Round(Record().active, 1, traces));
    } else if (!Open_Page_Of(key)) {
        Set_Trace_Mode(Record().active, modes[static_cast<std::size_t>(key)]);
    }
}

void fTraceBaseTwo(int key) {
    if (key == hold_level_key) {
        const char unit_type = Amp.unit == unit_volt ? '8' : Amp.unit == unit_watt ? '9' : '7';
        return Begin_Value(unit_type, unit_type == '7', Show_Hold_Level);
    }
    Begin_Choice();
    if (key == hold_reset_key) {
        Toggle_Hold_Reset(0, 0);
    } else {
        Open_Page_Of(key);
    }
}

void fDetectorBase(int key) {
    Begin_Choice();
    if (!Open_Page_Of(key)) Try(Set_Detector(detectors[static_cast<std::size_t>(key)]));
}

void fDetectorBaseTwo(int key) {
    Begin_Choice();
    if (!Open_Page_Of(key)) Try(Set_Detector(more_detectors[static_cast<std::size_t>(key)]));
}

void fMathBase(int key) {
    switch (key) {
        case log_difference_key:
            Set_Trace_Math(math_log_difference);
            return Begin_Value('a', true, Show_Log_Reference);
        case log_offset_key:
            Set_Trace_Math(math_log_offset);
            return Begin_Value('a', true, Show_Log_Offset);
        default: Begin_Choice();
    }
    switch (key) {
        case source_1_key: Set_Math_Source(0, Round(TraceMath.source_1, 1, traces)); break;
        case source_2_key: Set_Math_Source(1, Round(TraceMath.source_2, 1, traces)); break;
        case power_difference_key: Set_Trace_Math(math_power_difference); break;
        case math_off_key: Set_Trace_Math(math_off); break;
        default: Open_Page_Of(key);
    }
}

void fAverageBase(int key) {
    const bool pressed_again = Current_Page().highlight == key;
    switch (key) {
        case average_key: return Press_Average(pressed_again);
        case average_type_key: return Press_Average_Type();
        default: Begin_Choice();
    }
    if (key == start_again_key) {
        Restart_Average();
    } else {
        Open_Page_Of(key);
    }
}

void Put(const Text& text, Key_Face& face) {
    std::copy_n(text.begin(), face.value.size() - 1, face.value.begin());
}

void Letters(int chosen, Key_Face& face) {
    face.choice = {selectA, selectB, selectC, selectD};
    face.chosen = chosen;
}

void Trace_Face(int key, Key_Face& face) {
    if (key == select_key) return Letters(Record().active, face);
    if (key <= blank_key) face.in_force = Record().mode[Trace()] == modes[static_cast<std::size_t>(key)];
}

void Trace_Face_Two(int key, Key_Face& face) {
    if (key == hold_level_key) {
        Format_Level(static_cast<double>(Record().max_hold_level[Trace()]) + Shown_Level_Offset(), face.value);
    } else if (key == hold_reset_key) {
        face.choice = {selectOn, selectOff};
        face.chosen = Max_Hold_Restart ? 0 : 1;
    }
}

void Math_Face(int key, Key_Face& face) {
    switch (key) {
        case source_1_key: return Letters(TraceMath.source_1, face);
        case source_2_key: return Letters(TraceMath.source_2, face);
        case log_difference_key: Put(Decibels(static_cast<double>(Log_Ref)), face); break;
        case log_offset_key: Put(Decibels(TraceMath.offset), face); break;
        default: break;
    }
    if (key >= power_difference_key && key <= log_offset_key) {
        face.in_force = MATHFLAG == math_power_difference + key - power_difference_key;
    }
}

void Average_Face(int key, Key_Face& face) {
    if (key == average_key) Face_Of_Average(face);
    if (key == average_type_key) Face_Of_Average_Type(face);
}

template <std::size_t count>
int Key_Of(const std::array<int, count>& of_keys) {
    const auto found = std::find(of_keys.begin(), of_keys.end(), Record().detector_choice[Trace()]);
    return found == of_keys.end() ? -1 : static_cast<int>(found - of_keys.begin());
}

int Chosen_Detector() { return Key_Of(detectors); }
int Chosen_Detector_Two() { return Key_Of(more_detectors); }
bool Greyed_Two(int key) { return key == hold_level_key && Record().mode[Trace()] != trace_max_hold; }
bool Greyed_Detector_Two(int key) {
    const auto index = static_cast<std::size_t>(key);
    return index < more_detectors.size() && !Detector_Allowed(more_detectors[index]);
}
bool Greyed_Average(int key) { return key == average_key && Average_Greyed(); }

constexpr auto rows = std::to_array<Page_Row>({
    {enTraceBig,
     {Key(enTraceSelect, Step_Trace), Key(enClearWrite), Key(enMaxHold), Key(enMinHold), Key(enTraceView),
      Key(enTraceBlank), Opens(enMoreOne, TraLink[1])},
     nullptr, fTraceBase, Trace_Face},
    {enTraceBig,
     {Opens(enDetector, TraLink[2]), Opens(enAveragePage, TraLink[4]), Opens(enMath, TraLink[3]),
      Key(enHoldLevel, MaxHoldFun), Key(enHoldReset, Toggle_Hold_Reset), none, Opens(enMoreTwo, TraLink[0])},
     nullptr, fTraceBaseTwo, Trace_Face_Two, nullptr, Greyed_Two},
    {enDetectorBig,
     {Key(enAuto), Key(enNormal), Key(enPosPeak), Key(enNegPeak), Key(enSample), Opens(enMoreOne, TraLink[5]),
      Return(TraLink[1])},
     &TraLink[1], fDetectorBase, nullptr, Chosen_Detector},
    {enMathBig,
     {Key(enSource1, Step_Source_1), Key(enSource2, Step_Source_2), Key(enPowerDiff),
      Key(enLogDiff, Step_Log_Reference), Key(enLogOffset, Step_Log_Offset), Key(enMathOff), Return(TraLink[1])},
     nullptr, fMathBase, Math_Face},
    {enAverageBig,
     {Key(enAverage, Step_Average), Key(enAverageType, Step_Average_Type), Key(enStartAgain), none, none, none,
      Return(TraLink[1])},
     nullptr, fAverageBase, Average_Face, nullptr, Greyed_Average},
    {enDetectorBig,
     {Key(enAverageKey), Key(enRMSAverage), Key(enEMIAverage), Key(enQuasiPeak), none, Opens(enMoreTwo, TraLink[2]),
      Return(TraLink[1])},
     &TraLink[1], fDetectorBaseTwo, nullptr, Chosen_Detector_Two, Greyed_Detector_Two},
});

/// The model without EMC has no EMI detectors.
void Hide_Keys() {
    const bool fitted = KVA720_ATTR_INST_MODEL == 1;
    TraLink[5].label[2] = fitted ? En(enEMIAverage) : nullptr;
    TraLink[5].label[3] = fitted ? En(enQuasiPeak) : nullptr;
}

}  // namespace

std::array<Menu_Page, 8> TraLink = Pages<8>(6, rows);

void menus::Reset_Trace() { TraLink = Pages<8>(6, rows); }

void Trace_HwKey() {
    Hide_Keys();
    menus::Open_First_Page(TraLink[0]);
}

void Trace_SwKey(int key, char) { Press_Soft_Key(key, "Trace_SwKey error"); }
