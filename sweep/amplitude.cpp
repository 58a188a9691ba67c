#include "sweep/amplitude.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/trace.h"
#include "sweep/dependants.h"
#include "sweep/transfer.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr int lowest_reference = -120, highest_reference = 30;
constexpr int most_attenuation = 50, most_with_preamplifier = 10, margin = 10, emc_margin = 7;
constexpr int attenuation_knob_step = 1, attenuation_arrow_step = 5;
constexpr int preamplifier_threshold = -30, emc_preamplifier_threshold = -27;
constexpr int widest_offset = 100, widest_correction = 100;
constexpr int scales = 4;
constexpr float no_sample = -180;  ///< of a point that no sweep has reached, dBm

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

bool Emc_Mode() { return EMC_Data.mode != 0; }

/// What the display adds to levels at the input.
int Shown_Offset(std::size_t screen) {
    return Amp.offset[screen] + (Amp.impedance[screen] == 1 ? Amp.correction_75[screen] : 0);
}

int Whole(double value, int low, int high) {
    return static_cast<int>(std::lround(std::clamp(value, static_cast<double>(low), static_cast<double>(high))));
}

void Put_Reference(std::size_t screen, int reference) {
    Amp.reference[screen] = std::min(reference, highest_reference);
    Amp.displayed_reference[screen] = Amp.reference[screen] + Shown_Offset(screen);
}

void Lower_Reference_To_Attenuation(std::size_t screen) {
    const int most = Amp.attenuation[screen] - margin;
    if (Amp.reference[screen] > most) Put_Reference(screen, most);
}

/// True when the rule is done: the preamplifier takes the input as it is.
bool Preamplifier_Rule(std::size_t screen) {
    if (!Amp.preamplifier_auto) return false;
    const int threshold = Emc_Mode() ? emc_preamplifier_threshold : preamplifier_threshold;
    Amp.preamplifier_in[screen] = Amp.reference[screen] <= threshold;
    if (!Amp.preamplifier_in[screen]) return false;
    if (Amp.attenuation_mode[screen] == 0) Amp.attenuation[screen] = 0;
    return true;
}

void Couple(std::size_t screen) {
    if (Preamplifier_Rule(screen)) return;
    if (Amp.attenuation_mode[screen] != 0) return Lower_Reference_To_Attenuation(screen);
    const int reference = Amp.reference[screen];
    Amp.attenuation[screen] = reference < 0 ? margin : reference + (Emc_Mode() ? emc_margin : margin);
    if (Emc_Mode()) EMC_Data.reference_changed = 1;
}

/// The levels are shown anew.
int Level_View_Changed() {
    Level_Scale_Changed();
    Redraw_Keys();
    Draw_Status_Blocks();
    return 0;
}

/// So they are, and the core is told.
int Level_Changed() {
    Level_View_Changed();
    Transfer_Settings();
    return 0;
}

/// A whole-decibel setting that the display alone adds to levels: steps of 1 dB.
int Set_Shown_Decibels(int& setting, int source, double value, int widest) {
    if (source != source_typed) value = setting + Pending_Steps();
    if (!std::isfinite(value)) return 0;
    setting = Whole(value, -widest, widest);
    Put_Reference(Screen(), Amp.reference[Screen()]);
    return Level_Changed();
}

int Scale_Code() { return Amp.scale_code[Screen()] & 3; }

bool Put_Scale(int code) {
    if (Amp.scale_type[Screen()] != 0) return false;
    Amp.scale_code[Screen()] = static_cast<std::uint16_t>(code);
    return true;
}

/// The code of the nearest scale, of two as near the larger one.
int Nearest_Scale(double decibels) {
    int best = 0;
    for (int code = 1; code < scales; ++code) {
        if (std::fabs(decibels - Db_Per_Division(code)) < std::fabs(decibels - Db_Per_Division(best))) best = code;
    }
    return best;
}

struct Level_Range {
    float lowest, highest;  ///< dBm
};

/// What the active trace reaches over; false where there are no levels.
bool Active_Trace_Range(Level_Range& range) {
    const Trace_Record& record = Trace_Data[Screen()];
    const std::size_t trace = record.active & 3;
    if (record.mode[trace] == trace_blank) return false;
    range = {std::numeric_limits<float>::max(), no_sample};
    for (const float level : record.value[trace]) {
        if (!(level > no_sample)) continue;
        range.lowest = std::min(range.lowest, level);
        range.highest = std::max(range.highest, level);
    }
    return range.highest > no_sample;
}

}  // namespace

void Amp_ArrayInit() { Amp = {}; }

