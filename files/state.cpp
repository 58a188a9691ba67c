#include "files/state.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <span>
#include <sstream>
#include <string>

#include "platform/whole_file.h"
#include "records/amp.h"
#include "records/autoset.h"
#include "records/analysis.h"
#include "records/bw.h"
#include "records/channel.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/limit.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "records/trace.h"
#include "records/trigger.h"
#include "trace/limit_lines.h"
#include "trace/markers.h"
#include "trace/split.h"
#include "trace/trace_settings.h"

namespace {

constexpr std::string_view heading = "KVA720 state 1\n", ending = "end\n";
constexpr std::size_t largest_state = 1u << 16;

/// A limit line with all places for points, those behind the count empty.
struct Kept_Limit_Line {
    std::int32_t shown = 1, points = 0;
    std::array<double, limit_points> frequency{}, level{};
    std::array<std::int32_t, limit_points> used{};
};

/// The settings of a state file, copied out of the records and back into them as a whole.
struct State {
    Freqs_Record freqs;
    std::array<std::uint8_t, screens> step_manual{};
    Amp_Record amp;
    BW_Record bw;
    Sweep_Record sweep;
    std::array<std::array<std::uint8_t, traces>, screens> trace_mode{};
    std::array<std::array<std::uint16_t, traces>, screens> detector_choice{};
    std::array<std::array<std::int32_t, traces>, screens> average_on{};
    std::array<std::array<std::uint16_t, traces>, screens> average_number{};
    std::array<std::array<float, traces>, screens> hold_level{};
    std::array<std::uint8_t, screens> active_trace{};
    std::array<std::int32_t, 1> normalised{};
    Trigger_Record trigger;
    std::uint8_t average_type = 0;
    std::int32_t math = 0;
    Trace_Math_Record math_sources;
    float log_reference = 0;
    std::uint8_t hold_restart = 0;
    std::int32_t split = 0, active_half = 0;
    std::int32_t display_line = 0;
    double display_line_level = 0;
    Autoset_Record autoset;
    Channel_Record channel;
    Marker_Record marker;
    std::array<std::int32_t, 2> marker_tables{};  ///< of markers, of peaks
    std::array<std::int32_t, 3> peak_switches{};  ///< threshold, order by level, tracking
    std::array<float, 1> peak_excursion{}, peak_threshold{};
    Limit_Test_Record limit;
    std::int32_t pass_criterion = 0;
    std::array<Kept_Limit_Line, limit_lines> limit_line{};
};

Kept_Limit_Line Take_Limit_Line(const Limit_Line& line) {
    Kept_Limit_Line kept;
    kept.shown = line.shown;
    for (const Limit_Node* node = line.first; node; node = node->next) {
        const auto i = static_cast<std::size_t>(kept.points++);
        kept.frequency[i] = node->frequency;
        kept.level[i] = node->amplitude;
        kept.used[i] = node->on & 1;
    }
    return kept;
}

void Put_Limits(const State& state) {
    Limit_Test = state.limit;
    Limit_Test.on = 0;
    Limit_Test.verdict = verdict_none;
    Limit_Test.swept = 0;
    PassCriterion = state.pass_criterion;
    for (std::size_t i = 0; i < limit_lines; ++i) {
        const Kept_Limit_Line& kept = state.limit_line[i];
        std::array<Limit_Point, limit_points> points;
        for (std::size_t k = 0; k < limit_points; ++k) {
            points[k] = {kept.frequency[k], kept.level[k], kept.used[k] != 0};
        }
        Limit_Lines[i].shown = kept.shown;
        Set_Limit_Points(i, std::span(points.data(), static_cast<std::size_t>(kept.points)));
    }
    Set_Limit_Test(state.limit.on && Limit_Lines_Chosen());
}

State Take() {
    State state;
    state.freqs = Freqs;
    state.step_manual = stepautoman;
    state.amp = Amp;
    state.bw = BW_Data;
    state.sweep = Sweep_Data;
    state.normalised = {Sys_Data.tracking_normalised};
    state.trigger = Trigger_Data;
    state.autoset = Autoset_Data;
    state.channel = Channel_Data;
    state.marker = Marker_Data;
    state.marker_tables = {(Global_Table & table_marker) != 0, (Global_Table & table_peak) != 0};
    state.peak_switches = {Peak_Data.threshold_on, Peak_Data.by_level, Peak_Data.tracking};
    state.peak_excursion = {Peak_Data.excursion};
    state.peak_threshold = {Peak_Data.threshold};
    state.limit = Limit_Test;
    state.pass_criterion = PassCriterion;
    std::ranges::transform(Limit_Lines, state.limit_line.begin(), Take_Limit_Line);
    for (std::size_t i = 0; i < screens; ++i) {
        const Trace_Record& record = Trace_Data[i];
        state.trace_mode[i] = record.mode;
        state.detector_choice[i] = record.detector_choice;
        state.average_on[i] = record.average_on;
        state.average_number[i] = record.average_number;
        state.hold_level[i] = record.max_hold_level;
        state.active_trace[i] = record.active;
    }
    state.average_type = AvgType;
    state.math = MATHFLAG;
    state.math_sources = TraceMath;
    state.log_reference = Log_Ref;
    state.hold_restart = Max_Hold_Restart;
    state.split = Display_Data.split;
    state.display_line = Display_Data.line_shown;
    state.display_line_level = Display_Data.line_level;
    state.active_half = ScreenActive;
    return state;
}

void Put(const State& state) {
    Freqs = state.freqs;
    stepautoman = state.step_manual;
    Amp = state.amp;
    BW_Data = state.bw;
    Sweep_Data = state.sweep;
    Sys_Data.tracking_normalised = state.normalised[0];
    Trigger_Data = state.trigger;
    Autoset_Data = state.autoset;
    Channel_Data = state.channel;
    Marker_Data = state.marker;
    Global_Table &= ~(table_marker | table_peak);
    if (state.marker_tables[0]) Global_Table |= table_marker;
    else if (state.marker_tables[1]) Global_Table |= table_peak;
    Fit_Graticule_To_Table();
    Peak_Data.threshold_on = state.peak_switches[0];
    Peak_Data.by_level = state.peak_switches[1];
    Peak_Data.tracking = state.peak_switches[2];
    Peak_Data.excursion = state.peak_excursion[0];
    Peak_Data.threshold = state.peak_threshold[0];
    for (std::size_t i = 0; i < screens; ++i) {
        Trace_Record& record = Trace_Data[i];
        record.mode = state.trace_mode[i];
        record.detector_choice = state.detector_choice[i];
        record.average_on = state.average_on[i];
        record.average_number = state.average_number[i];
        record.max_hold_level = state.hold_level[i];
        record.active = state.active_trace[i];
    }
    AvgType = state.average_type;
    MATHFLAG = state.math;
    TraceMath = state.math_sources;
    Log_Ref = state.log_reference;
    Max_Hold_Restart = state.hold_restart;
    Display_Data.split = state.split;
    Display_Data.line_shown = state.display_line;
    Display_Data.line_level = state.display_line_level;
    ScreenActive = state.active_half;
    Put_Limits(state);
    Apply_Split();
    Traces_Recalled();
}

template <class Field>
void For_Each_Marker_Field(State& s, Field&& field) {
    constexpr double longest = 1e6;  // places in zero span are s
    field("active_marker", s.marker.active, 0, markers - 1);
    field("counter_resolution", s.marker.resolution, 0, 4);
    field("counter_resolution_manual", s.marker.resolution_manual, 0, 1);
    field("markers_in_time", s.marker.in_time, 0, 1);
    for (std::size_t i = 0; i < markers; ++i) {
        field("marker_on", s.marker.on[i], 0, 1);
        field("marker_column", s.marker.column[i], 0, trace_points - 1);
        field("marker_place", s.marker.frequency[i], 0, std::max(MAXFREQUENCY, longest));
        field("marker_trace", s.marker.trace[i], 0, no_trace);
        field("marker_delta", s.marker.delta[i], 0, 1);
        field("marker_delta_column", s.marker.delta_column[i], 0, trace_points - 1);
        field("marker_delta_place", s.marker.delta_frequency[i], 0, std::max(MAXFREQUENCY, longest));
        field("marker_delta_trace", s.marker.delta_trace[i], 0, no_trace);
        field("marker_noise", s.marker.noise[i], 0, 1);
        field("marker_counter", s.marker.counter[i], 0, 1);
        field("marker_vswr", s.marker.vswr[i], 0, 1);
    }
    field("marker_tables", s.marker_tables, 0, 1);
    field("peak_switches", s.peak_switches, 0, 1);
    field("peak_excursion", s.peak_excursion, 0, 100);
    field("peak_threshold", s.peak_threshold, -130, 30);
}

template <class Field>
void For_Each_Limit_Field(State& s, Field&& field) {
    const auto one = [&](const char* name, auto& value, double low, double high) {
        std::span values(&value, 1);
        field(name, values, low, high);
    };
    one("limit_high", s.limit.high, 0, no_limit_line);
    one("limit_low", s.limit.low, 0, no_limit_line);
    one("limit_test", s.limit.on, 0, 1);
    one("limit_common_range", s.limit.mode, 0, 1);
    one("limit_criterion", s.pass_criterion, criterion_trace, criterion_minimum);
    one("limit_stop_on_fail", s.limit.stop_on_fail, 0, 1);
    one("limit_two_points", s.limit.two_points, 0, 1);
    one("limit_margin", s.limit.margin, -widest_margin, widest_margin);
    one("limit_edited", s.limit.edited, 0, limit_lines - 1);
    one("limit_point", s.limit.point, 0, limit_points - 1);
    for (Kept_Limit_Line& line : s.limit_line) {
        one("limit_line_shown", line.shown, 0, 1);
        one("limit_line_points", line.points, 0, limit_points);
        field("limit_line_frequency", line.frequency, 0, MAXFREQUENCY);
        field("limit_line_level", line.level, lowest_limit_dbm, highest_limit_dbm);
        field("limit_line_used", line.used, 0, 1);
    }
}

/// Every setting of the file with its name and range, in the order in which it stands there.
template <class Field>
void For_Each_Field(State& s, Field&& field) {
    const double highest = MAXFREQUENCY;
    field("center", s.freqs.center, 0, highest);
    field("start", s.freqs.start, 0, highest);
    field("stop", s.freqs.stop, 0, highest);
    field("step", s.freqs.step, 0, highest);
    field("span", s.freqs.span, 0, highest);
    field("last_span", s.freqs.last_span, 0, highest);
    field("offset", s.freqs.offset, -100e9, 100e9);
    field("step_manual", s.step_manual, 0, 1);
    field("reference", s.amp.reference, -120, 30);
    field("displayed_reference", s.amp.displayed_reference, -1000, 1000);
    field("attenuation", s.amp.attenuation, 0, 50);
    field("attenuation_manual", s.amp.attenuation_mode, 0, 1);
    field("scale", s.amp.scale_code, 0, 3);
    field("linear_scale", s.amp.scale_type, 0, 1);
    field("reference_offset", s.amp.offset, -100, 100);
    field("impedance_75", s.amp.impedance, 0, 1);
    field("correction_75", s.amp.correction_75, -100, 100);
    field("preamplifier_auto", std::span(&s.amp.preamplifier_auto, 1), 0, 1);
    field("preamplifier_in", s.amp.preamplifier_in, 0, 1);
    field("amplitude_unit", std::span(&s.amp.unit, 1), unit_dbm, unit_watt);
    field("level_labels", std::span(&s.amp.labels, 1), 0, 1);
    field("label_position", std::span(&s.amp.label_position, 1), labels_left, labels_right);
    field("rbw_manual", s.bw.rbw_mode, 0, 1);
    field("rbw", s.bw.rbw, 0, 15);
    field("vbw_manual", s.bw.vbw_mode, 0, 1);
    field("vbw", s.bw.vbw, 0, 12);
    field("vbw_ratio", s.bw.ratio, 0, 1e6);
    field("emi_filter", std::span(&s.bw.emi, 1), 0, 1);
    field("sweep_mode", s.sweep.mode, sweep_mode_auto, sweep_mode_fft);
    field("sweep_accurate", s.sweep.rule, 0, 1);
    field("sweep_time", s.sweep.time, 0, 1e6);
    field("sweep_time_manual", s.sweep.time_mode, 0, 1);
    for (std::size_t i = 0; i < screens; ++i) {
        field("trace_mode", s.trace_mode[i], 0, 4);
        field("detector", s.detector_choice[i], 0, 7);
        field("average", s.average_on[i], 0, 1);
        field("average_count", s.average_number[i], 1, 999);
        field("hold_level", s.hold_level[i], -130, 30);
    }
    field("normalised", s.normalised, 0, 1);
    const auto one = [&](const char* name, auto& value, double low, double high) {
        std::span values(&value, 1);
        field(name, values, low, high);
    };
    field("active_trace", s.active_trace, 0, traces - 1);
    one("average_type", s.average_type, average_log, average_power);
    one("math", s.math, math_off, math_log_offset);
    one("math_source_1", s.math_sources.source_1, 0, traces - 1);
    one("math_source_2", s.math_sources.source_2, 0, traces - 1);
    one("math_offset", s.math_sources.offset, -200, 200);
    one("log_reference", s.log_reference, -200, 200);
    one("hold_restart", s.hold_restart, 0, 1);
    one("split", s.split, split_none, split_active);
    one("active_half", s.active_half, 0, screens - 1);
    one("display_line", s.display_line, 0, 1);
    one("display_line_level", s.display_line_level, -200, 100);
    one("trigger_source", s.trigger.source, trigger_by_none, trigger_by_input);
    one("trigger_automatic", s.trigger.automatic, 0, 1);
    one("trigger_delay", s.trigger.delay, 0, 10);
    one("trigger_input_falling", s.trigger.input_falling, 0, 1);
    one("trigger_video_falling", s.trigger.video_falling, 0, 1);
    one("trigger_video_level", s.trigger.video_level, -130, 30);
    field("trigger_video_frequency", s.trigger.video_frequency, 0, highest);
    one("gate", s.trigger.gate, 0, 1);
    one("gate_delay", s.trigger.gate_delay, 0, 10);
    one("gate_length", s.trigger.gate_length, 1e-6, 10);
    one("autoset_floor", s.autoset.floor, -100, 20);
    one("autoset_floor_manual", s.autoset.floor_manual, 0, 1);
    one("autoset_span", s.autoset.span, 100, MAXSPAN);
    one("autoset_span_manual", s.autoset.span_manual, 0, 1);
    one("acpr_spacing", s.channel.acpr_spacing, 0, MAXSPAN);
    one("occupied_spacing", s.channel.occupied_spacing, 0, MAXSPAN);
    one("cnr_spacing", s.channel.cnr_spacing, 0, MAXSPAN);
    one("cso_spacing", s.channel.cso_spacing, 0, MAXSPAN);
    one("ctb_spacing", s.channel.ctb_spacing, 0, MAXSPAN);
    one("occupied_bandwidth", s.channel.occupied_bandwidth, 100, 1e9);
    For_Each_Marker_Field(s, field);
    For_Each_Limit_Field(s, field);
}

std::string Written(State state) {
    std::string text(heading);
    For_Each_Field(state, [&](const char* name, const auto& values, double, double) {
        text += name;
        for (const auto value : values) {
            std::array<char, 40> number{};
            std::snprintf(number.data(), number.size(), " %.17g", static_cast<double>(value));
            text += number.data();
        }
        text += '\n';
    });
    return text += ending;
}

/// The EMI filters and their widths go together.
bool Fitting_Filter(bool emi, int rbw) {
    constexpr int first_emi_filter = 13;
    return emi ? rbw == 0 || rbw >= first_emi_filter : rbw < first_emi_filter;
}

bool Consistent(const State& s) {
    if (s.trigger.gate && s.trigger.source == trigger_by_video) return false;
    for (std::size_t i = 0; i < screens; ++i) {
        if (!Fitting_Filter(s.bw.emi != 0, s.bw.rbw[i])) return false;
        const double start = s.freqs.start[i], stop = s.freqs.stop[i];
        if (std::fabs((start + stop) / 2 - s.freqs.center[i]) > 1) return false;
        if (std::fabs(stop - start - s.freqs.span[i]) > 1) return false;
        const int shown_offset = s.amp.offset[i] + (s.amp.impedance[i] == 1 ? s.amp.correction_75[i] : 0);
        if (s.amp.displayed_reference[i] != s.amp.reference[i] + shown_offset) return false;
    }
    return true;
}

bool Read(const std::string& text, State& state) {
    if (!text.starts_with(heading) || !text.ends_with(ending)) return false;
    std::istringstream lines(text.substr(heading.size()));
    bool good = true;
    For_Each_Field(state, [&](const char* name, auto&& values, double low, double high) {
        std::string read_name;
        good = good && (lines >> read_name) && read_name == name;
        for (auto& value : values) {
            double number = 0;
            good = good && (lines >> number) && number >= low && number <= high;
            if (good) value = static_cast<std::remove_reference_t<decltype(value)>>(number);
        }
    });
    return good && Consistent(state);
}

}  // namespace

bool Save_LocalState_SpecAndSem(std::string_view path) { return platform::Write_Whole_File(path, Written(Take())); }

bool Recall_Lostate_ForLocal(std::string_view path, int) {
    std::string text;
    if (!platform::Read_Whole_File(path, largest_state, text)) return false;
    State state = Take();
    if (!Read(text, state)) {
        std::fprintf(stderr, "the state file %.*s is damaged\n", static_cast<int>(path.size()), path.data());
        return false;
    }
    Put(state);
    return true;
}
