#include "sweep/sweep_time.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "records/freqs.h"
#include "sweep/bandwidth.h"
#include "sweep/setting_errors.h"
#include "sweep/transfer.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;

/// Settling in ticks of 0.16 us, by VBW index and by RBW index and filter mode. The third column is that of the EMI
/// filters.
constexpr std::array<int, 13> Sweep_VBW{14,   20,    39,    128,    287,    1280,   2560,
                                        12800, 25600, 128000, 256000, 1280000, 2560000};
constexpr std::array<std::array<int, 3>, 16> Sweep_RBW{{{40, 42, 213}, {53, 59, 0}, {213, 221, 0}, {417, 541, 0},
                                                        {1400, 1750, 0}, {9440, 9440, 9440}, {18880, 18880, 18880},
                                                        {}, {}, {}, {}, {}, {},
                                                        {94405, 94405, 94405}, {221, 221, 221}, {2134, 2134, 2134}}};
constexpr double tick_us = 0.16;
constexpr int step_ticks = 184;
constexpr double step_us = 20, step_us_emi_9khz = 42;
enum Filter_Column : int { column_fast = 0, column_accurate, column_emi };

/// An EMI detector stands at each step for three of its charging times: 45 ms with the filter of band A, else 1 ms.
constexpr double emi_charge_us_band_a = 3 * 45e3, emi_charge_us = 3 * 1e3;

constexpr int zero_span_steps = 600, fewest_steps = 6;

/// One FFT takes in this many resolution bandwidths, as far as the widest filter lets it; it takes as many seconds as
/// the Gaussian window is long, once for each of the spectra that a narrower video filter averages, and its arithmetic.
/// Faster than the screen can show is not needed.
constexpr double fft_bandwidths = 512, fft_widest = 1e6, fft_window = 2.1, fft_arithmetic = 2e-3, fft_fastest = 20e-3;

/// What is read back with ten digits counts as the same time.
constexpr double same_time = 1e-9;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

int Table_Rbw(int index) { return index < 0 || index > rbw_emi_9khz ? 1 : index; }
int Table_Vbw(int index) { return index < 0 || index > 12 ? 0 : index; }

bool Fft_Mode(int rbw, double span) {
    if (rbw == rbw_emi_200hz) return !EMI_Detector() && span != 0;
    if (rbw < rbw_3khz || rbw > rbw_1hz) return false;
    return rbw > rbw_1khz || Sweep_Data.mode[Screen()] != sweep_mode_swept;
}

double Step_Count(int rbw, double span) {
    if (span == 0) return zero_span_steps;
    double count = 0;
    if (EMI_Detector()) {
        count = std::trunc(span / Int_RBW_Transfer(rbw));
    } else if (EMI_Bandwidth(rbw)) {
        count = std::ceil(1.85 * span / RBW_3dB_Width(rbw));
    } else {
        count = std::ceil(2 * span / Int_RBW_Transfer(rbw));
    }
    return count <= 5 ? fewest_steps : count;
}

double Fft_Time(int rbw, int vbw, double span) {
    const double window = fft_window / std::min(RBW_3dB_Width(rbw), Int_VBW_Transfer(vbw));
    const double count = std::max(1.0, std::ceil(span / FFT_Width(rbw)));
    return std::max(fft_fastest, count * (window + fft_arithmetic));
}

int Filter_Column_Of(int rbw) {
    if (EMI_Bandwidth(rbw)) return column_emi;
    return Sweep_Data.rule[Screen()] ? column_accurate : column_fast;
}

double Emi_Charge_Us(int rbw) {
    if (!EMI_Detector()) return 0;
    return rbw == rbw_emi_200hz ? emi_charge_us_band_a : emi_charge_us;
}

/// Counts beyond the integer range belong to settings that are refused.
std::int32_t Stored_Count(double count) { return static_cast<std::int32_t>(std::min(count, 2e9)); }

/// The next time: a knob changes the second digit, an arrow goes along 1-2-5.
double Next_Time(int source, double time, int steps) {
    const double decade = std::pow(10, std::floor(std::log10(time) + same_time));
    if (source == source_knob) {
        const double digit = steps < 0 && time <= decade * (1 + same_time) ? decade / 100 : decade / 10;
        return (std::round(time / digit) + steps) * digit;
    }
    if (steps > 0) {
        for (const double digit : {1.0, 2.0, 5.0}) {
            if (digit * decade > time * (1 + same_time)) return digit * decade;
        }
        return 10 * decade;
    }
    for (const double digit : {5.0, 2.0, 1.0}) {
        if (digit * decade < time * (1 - same_time)) return digit * decade;
    }
    return decade / 2;
}

/// What follows a change of the sweep time; nothing of it moves the axis.
int Send() {
    Ext_Sweep_Time_Auto();
    Redraw_Keys();
    Draw_Status_Blocks();
    Transfer_Settings();
    return 0;
}

bool Too_Slow() {
    const int rbw = Table_Rbw(BW_Data.rbw[Screen()]), vbw = Table_Vbw(BW_Data.vbw[Screen()]);
    return Shortest_Sweep_Time(rbw, vbw, Freqs.span[Screen()]) >= longest_sweep_time;
}

}  // namespace