void Cal_AttnRefl_rule() {
    Couple(Screen());
    Restart_Max_Hold_Traces();
}

void Cal_Ref_Level(int source, double value) {
    const int width = source == source_knob ? 1 : Db_Per_Division(Scale_Code());
    if (source != source_typed) value = Amp.displayed_reference[Screen()] + Pending_Steps() * width;
    if (!std::isfinite(value)) return;
    const int offset = Shown_Offset(Screen());
    Put_Reference(Screen(), Whole(value, lowest_reference + offset, highest_reference + offset) - offset);
    Amp.attenuation_before[Screen()] = Amp.attenuation[Screen()];
    Cal_AttnRefl_rule();
}

int Set_Reflevel(int source, double value) {
    if (source == source_typed && !std::isfinite(value)) return 0;
    Cal_Ref_Level(source, value);
    return Level_Changed();
}

void Cal_Attenuation(int source, double value) {
    const int steps = Pending_Steps(), sign = (steps > 0) - (steps < 0);
    if (source != source_typed) {
        value = Amp.attenuation[Screen()] + sign * (source == source_knob ? attenuation_knob_step : attenuation_arrow_step);
    }
    if (!std::isfinite(value)) return;
    Amp.attenuation_mode[Screen()] = 1;
    Amp.attenuation[Screen()] =
        Whole(value, 0, Amp.preamplifier_in[Screen()] ? most_with_preamplifier : most_attenuation);
    Lower_Reference_To_Attenuation(Screen());
    Cal_AttnRefl_rule();
}

int Set_Attenuation(int source, double value) {
    if (source == source_typed && !std::isfinite(value)) return 0;
    Cal_Attenuation(source, value);
    return Level_Changed();
}

int Set_Attenuation_Mode(bool manual) {
    Amp.attenuation_mode[Screen()] = manual ? 1 : 0;
    Cal_AttnRefl_rule();
    return Level_Changed();
}

int Set_Preamplifier(bool automatic) {
    Amp.preamplifier_auto = automatic ? 1 : 0;
    for (std::size_t screen = 0; screen < Amp.preamplifier_in.size(); ++screen) {
        if (!automatic) Amp.preamplifier_in[screen] = 0;
        Couple(screen);
    }
    Restart_Max_Hold_Traces();
    return Level_Changed();
}

int Set_ReflevelOffset(int source, double value) {
    return Set_Shown_Decibels(Amp.offset[Screen()], source, value, widest_offset);
}

int Set_Impedance(int code) {
    if (code != 0 && code != 1) return 0;
    Amp.impedance[Screen()] = code;
    Put_Reference(Screen(), Amp.reference[Screen()]);
    return Level_Changed();
}

int Set_InputZcal(int source, double value) {
    return Set_Shown_Decibels(Amp.correction_75[Screen()], source, value, widest_correction);
}

int Set_Amplitude_Unit(int unit) {
    if (unit < unit_dbm || unit > unit_watt) return 0;
    Amp.unit = unit;
    return Level_View_Changed();
}

int display_scale(int source, double decibels) {
    if (source == source_typed && !std::isfinite(decibels)) return 0;
    const int steps = Pending_Steps() % scales;
    const int code = source == source_typed ? Nearest_Scale(decibels) : (Scale_Code() + steps + scales) % scales;
    return Put_Scale(code) ? Level_View_Changed() : 0;
}

int Set_Linear_Scale(bool linear) {
    Amp.scale_type[Screen()] = linear ? 1 : 0;
    if (linear) {
        Amp.unit = unit_volt;
    } else if (Amp.unit == unit_volt) {
        Amp.unit = unit_dbm;
    }
    return Level_View_Changed();
}

int Amp_Auto_Scale() {
    constexpr int upper_half = 5;
    Level_Range range;
    if (Amp.scale_type[Screen()] != 0 || !Active_Trace_Range(range)) return 0;
    const int top = Whole(std::ceil(static_cast<double>(range.highest)), lowest_reference, highest_reference);
    int code = scales - 1;
    while (code > 0 && top - static_cast<double>(range.lowest) > upper_half * Db_Per_Division(code)) --code;
    Put_Scale(code);
    return Set_Reflevel(source_typed, top + Shown_Offset(Screen()));
}

int Set_Level_Labels(bool shown) {
    Amp.labels = shown ? 1 : 0;
    return Level_View_Changed();
}

int Set_Label_Position(int position) {
    if (position < labels_left || position > labels_right) return 0;
    Amp.label_position = position;
    return Level_View_Changed();
}
