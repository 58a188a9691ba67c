#include "sweep/bandwidth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "keys/numeric_entry.h"
#include "keys/shown_values.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "sweep/dependants.h"
#include "sweep/setting_errors.h"
#include "sweep/transfer.h"

namespace {

constexpr int source_typed = 2;
constexpr double smallest_ratio = 1e-6, largest_ratio = 1e6;

constexpr std::array<double, 16> rbw_hertz{1e6, 300e3, 100e3, 30e3, 10e3, 3e3, 1e3,  300,
                                           100, 30,    10,    3,    1,    141, 84853, 6364};
constexpr std::array<double, 3> emi_hertz{200, 120e3, 9e3};  ///< 6 dB widths of indices 13 to 15
constexpr std::array<double, 13> vbw_hertz{1e6, 300e3, 100e3, 30e3, 10e3, 3e3, 1e3, 300, 100, 30, 10, 3, 1};

/// The entries that can be chosen, from the widest to the narrowest.
constexpr std::array<int, 13> ordinary_entries{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
constexpr std::array<int, 4> emi_entries{rbw_1mhz, rbw_emi_120khz, rbw_emi_9khz, rbw_emi_200hz};

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

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
int& Rbw() { return BW_Data.rbw[Screen()]; }
int& Vbw() { return BW_Data.vbw[Screen()]; }

template <std::size_t n>
int By_Bound(const std::array<Span_Bound, n>& table, double value) {
    const auto row = std::find_if(table.begin(), table.end(), [&](const Span_Bound& r) { return value <= r.span; });
    return row == table.end() ? rbw_1mhz : row->rbw;
}

bool Emi_Rbw(int rbw) { return rbw >= rbw_emi_200hz; }
bool Too_Narrow_For_Zero_Span(int rbw) { return rbw >= rbw_3khz && rbw <= rbw_1hz; }

std::span<const int> Rbw_Entries() {
    return BW_Data.emi ? std::span<const int>(emi_entries) : std::span<const int>(ordinary_entries);
}

/// The entry nearest to a width in Hz as a ratio, of two as near the wider one.
int Nearest(std::span<const int> entries, double (*hertz)(int), double value) {
    const auto distance = [&](int entry) {
        return value > 0 ? std::fabs(std::log(hertz(entry) / value)) : hertz(entry);
    };
    int best = entries.front();
    for (const int entry : entries) {
        if (distance(entry) < distance(best)) best = entry;
    }
    return best;
}

/// The entry beside the present one, in the direction of the pending step.
int Neighbour(std::span<const int> entries, double (*hertz)(int), int present) {
    const int nearest = Nearest(entries, hertz, hertz(present)), steps = Pending_Steps();
    const auto place = std::find(entries.begin(), entries.end(), nearest);
    if (steps > 0 && place != entries.begin()) return *(place - 1);
    if (steps < 0 && place + 1 != entries.end()) return *(place + 1);
    return nearest;
}

int Auto_Rbw(int present, double span) {
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

/// Couples RBW and VBW of the active screen.
void Couple() {
    if (BW_Data.rbw_mode[Screen()] == 0) Rbw() = Auto_Rbw(Rbw(), Freqs.span[Screen()]);
    Ext_BW_Auto_VBW();
    auto& mode = Sweep_Data.mode[Screen()];
    if (!Sweep_Mode_Suits(mode, Rbw())) mode = sweep_mode_auto;
}

bool Manual_Rbw_Unfit() {
    return Freqs.span[Screen()] == 0 && BW_Data.rbw_mode[Screen()] != 0 && Too_Narrow_For_Zero_Span(Rbw());
}

/// Zero span with a manual RBW that is too narrow for it: said when it comes to that.
void Judge_Bandwidth() {
    const bool unfit = Manual_Rbw_Unfit();
    if (unfit && !BW_Data.unfit[Screen()]) Raise_Setting_Error(source_typed, error_zero_span_rbw);
    BW_Data.unfit[Screen()] = unfit;
    Set_Bandwidth_Condition(unfit);
}

/// Takes a change of the record with what is coupled to it, or refuses it where it would take too long.
template <class Change>
int Take(int source, Change&& change) {
    const BW_Record before = BW_Data;
    const auto mode = Sweep_Data.mode;
    change();
    Couple();
    if (Shortest_Sweep_Time(Rbw(), Vbw(), Freqs.span[Screen()]) < longest_sweep_time) return 0;
    BW_Data = before;
    Sweep_Data.mode = mode;
    Raise_Setting_Error(source, error_span_or_bandwidth);
    return -1;
}

/// The settings go to the screen and to the core, when they were taken.
int Send(int result) {
    if (result != 0) return result;
    Setting_Taken();
    Ext_BW_Auto_RBW();
    Ext_Sweep_Time_Auto();
    Redraw_Keys();
    Draw_Status_Blocks();
    Transfer_Settings();
    return 0;
}

/// An RBW that can't be had leaves its mark in the status.
int Send_Rbw(int result) {
    if (result != 0) Set_Bandwidth_Condition(true);
    return Send(result);
}

bool No_Value(int source, double value) { return source == source_typed && !std::isfinite(value); }

}  // namespace

double RBW_3dB_Width(int index) {
    const bool outside = index < 0 || index >= static_cast<int>(rbw_hertz.size());
    return outside ? 300e3 : rbw_hertz[static_cast<std::size_t>(index)];
}

double Int_RBW_Transfer(int index) {
    if (BW_Data.emi && index >= rbw_emi_200hz && index <= rbw_emi_9khz) {
        return emi_hertz[static_cast<std::size_t>(index - rbw_emi_200hz)];
    }
    return RBW_3dB_Width(index);
}

bool EMI_Bandwidth(int index) {
    return BW_Data.emi && (index == rbw_1mhz || (Emi_Rbw(index) && index <= rbw_emi_9khz));
}

double Int_VBW_Transfer(int index) {
    return index < 0 || index >= static_cast<int>(vbw_hertz.size()) ? 1e6 : vbw_hertz[static_cast<std::size_t>(index)];
}

double Int_BW_Transfer_Ratio() { return Int_VBW_Transfer(Vbw()) / Int_RBW_Transfer(Rbw()); }

int RBW_For_Span(int rbw, double span) { return BW_Data.rbw_mode[Screen()] == 0 ? Auto_Rbw(rbw, span) : rbw; }

int VBW_For_RBW(int rbw, int vbw) {
    if (BW_Data.vbw_mode[Screen()] == 0) return Auto_Vbw(rbw);
    const double ratio = BW_Data.ratio[Screen()];
    return ratio > 0 ? Nearest(ordinary_entries, Int_VBW_Transfer, ratio * Int_RBW_Transfer(rbw)) : vbw;
}

int Set_BW_RBW(int source, double value) {
    if (No_Value(source, value)) return -1;
    return Send_Rbw(Cal_BW_RBW(source, value));
}

int Cal_BW_RBW(int source, double value) {
    if (No_Value(source, value)) return -1;
    const auto entries = Rbw_Entries();
    const int rbw = source == source_typed ? Nearest(entries, Int_RBW_Transfer, value)
                                           : Neighbour(entries, Int_RBW_Transfer, Rbw());
    if (Freqs.span[Screen()] == 0 && Too_Narrow_For_Zero_Span(rbw)) {
        Raise_Setting_Error(source, error_zero_span_rbw);
        return -1;
    }
    return Take(source, [&] {
        Rbw() = rbw;
        BW_Data.rbw_mode[Screen()] = 1;
    });
}

int Set_BW_VBW(int source, double value) { return Send(Cal_BW_VBW(source, value)); }

int Cal_BW_VBW(int source, double value) {
    if (No_Value(source, value)) return -1;
    const int vbw = source == source_typed ? Nearest(ordinary_entries, Int_VBW_Transfer, value)
                                           : Neighbour(ordinary_entries, Int_VBW_Transfer, Vbw());
    return Take(source, [&] {
        Vbw() = vbw;
        BW_Data.vbw_mode[Screen()] = 1;
        BW_Data.ratio[Screen()] = 0;
    });
}

int Set_BW_Ratio(int source, double value) { return Send(Cal_BW_Ratio(source, value)); }

int Cal_BW_Ratio(int source, double value) {
    if (No_Value(source, value)) return -1;
    if (source != source_typed) {
        const int vbw = Neighbour(ordinary_entries, Int_VBW_Transfer, Vbw());
        value = Int_VBW_Transfer(vbw) / Int_RBW_Transfer(Rbw());
    }
    return Take(source, [&] {
        BW_Data.vbw_mode[Screen()] = 1;
        BW_Data.ratio[Screen()] = std::clamp(value, smallest_ratio, largest_ratio);
    });
}

int Set_RBW_Mode(bool manual) {
    return Send_Rbw(Take(source_typed, [&] { BW_Data.rbw_mode[Screen()] = manual ? 1 : 0; }));
}

int Set_VBW_Mode(bool manual) {
    return Send(Take(source_typed, [&] { BW_Data.vbw_mode[Screen()] = manual ? 1 : 0; }));
}

int Set_EMI_Filter(bool on) {
    if (on == (BW_Data.emi != 0)) return 0;
    BW_Data.emi = on ? 1 : 0;
    const int active = ScreenActive;
    for (const int half : {active, 1 - active}) {
        ScreenActive = half;
        BW_Data.rbw_mode[Screen()] = BW_Data.vbw_mode[Screen()] = 0;
        Rbw() = Nearest(Rbw_Entries(), Int_RBW_Transfer, RBW_3dB_Width(Rbw()));
        for (auto& choice : Trace_Data[Screen()].detector_choice) {
            if (!on && (choice == detector_quasi_peak || choice == detector_emi_average)) choice = detector_auto;
        }
        Ext_BW_Auto_RBW();
        Ext_Sweep_Time_Auto();
    }
    ScreenActive = active;
    return Send(0);
}

void Ext_BW_Auto_RBW() {
    Couple();
    Choose_Detectors();
    const auto& trace = Trace_Data[Screen()];
    constexpr int to_emi_detectors = 8 - detector_quasi_peak;
    const int detector = trace.detector[trace.active & 3];
    BW_Data.detector[Screen()] = detector < detector_quasi_peak ? detector : detector + to_emi_detectors;
    Judge_Bandwidth();
}

void Ext_BW_Auto_VBW() {
    if (BW_Data.vbw_mode[Screen()] == 0) BW_Data.ratio[Screen()] = 0;
    Vbw() = VBW_For_RBW(Rbw(), Vbw());
}

int BW_RBW_Code() {
    if (!JUDGE_FFT_MODE()) return Rbw();
    int code = rbw_10khz;
    while (code > rbw_1mhz && RBW_3dB_Width(code) < FFT_Width(Rbw())) --code;
    return code;
}

void BW_Init() {
    BW_Data = {};
    BW_RBW_Mode = {};
    Ext_BW_Auto_RBW();
}

double Shown_RBW() { return Int_RBW_Transfer(Rbw()); }
double Shown_VBW() { return Int_VBW_Transfer(Vbw()); }
double Shown_VBW_Ratio() { return Int_BW_Transfer_Ratio(); }
bool Shown_FFT() { return JUDGE_FFT_MODE() != 0; }
