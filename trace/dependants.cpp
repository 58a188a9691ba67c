#include "sweep/dependants.h"

#include <algorithm>
#include <cmath>

#include "records/analysis.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "trace/acquisition.h"
#include "trace/limit_lines.h"
#include "trace/plot.h"
#include "trace/point_path.h"
#include "trace/trace_settings.h"

namespace {

constexpr float bottom_level = -180, restart_max = -200, restart_min = 40;

Trace_Record& Active_Record() { return Trace_Data[static_cast<std::size_t>(ScreenActive)]; }

/// What any level of the next sweep replaces.
float Before_The_First_Sweep(std::uint8_t mode) {
    return mode == trace_max_hold ? restart_max : mode == trace_min_hold ? restart_min : bottom_level;
}

}  // namespace

void Frequency_Axis_Changed() {
    SetFreqScaleRedraw = 1;
    Forget_Averages(Active_Record());
    Limit_Axis_Changed();
}

void ExtendSpanWave(double old_start, double old_span) {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    const double start = Freqs.start[screen], span = Freqs.span[screen];
    if (start == old_start && span == old_span) return;
    Trace_Record& record = Active_Record();
    static Trace_Values moved;
    for (std::size_t trace = 0; trace < traces; ++trace) {
        const float unknown = Before_The_First_Sweep(record.mode[trace]);
        for (std::size_t i = 0; i < trace_points; ++i) {
            const double frequency = start + static_cast<double>(i) * span / (trace_points - 1);
            const double place = std::round((frequency - old_start) / old_span * (trace_points - 1));
            const bool inside = old_span > 0 && place >= 0 && place < trace_points;
            moved[trace][i] = inside ? record.value[trace][static_cast<std::size_t>(place)] : unknown;
        }
        record.value[trace] = moved[trace];
        Update_Rows(record, trace);
    }
    Redraw_Traces(record);
}

void Level_Scale_Changed() {
    Trace_Record& record = Active_Record();
    for (std::size_t trace = 0; trace < traces; ++trace) Update_Rows(record, trace);
    Limit_Scale_Changed();
    Ext_Frame();
}

void Choose_Detectors() { DetectionAutoFunc(); }

void Trigger_Line_Changed() { Ext_Frame(); }

void Restart_Hold_Buffer() { Restart_Hold(Active_Record(), Active_Record().active & 3); }

void Restart_Max_Hold_Traces() {
    Trace_Record& record = Active_Record();
    for (std::size_t trace = 0; trace < traces; ++trace) {
        if (record.mode[trace] == trace_max_hold) record.value[trace].fill(restart_max);
    }
}
