#include "sweep/bandwidth.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "keys/shown_values.h"
#include "records/freqs.h"
#include "records/trace.h"

namespace {

enum Rbw_Index : int { rbw_1mhz = 0, rbw_10khz = 4, rbw_3khz = 5, rbw_1hz = 12, rbw_emi_200hz, rbw_emi_120khz, rbw_emi_9khz };

constexpr std::array<double, 16> rbw_hertz{1e6, 300e3, 100e3, 30e3, 10e3, 3e3, 1e3,  300,
                                           100, 30,    10,    3,    1,    141, 84853, 6364};
constexpr std::array<double, 3> emi_hertz{200, 120e3, 9e3};  ///< 6 dB widths of indices 13 to 15
constexpr std::array<double, 13> vbw_hertz{1e6, 300e3, 100e3, 30e3, 10e3, 3e3, 1e3, 300, 100, 30, 10, 3, 1};

/// Settling in ticks of 0.16 us, by VBW index and by RBW index and filter mode.
constexpr std::array<int, 13> Sweep_VBW{14,   20,    39,    128,    287,    1280,   2560,
                                        12800, 25600, 128000, 256000, 1280000, 2560000};
constexpr std::array<std::array<int, 3>, 16> Sweep_RBW{{{40, 42, 213}, {53, 59, 0}, {213, 221, 0}, {417, 541, 0},
                                                        {1400, 1750, 0}, {9440, 9440, 9440}, {18880, 18880, 18880},
                                                        {}, {}, {}, {}, {}, {},
                                                        {94405, 94405, 94405}, {221, 221, 221}, {2134, 2134, 2134}}};

/// Automatic RBW by span: the first bound (Hz) that the span does not exceed.
struct Span_Bound {
    double span;
    int rbw;
};
constexpr std::array<Span_Bound, 12> rbw_by_span{{{200, 12}, {650, 11}, {2e3, 10}, {6.5e3, 9}, {20e3, 8}, {65e3, 7},
                                                  {200e3, 6}, {650e3, 5}, {2e6, 4}, {6.5e6, 3}, {20e6, 2}, {65e6, 1}}};
constexpr std::array<Span_Bound, 3> emi_rbw_by_span{{{33'840, rbw_emi_200hz}, {1'527'360, rbw_emi_9khz},
                                                     {20e6, rbw_emi_120khz}}};
constexpr std::array<Span_Bound, 3> emi_rbw_by_center{{{150e3, rbw_emi_200hz}, {30e6, rbw_emi_9khz},
                                                       {1e9, rbw_emi_120khz}}};

constexpr int zero_span_steps = 600, fewest_steps = 6;

/// One FFT takes in this many resolution bandwidths and as many seconds as the Gaussian window is long, and costs its
/// arithmetic; faster than the screen can show is not needed.
constexpr double fft_bandwidths = 512, fft_window = 2.1, fft_arithmetic = 2e-3, fft_fastest = 20e-3;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

template <std::size_t n>
int By_Bound(const std::array<Span_Bound, n>& table, double value) {
    const auto row = std::find_if(table.begin(), table.end(), [&](const Span_Bound& r) { return value <= r.span; });
    return row == table.end() ? rbw_1mhz : row->rbw;
}

bool Emi_Rbw(int rbw) { return rbw >= rbw_emi_200hz; }

int Auto_Rbw(double span) {
    const int present = BW_Data.rbw[Screen()];
    if (span == 0) return present <= rbw_10khz || Emi_Rbw(present) ? present : rbw_10khz;
    if (!BW_Data.emi) return By_Bound(rbw_by_span, span);
    const auto& trace = Trace_Data[Screen()];
    if (trace.detector[trace.active & 3] == detector_quasi_peak) {
        return By_Bound(emi_rbw_by_center, Freqs.center[Screen()]);
    }
    return By_Bound(emi_rbw_by_span, span);
}

int Auto_Vbw(int rbw) {
    switch (BW_Data.emi ? rbw : -1) {
        case rbw_emi_120khz: return 2;
        case rbw_emi_9khz: return 4;
        case rbw_emi_200hz: return 8;
        default: return rbw < 1 ? 0 : rbw > 11 ? 12 : rbw;
    }
}

bool Emi_Detector() { return BW_Data.detector[Screen()] >= 8 && BW_Data.detector[Screen()] <= 12; }

bool Fft_Mode(int rbw, double span) {
    if (rbw == rbw_emi_200hz) return !Emi_Detector() && span != 0;
    return rbw >= rbw_3khz && rbw <= rbw_1hz && span != 0;
}

double Step_Count(int rbw, double span) {
    if (span == 0) return zero_span_steps;
    double count = 0;
    if (Emi_Detector()) {
        count = std::trunc(span / Int_RBW_Transfer(rbw));
    } else if (BW_Data.emi && (Emi_Rbw(rbw) || rbw == rbw_1mhz)) {
        count = std::ceil(1.85 * span / rbw_hertz[static_cast<std::size_t>(rbw)]);
    } else {
        count = std::ceil(2 * span / Int_RBW_Transfer(rbw));
    }
    return count <= 5 ? fewest_steps : count;
}

double Fft_Time(int rbw, double span) {
    const double hertz = Int_RBW_Transfer(rbw);
    return std::max(fft_fastest, std::ceil(span / (fft_bandwidths * hertz)) * (fft_window / hertz + fft_arithmetic));
}

/// Seconds of one sweep; one step takes 0.16 us a tick of settling and a fixed part.
double Shortest_Time(int rbw, int vbw, double span) {
    if (Fft_Mode(rbw, span)) return Fft_Time(rbw, span);
    const auto filter = static_cast<std::size_t>(std::clamp(BW_RBW_Mode[Screen()], 0, 2));
    const int settling = Sweep_VBW[static_cast<std::size_t>(vbw)] + Sweep_RBW[static_cast<std::size_t>(rbw)][filter] + 184;
    const double fixed = rbw == rbw_emi_9khz && vbw == 4 ? 42 : 20;
    return (0.16 * settling + fixed) * Step_Count(rbw, span) / 1e6;
}

int Table_Rbw(int index) { return index < 0 || index > 15 ? 1 : index; }
int Table_Vbw(int index) { return index < 0 || index > 12 ? 0 : index; }

/// Counts beyond the integer range belong to settings that are refused.
std::int32_t Stored_Count(double count) { return static_cast<std::int32_t>(std::min(count, 2e9)); }

}  // namespace

double Int_RBW_Transfer(int index) {
    if (index < 0 || index > 15) return 300e3;
    if (BW_Data.emi && Emi_Rbw(index)) return emi_hertz[static_cast<std::size_t>(index - rbw_emi_200hz)];
    return rbw_hertz[static_cast<std::size_t>(index)];
}

double Int_VBW_Transfer(int index) { return vbw_hertz[static_cast<std::size_t>(Table_Vbw(index))]; }

double Int_BW_Transfer_Ratio() {
    return Int_VBW_Transfer(BW_Data.vbw[Screen()]) / Int_RBW_Transfer(BW_Data.rbw[Screen()]);
}

void Ext_BW_Auto_RBW() {
    if (BW_Data.rbw_mode[Screen()] == 0) BW_Data.rbw[Screen()] = Auto_Rbw(Freqs.span[Screen()]);
    Ext_BW_Auto_VBW();
}

void Ext_BW_Auto_VBW() {
    if (BW_Data.vbw_mode[Screen()] != 0) return;
    BW_Data.vbw[Screen()] = Auto_Vbw(BW_Data.rbw[Screen()]);
    BW_Data.ratio[Screen()] = 0;
}

int JUDGE_FFT_MODE() { return Fft_Mode(BW_Data.rbw[Screen()], Freqs.span[Screen()]); }

void Ext_Sweep_Time_Auto() {
    const int rbw = Table_Rbw(BW_Data.rbw[Screen()]), vbw = Table_Vbw(BW_Data.vbw[Screen()]);
    const double span = Freqs.span[Screen()];
    Sweep_Data.steps[Screen()] = Stored_Count(Step_Count(rbw, span));
    Sweep_Data.shortest[Screen()] = Shortest_Time(rbw, vbw, span);
    Sweep_Data.fft = Fft_Mode(rbw, span);
    double& time = Sweep_Data.time[Screen()];
    if (Sweep_Data.time_mode[Screen()] == 0) time = Sweep_Data.shortest[Screen()];
    time = std::clamp(time, Sweep_Data.shortest[Screen()], std::max(longest_sweep_time, Sweep_Data.shortest[Screen()]));
}

int Ext_Sweep_Time_Check(int rbw, int vbw, Sweep_Record& sweep, double span) {
    span = span <= 0 ? 0 : std::clamp(span, 100.0, MAXSPAN);
    rbw = Table_Rbw(BW_Data.rbw_mode[Screen()] == 0 ? Auto_Rbw(span) : rbw);
    vbw = Table_Vbw(BW_Data.vbw_mode[Screen()] == 0 ? Auto_Vbw(rbw) : vbw);
    sweep.steps[Screen()] = Stored_Count(Step_Count(rbw, span));
    return Shortest_Time(rbw, vbw, span) >= longest_sweep_time;
}

void BW_Init() {
    BW_Data = {};
    BW_RBW_Mode = {};
    Ext_BW_Auto_RBW();
}

void Sweep_Init() {
    Sweep_Data = {};
    Ext_Sweep_Time_Auto();
}

double Shown_RBW() { return Int_RBW_Transfer(BW_Data.rbw[Screen()]); }

double Shown_VBW() { return Int_VBW_Transfer(BW_Data.vbw[Screen()]); }
