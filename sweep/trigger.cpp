#include "sweep/trigger.h"

#include <algorithm>
#include <cmath>

#include "keys/numeric_entry.h"
#include "keys/shown_values.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/handover.h"
#include "records/sweep.h"
#include "records/trigger.h"
#include "sweep/bandwidth.h"
#include "sweep/dependants.h"
#include "sweep/transfer.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr double longest_time = 10, shortest_gate = 1e-6, timing_steps = 25e6;
constexpr double lowest_level = -130, highest_level = 30;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

double Level_Offset() { return Amp.displayed_reference[Screen()] - Amp.reference[Screen()]; }

/// The knob changes the second digit of a time, an arrow goes on to the next of 1, 2, 5.
double Stepped_Time(int source, double present) {
    const int steps = Pending_Steps();
    if (steps == 0) return present;
    if (present < 1 / timing_steps) return steps > 0 ? (source == source_knob ? 1 : 25) / timing_steps : 0;
    const double decade = std::pow(10.0, std::floor(std::log10(present) + 1e-9));
    if (source == source_knob) {
        const double unit = steps < 0 && present <= decade * (1 + 1e-9) ? decade / 100 : decade / 10;
        return (std::round(present / unit) + steps) * unit;
    }
    constexpr double near = 1e-6;
    const double digit = present / decade;
    if (steps > 0) return decade * (digit < 2 - near ? 2 : digit < 5 - near ? 5 : 10);
    return decade * (digit > 5 + near ? 5 : digit > 2 + near ? 2 : digit > 1 + near ? 1 : 0.5);
}

/// Shows what was set and sends it; the core starts a new sweep.
int Send_Trigger() {
    Redraw_Keys();
    LOOP_SetTrans_Trigger();
    return 0;
}

int Send_Gate() {
    Redraw_Keys();
    LOOP_SetTrans_Gate_Sweep();
    return 0;
}

}  // namespace

void Trigger_Init() {
    Trigger_Data = {};
    for (std::size_t i = 0; i < screens; ++i) Trigger_Data.video_frequency[i] = Freqs.center[i];
}

bool Gate_Acts() { return Trigger_Data.gate && !JUDGE_FFT_MODE(); }

bool Trigger_Waits() {
    switch (Trigger_Data.source) {
        case trigger_by_input: return true;
        case trigger_by_video: return !JUDGE_FFT_MODE();
        default: return Gate_Acts();
    }
}

int Set_Trigger_Source(int choice) {
    if (choice < trigger_by_none || choice > trigger_by_input) return 0;
    if (choice == trigger_by_video && (Trigger_Data.gate || JUDGE_FFT_MODE())) return trigger_conflict;
    const bool line_stood = Trigger_Data.source == trigger_by_video;
    Trigger_Data.source = static_cast<std::uint8_t>(choice);
    if (line_stood != (choice == trigger_by_video)) Trigger_Line_Changed();
    Redraw_Keys();
    if (choice == trigger_by_none) {
        Sweep_Data.external_trigger_pending = 1;
        Transfer_Settings();
    } else {
        LOOP_SetTrans_Trigger();
    }
    Draw_Sweep_State();
    return 0;
}

int Set_Trigger_Mode(bool automatic) {
    Trigger_Data.automatic = automatic;
    return Send_Trigger();
}

double Cal_Trigger_Time(int source, double seconds, double present, double shortest) {
    if (source != source_typed) seconds = Stepped_Time(source, present);
    if (!std::isfinite(seconds)) return present;
    return std::round(std::clamp(seconds, shortest, longest_time) * timing_steps) / timing_steps;
}

int Set_Trigger_Delay(int source, double seconds) {
    if (source == source_typed && !std::isfinite(seconds)) return 0;
    Trigger_Data.delay = Cal_Trigger_Time(source, seconds, Trigger_Data.delay, 0);
    return Send_Trigger();
}

int Set_Input_Slope(bool falling) {
    Trigger_Data.input_falling = falling;
    return Send_Trigger();
}

int Set_Video_Slope(bool falling) {
    Trigger_Data.video_falling = falling;
    return Send_Trigger();
}

double Shown_Video_Level() { return Trigger_Data.video_level + Level_Offset(); }

double Cal_Video_Level(int source, double dbm) {
    if (source != source_typed) dbm = Shown_Video_Level() + Pending_Steps() * (source == source_knob ? 1 : 10);
    if (!std::isfinite(dbm)) return Trigger_Data.video_level;
    return std::clamp(dbm - Level_Offset(), lowest_level, highest_level);
}

int Set_Video_Level(int source, double dbm) {
    if (source == source_typed && !std::isfinite(dbm)) return 0;
    Trigger_Data.video_level = Cal_Video_Level(source, dbm);
    if (Trigger_Data.source == trigger_by_video) Trigger_Line_Changed();
    return Send_Trigger();
}

double Shown_Video_Frequency() {
    Hold_Video_Frequency();
    return Trigger_Data.video_frequency[Screen()] + Freqs.offset[Screen()];
}

void Hold_Video_Frequency() {
    double& frequency = Trigger_Data.video_frequency[Screen()];
    const bool inside = frequency >= Freqs.start[Screen()] && frequency <= Freqs.stop[Screen()];
    if (Freqs.span[Screen()] == 0 || !inside) frequency = Freqs.center[Screen()];
}

double Cal_Video_Frequency(int source, double hertz) {
    const double present = Trigger_Data.video_frequency[Screen()];
    if (Freqs.span[Screen()] == 0) return Freqs.center[Screen()];
    if (source != source_typed) {
        const double part = source == source_knob ? 0.002 : 0.1;
        hertz = Shown_Video_Frequency() + Pending_Steps() * part * Freqs.span[Screen()];
    }
    if (!std::isfinite(hertz)) return present;
    return std::clamp(hertz - Freqs.offset[Screen()], Freqs.start[Screen()], Freqs.stop[Screen()]);
}

int Set_Video_Frequency(int source, double hertz) {
    if (source == source_typed && !std::isfinite(hertz)) return 0;
    Trigger_Data.video_frequency[Screen()] = Cal_Video_Frequency(source, hertz);
    return Send_Trigger();
}

int Set_Gate(bool on) {
    if (on && Trigger_Data.source == trigger_by_video) return trigger_conflict;
    Trigger_Data.gate = on;
    return Send_Gate();
}

int Set_Gate_Delay(int source, double seconds) {
    if (source == source_typed && !std::isfinite(seconds)) return 0;
    Trigger_Data.gate_delay = Cal_Trigger_Time(source, seconds, Trigger_Data.gate_delay, 0);
    return Send_Gate();
}

int Set_Gate_Length(int source, double seconds) {
    if (source == source_typed && !std::isfinite(seconds)) return 0;
    Trigger_Data.gate_length = Cal_Trigger_Time(source, seconds, Trigger_Data.gate_length, shortest_gate);
    return Send_Gate();
}
