#include "trace/trace_settings.h"

#include <algorithm>
#include <cmath>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "records/freqs.h"
#include "sweep/transfer.h"
#include "trace/acquisition.h"
#include "trace/icons.h"
#include "trace/level_lines.h"
#include "trace/plot.h"
#include "trace/point_path.h"
#include "trace/split.h"

namespace {

constexpr int settings_conflict = -221;
constexpr int source_knob = 0, source_typed = 2;
constexpr float restart_max = -200, restart_min = 40;
constexpr int fewest_sweeps = 1, most_sweeps = 999, sweeps_by_arrow = 10;
constexpr double widest_math = 200;

Trace_Record& Active_Record() { return Trace_Data[static_cast<std::size_t>(ScreenActive)]; }
std::size_t Active_Trace() { return Active_Record().active & 3; }
bool Is_Trace(int trace) { return trace >= 0 && trace < traces; }

int Shown() {
    DetectionAutoFunc();
    Check_Trace_Icons();
    Redraw_Keys();
    return 0;
}

void Forget_Average(std::size_t trace) {
    Active_Record().average_counter[trace] = 1;
    if (trace != Active_Trace()) return;
    AVERLAG = 0;
    Draw_Average_Count(0);
}

/// A whole sweep is the first of an average.
int Average_Changed() {
    if (Active_Record().average_on[Active_Trace()]) LOOP_SetTrans_Var();
    return Shown();
}

/// What a hold or an average has kept was made by other math.
int Math_Changed() {
    Restart_Hold(Active_Record(), Active_Trace());
    Forget_Average(Active_Trace());
    return Average_Changed();
}

double Stepped(int source, double present, double value) {
    return source == source_typed ? value : present + Pending_Steps();
}

}  // namespace

void Restart_Hold(Trace_Record& record, std::size_t trace) {
    const auto mode = record.mode[trace];
    if (mode != trace_max_hold && mode != trace_min_hold) return;
    record.value[trace].fill(mode == trace_max_hold ? restart_max : restart_min);
    record.level_exceeded[trace] = 0;
    Update_Rows(record, trace);
    Redraw_Traces(record);
}

void Forget_Averages(Trace_Record& record) {
    record.average_counter.fill(1);
    AVERLAG = 0;
    Draw_Average_Count(0);
}

void Traces_Recalled() {
    for (int half = 0; half < screens; ++half) {
        const Half_In_Hand in_hand(half);
        Trace_Record& record = Active_Record();
        Forget_Averages(record);
        for (std::size_t trace = 0; trace < traces; ++trace) Restart_Hold(record, trace);
        DetectionAutoFunc();
    }
    Hold_Level_Shown = 0;
}

int Set_Active_Trace(int trace) {
    if (!Is_Trace(trace) || trace == Active_Record().active) return 0;
    Active_Record().active = static_cast<std::uint8_t>(trace);
    Hold_Level_Shown = AVERLAG = 0;
    Draw_Level_Lines();
    Draw_Average_Count(0);
    Redraw_Traces(Active_Record());
    return Shown();
}

int Set_Trace_Mode(int trace, int mode) {
    if (!Is_Trace(trace) || mode < trace_blank || mode > trace_view) return 0;
    Set_Active_Trace(trace);
    const auto index = static_cast<std::size_t>(trace);
    Active_Record().mode[index] = static_cast<std::uint8_t>(mode);
    if (mode != trace_max_hold) Hold_Level_Shown = 0;
    Draw_Level_Lines();
    if (mode != trace_view && mode != trace_blank) {
        Restart_Hold(Active_Record(), index);
        Forget_Average(index);
    }
    Reset_Trace_Icon(trace);
    Redraw_Traces(Active_Record());
    return Shown();
}

bool Detector_Allowed(int detector) {
    return (detector != detector_quasi_peak && detector != detector_emi_average) || Emi_Mode();
}

int Set_Detector(int detector) {
    if (detector < detector_normal || detector > detector_emi_average) return 0;
    if (!Detector_Allowed(detector)) return settings_conflict;
    Active_Record().detector_choice[Active_Trace()] = static_cast<std::uint16_t>(detector);
    return Shown();
}

int Set_Detector_Auto(bool automatic) {
    const std::size_t trace = Active_Trace();
    if (automatic) return Set_Detector(detector_auto);
    auto& choice = Active_Record().detector_choice[trace];
    if (choice == detector_auto) choice = Active_Record().detector[trace];
    return Shown();
}

int Set_Average(bool on) {
    const std::size_t trace = Active_Trace();
    if (Active_Record().mode[trace] == trace_view) return settings_conflict;
    Active_Record().average_on[trace] = on;
    Forget_Average(trace);
    return Average_Changed();
}

int Set_Average_Number(int source, double value) {
    const std::size_t trace = Active_Trace();
    auto& number = Active_Record().average_number[trace];
    const int width = source == source_knob ? 1 : sweeps_by_arrow;
    if (source != source_typed) value = number + Pending_Steps() * width;
    if (!std::isfinite(value)) return 0;
    number = static_cast<std::uint16_t>(std::lround(std::clamp<double>(value, fewest_sweeps, most_sweeps)));
    Forget_Average(trace);
    return Average_Changed();
}

int Set_Average_Type(int type) {
    if (type < average_log || type > average_power) return 0;
    AvgType = static_cast<std::uint8_t>(type);
    for (auto& record : Trace_Data) record.average_counter.fill(1);
    Forget_Average(Active_Trace());
    return Average_Changed();
}

int Restart_Average() {
    Forget_Average(Active_Trace());
    return Average_Changed();
}

int Set_Trace_Math(int kind) {
    if (kind < math_off || kind > math_log_offset || kind == MATHFLAG) return Shown();
    MATHFLAG = kind;
    return Math_Changed();
}

int Set_Math_Source(int which, int trace) {
    if (!Is_Trace(trace)) return 0;
    auto& source = which == 0 ? TraceMath.source_1 : TraceMath.source_2;
    if (source == trace) return Shown();
    source = static_cast<std::uint16_t>(trace);
    return MATHFLAG ? Math_Changed() : Shown();
}

int Set_Log_Reference(int source, double decibels) {
    decibels = Stepped(source, static_cast<double>(Log_Ref), decibels);
    if (!std::isfinite(decibels)) return 0;
    Log_Ref = static_cast<float>(std::clamp(decibels, -widest_math, widest_math));
    return MATHFLAG == math_log_difference ? Math_Changed() : Shown();
}

int Set_Log_Offset(int source, double decibels) {
    decibels = Stepped(source, TraceMath.offset, decibels);
    if (!std::isfinite(decibels)) return 0;
    TraceMath.offset = std::clamp(decibels, -widest_math, widest_math);
    return MATHFLAG == math_log_offset ? Math_Changed() : Shown();
}

int Set_Hold_Restart(bool on) {
    Max_Hold_Restart = on;
    Redraw_Keys();
    return 0;
}