bool EMI_Detector() {
    const int detector = BW_Data.detector[Screen()];
    return detector >= 8 && detector <= 12;
}

double FFT_Width(int rbw) { return std::min(fft_bandwidths * RBW_3dB_Width(rbw), fft_widest); }

int JUDGE_FFT_MODE() { return Fft_Mode(BW_Data.rbw[Screen()], Freqs.span[Screen()]); }

double Shortest_Sweep_Time(int rbw, int vbw, double span) {
    if (Fft_Mode(rbw, span)) return Fft_Time(rbw, vbw, span);
    const auto column = static_cast<std::size_t>(Filter_Column_Of(rbw));
    const int settling =
        Sweep_VBW[static_cast<std::size_t>(vbw)] + Sweep_RBW[static_cast<std::size_t>(rbw)][column] + step_ticks;
    const double fixed = rbw == rbw_emi_9khz && vbw == 4 ? step_us_emi_9khz : step_us;
    return (tick_us * settling + fixed + Emi_Charge_Us(rbw)) * Step_Count(rbw, span) / 1e6;
}

void Ext_Sweep_Time_Auto() {
    const int rbw = Table_Rbw(BW_Data.rbw[Screen()]), vbw = Table_Vbw(BW_Data.vbw[Screen()]);
    const double span = Freqs.span[Screen()];
    BW_RBW_Mode[Screen()] = Filter_Column_Of(rbw);
    Sweep_Data.steps[Screen()] = Stored_Count(Step_Count(rbw, span));
    Sweep_Data.shortest[Screen()] = Shortest_Sweep_Time(rbw, vbw, span);
    Sweep_Data.fft = Fft_Mode(rbw, span);
    const double shortest = std::min(Sweep_Data.shortest[Screen()], longest_sweep_time);
    double& time = Sweep_Data.time[Screen()];
    time = Sweep_Data.time_mode[Screen()] == 0 ? shortest : std::clamp(time, shortest, longest_sweep_time);
    const bool uncal = Sweep_Data.shortest[Screen()] > longest_sweep_time;
    if (uncal && !Sweep_Data.uncal[Screen()]) Raise_Setting_Error(source_typed, error_uncal);
    Sweep_Data.uncal[Screen()] = uncal;
}

int Ext_Sweep_Time_Check(int rbw, int vbw, Sweep_Record& sweep, double span) {
    span = span <= 0 ? 0 : std::clamp(span, 100.0, MAXSPAN);
    rbw = Table_Rbw(RBW_For_Span(rbw, span));
    vbw = Table_Vbw(VBW_For_RBW(rbw, vbw));
    sweep.steps[Screen()] = Stored_Count(Step_Count(rbw, span));
    return Shortest_Sweep_Time(rbw, vbw, span) >= longest_sweep_time;
}

int Set_Sweep_Time(int source, double value) {
    if (source == source_typed && !std::isfinite(value)) return -1;
    const int error = Cal_Sweep_Time(source, value);
    if (error == 0) Setting_Taken();
    Send();
    if (error) Raise_Setting_Error(source, error);
    return 0;
}

int Cal_Sweep_Time(int source, double value) {
    double& time = Sweep_Data.time[Screen()];
    if (source != source_typed) {
        const int steps = Pending_Steps();
        value = steps == 0 ? time : Next_Time(source, time, steps);
    }
    if (!std::isfinite(value)) return 0;
    const double shortest = std::min(Sweep_Data.shortest[Screen()], longest_sweep_time);
    Sweep_Data.time_mode[Screen()] = 1;
    time = std::clamp(value, shortest, longest_sweep_time);
    if (value > longest_sweep_time * (1 + same_time)) return error_sweep_time_long;
    return value < shortest * (1 - same_time) ? error_sweep_time_short : 0;
}

int Set_Sweep_Time_Mode(bool manual) {
    Sweep_Data.time_mode[Screen()] = manual ? 1 : 0;
    Setting_Taken();
    return Send();
}

int Set_Sweep_Rule(bool accurate) {
    const auto before = Sweep_Data.rule;
    Sweep_Data.rule[Screen()] = accurate ? 1 : 0;
    if (Too_Slow()) {
        Sweep_Data.rule = before;
        Raise_Setting_Error(source_typed, error_span_or_bandwidth);
        return -1;
    }
    Setting_Taken();
    return Send();
}

bool Sweep_Mode_Suits(int mode, int rbw) {
    switch (mode) {
        case sweep_mode_swept: return rbw <= rbw_1khz || rbw == rbw_emi_120khz || rbw == rbw_emi_9khz;
        case sweep_mode_fft: return rbw >= rbw_3khz && rbw <= rbw_emi_200hz;
        default: return mode == sweep_mode_auto;
    }
}

int Set_Sweep_Mode(int mode) {
    if (!Sweep_Mode_Suits(mode, BW_Data.rbw[Screen()])) return -1;
    const auto before = Sweep_Data.mode;
    Sweep_Data.mode[Screen()] = static_cast<std::uint8_t>(mode);
    if (Too_Slow()) {
        Sweep_Data.mode = before;
        return -1;
    }
    Setting_Taken();
    return Send();
}

void Sweep_Init() {
    Sweep_Data = {};
    Ext_Sweep_Time_Auto();
}
