#include "sweep/frequency.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <span>

#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "platform/clock.h"
#include "records/analysis.h"
#include "records/channel.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/keystate.h"
#include "sweep/bandwidth.h"
#include "sweep/dependants.h"
#include "sweep/transfer.h"

namespace {

constexpr double smallest_span = 100;
constexpr double lowest_demodulation = 10'000;
constexpr int source_knob = 0, source_typed = 2;

constexpr std::array<double, 31> FreqValue{
    0,    1,    2,    5,    10,   20,   50,   100,  200,   500,   1e3,   2e3,   5e3, 10e3, 20e3, 50e3,
    100e3, 200e3, 500e3, 1e6, 2e6, 5e6, 10e6, 20e6, 50e6, 100e6, 200e6, 500e6, 1e9, 2e9, 3e9};
constexpr std::array<double, 25> SpanValue{0,    100,  200,   500,   1e3,   2e3,  5e3,  10e3,  20e3,
                                           50e3, 100e3, 200e3, 500e3, 1e6,   2e6,  5e6,  10e6,  20e6,
                                           50e6, 100e6, 200e6, 500e6, 1e9,   2e9,  3.25e9};
constexpr double highest_stepped_span = 2e9;

double& Active(Per_Screen_Hz& row) { return row[static_cast<std::size_t>(ScreenActive)]; }
double& Center() { return Active(Freqs.center); }
double& Start() { return Active(Freqs.start); }
double& Stop() { return Active(Freqs.stop); }
double& Span() { return Active(Freqs.span); }
double& Step() { return Active(Freqs.step); }

int Table_Index(std::span<const double> table, double value) {
    const bool down = AllKeyVar.down > 0 || AllKeyVar.left > 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (value == table[i]) return static_cast<int>(i);
        if (i + 1 < table.size() && value > table[i] && value < table[i + 1]) return static_cast<int>(down ? i + 1 : i);
    }
    return 0;
}

/// A span that reaches over an edge shrinks around its centre; the centre stays.
void Reduce_At_Edges() {
    if (Stop() > MAXFREQUENCY) {
        Stop() = MAXFREQUENCY;
        Span() = 2 * (Stop() - Center());
        Start() = Stop() - Span();
    }
    if (Start() < 0) {
        Start() = 0;
        Span() = 2 * (Center() - Start());
        Stop() = Start() + Span();
    }
}

bool Single_Frequency_Mode() {
    switch (FunctionMode_Flag) {
        case mode_am_fm: case mode_am_fm_list: case mode_iq: case mode_r_phi: case mode_ask: case mode_fsk: return true;
        default: return false;
    }
}

/// The tables whose measurement has no meaning in zero span.
bool Needs_Span() {
    constexpr std::int32_t tables =
        table_occupied_bandwidth | table_acpr | table_jitter | table_cnr | table_cso | table_ctb;
    return (Global_Table & tables) != 0;
}

/// A typed value that is no number.
bool No_Number(int source, double value) { return source == source_typed && !std::isfinite(value); }

void Place_Swept_Center() {
    if (Center() > MAXFREQUENCY) {
        Span() = smallest_span;
        Stop() = MAXFREQUENCY;
        Start() = Stop() - Span();
        Center() = Stop() - Span() / 2;
    } else if (Center() < 0) {
        Span() = smallest_span;
        Start() = 0;
        Stop() = Start() + Span();
        Center() = Start() + Span() / 2;
    } else {
        Start() = Center() - Span() / 2;
        Stop() = Center() + Span() / 2;
    }
}

void Hold_Center_By_Mode() {
    if (FunctionMode_Flag == mode_emission_mask) {
        Center() = std::max(Span(), std::min(Center(), MAXFREQUENCY - Span()));
        Place_Swept_Center();
    } else if (Global_Table & table_single_frequency) {
        if (Center() > MAXFREQUENCY || Center() < 0) TheSameFreq(Center() < 0 ? 0 : MAXFREQUENCY);
        else Place_Swept_Center();
    } else if (Single_Frequency_Mode()) {
        TheSameFreq(std::clamp(Center(), lowest_demodulation, MAXFREQUENCY));
    } else {
        Place_Swept_Center();
    }
}

/// The one-shot notice that the axis of a finished measurement was changed; it can be read for a second.
void Show_Attention_Once() {
    if (!attention_notice) return;
    attention_notice = 0;
    ThirdAttentionwords(5);
    platform::Pause_For(std::chrono::seconds(1));
}

void Couple_Step() {
    if (stepautoman[static_cast<std::size_t>(ScreenActive)] != 0) return;
    Step() = std::clamp(Span() / 10, 0.0, MAXFREQUENCY);
}

/// The next entry of the 1-2-5 sequence; 2 GHz is the highest, zero span the lowest.
double Ladder_Span(double span, bool up) {
    const std::span<const double> ladder(SpanValue.data(), SpanValue.size() - 1);
    if (up) {
        if (span >= highest_stepped_span) return span;
        return *std::upper_bound(ladder.begin(), ladder.end(), span);
    }
    if (span <= smallest_span) return 0;
    return *(std::lower_bound(ladder.begin(), ladder.end(), span) - 1);
}

/// Knob at low speed: the span in its engineering unit, cut to its leading three digits (speed 1) or two (speed 2), is
/// changed by the step count in the last of them.
double Fine_Span(double span, int steps) {
    if (span < smallest_span) return steps > 0 ? smallest_span : 0;
    const int kept = std::abs(steps) == 1 ? 3 : 2;
    const int digits = static_cast<int>(std::floor(std::log10(span))) + 1;
    const double unit = std::pow(10.0, digits - kept);
    const double changed = (std::floor(span / unit + 1e-9) + steps) * unit;
    return changed < smallest_span ? 0 : changed;
}

void Place_Span() {
    Start() = Center() - Span() / 2;
    Stop() = Center() + Span() / 2;
    if (Center() > MAXSPAN / 2 && Stop() > MAXFREQUENCY) {
        Span() = Center() < MAXFREQUENCY - smallest_span ? 2 * (MAXFREQUENCY - Center()) : smallest_span;
        Start() = Center() - Span() / 2;
        Stop() = Center() + Span() / 2;
    }
    Reduce_At_Edges();
}

/// True when the span is smaller than the channel that the occupied bandwidth is measured in.
bool Too_Narrow(double span) {
    return (Global_Table & table_occupied_bandwidth) != 0 && std::max(span, 0.0) < Channel_Data.occupied_bandwidth;
}

/// True when the span can't be swept in less than the longest sweep time.
bool Too_Slow(double span) {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    Sweep_Record trial = Sweep_Data;  // takes the step count, which a refused span must not leave behind
    return Ext_Sweep_Time_Check(BW_Data.rbw[screen], BW_Data.vbw[screen], trial, std::min(span, MAXSPAN)) != 0;
}

/// Measurements that need a span get their last one back instead of zero span, or where that is none, the one before.
void Restore_Span(double before) {
    const double last = Active(Freqs.last_span);
    Active(Freqs.last_span) = Span();
    Span() = std::clamp(last > 0 && !Too_Slow(last) ? last : before, smallest_span, MAXSPAN);
    Place_Span();
}

/// Centre and span from start and stop, which lie in range and in order.
void Center_From_Edges() {
    Active(Freqs.last_span) = Span();
    Span() = Stop() - Start();
    Center() = Start() + Span() / 2;
    Couple_Step();
}

void Show_Frequency_Values() {
    Redraw_Keys();
    Draw_Status_Blocks();
}

/// Start and stop: a span that would take too long is not taken.
int Set_Edge(void (*calculate)(int, double), int source, double value) {
    if (No_Number(source, value) || !Edges_Can_Be_Set()) return 0;
    const Freqs_Record before = Freqs;
    const double old_start = Start(), old_center = Center(), old_span = Span();
    calculate(source, value - Active(Freqs.offset));
    if (Too_Slow(Span())) {
        Freqs = before;
        return 0;
    }
    if (Center() != old_center) Show_Attention_Once();
    Cal_Freqrelative_Var();
    if (old_start != Start() || old_span != Span()) {
        Frequency_Axis_Changed();
        ExtendSpanWave(old_start, old_span);
    }
    Show_Frequency_Values();
    Transfer_Settings();
    return 0;
}

}  // namespace

void Freqs_ArrayInit() {
    Freqs.center.fill(MAXSPAN / 2);
    Freqs.start.fill(0);
    Freqs.stop.fill(MAXSPAN);
    Freqs.step.fill(MAXSPAN / 10);
    Freqs.span.fill(MAXSPAN);
    Freqs.last_span.fill(MAXSPAN);
    Freqs.offset.fill(0);
    stepautoman.fill(0);
}

bool Edges_Can_Be_Set() { return !Single_Frequency_Mode() && FunctionMode_Flag != mode_emission_mask; }

bool Span_Can_Be_Set() { return !Single_Frequency_Mode(); }

int Set_Cent(int source, double value) {
    if (No_Number(source, value)) return 0;
    const double old_start = Start(), old_span = Span();
    change_center(source, value);
    if (Span() != old_span) Couple_Step();
    Cal_Freqrelative_Var();
    if (old_start != Start() || old_span != Span()) ExtendSpanWave(old_start, old_span);
    Show_Frequency_Values();
    Transfer_Settings();
    Restart_Hold_Buffer();
    return 0;
}

void change_center(int source, double value) {
    const double old_center = Center();
    Cal_Cent(source, value - Active(Freqs.offset));
    if (Center() != old_center || source != source_typed) Frequency_Axis_Changed();
}

void Cal_Cent(int source, double value) {
    const double old_center = Center();
    if (No_Number(source, value)) return;
    if (source == source_typed) {
        Center() = value;
        if (value == 0 && (Global_Table == 16 || Global_Table == table_jitter)) {
            Center() = smallest_span / 2;
            Span() = smallest_span;
        }
    } else {
        Center() = std::clamp(Center() + Pending_Steps() * Step(), 0.0, MAXFREQUENCY);
    }
    Hold_Center_By_Mode();
    Reduce_At_Edges();
    if (Center() != old_center) Show_Attention_Once();
}

int Set_Start_Freq(int source, double value) { return Set_Edge(Cal_Start_Freq, source, value); }

void Cal_Start_Freq(int source, double value) {
    if (No_Number(source, value)) return;
    if (source != source_typed) value = Start() + Pending_Steps() * Step();
    Start() = std::clamp(value, 0.0, MAXFREQUENCY - smallest_span);
    if (Stop() < Start() + smallest_span) Stop() = Start() + smallest_span;
    Center_From_Edges();
}

int Set_Stop_Freq(int source, double value) { return Set_Edge(Cal_Stop_Freq, source, value); }

void Cal_Stop_Freq(int source, double value) {
    if (No_Number(source, value)) return;
    if (source != source_typed) value = Stop() + Pending_Steps() * Step();
    Stop() = std::clamp(value, smallest_span, MAXFREQUENCY);
    if (Start() > Stop() - smallest_span) Start() = Stop() - smallest_span;
    Center_From_Edges();
}

int Set_Step_Freq(int source, double value) {
    if (No_Number(source, value)) return 0;
    Cal_Step_Freq(source, value);
    Show_Frequency_Values();
    Transfer_Settings();
    return 0;
}

void Cal_Step_Freq(int source, double value) {
    if (No_Number(source, value)) return;
    if (source != source_typed) {
        const int steps = Pending_Steps();
        if (steps == 0) return;
        const int index = FreqValue2FreqIdx() + (steps > 0 ? 1 : -1);
        value = FreqValue[static_cast<std::size_t>(std::clamp(index, 0, static_cast<int>(FreqValue.size()) - 1))];
    }
    Step() = std::clamp(value, 0.0, MAXFREQUENCY);
}

int Set_Step_Mode(bool manual) {
    stepautoman[static_cast<std::size_t>(ScreenActive)] = manual;
    Couple_Step();
    Show_Frequency_Values();
    return 0;
}

int Set_Offset_Freq(int source, double value) {
    if (No_Number(source, value)) return 0;
    Cal_Offset_Freq(source, value);
    SetFreqScaleRedraw = 1;
    Show_Frequency_Values();
    Transfer_Settings();
    return 0;
}

void Cal_Offset_Freq(int source, double value) {
    constexpr double widest_offset = 100e9;
    double& offset = Active(Freqs.offset);
    if (No_Number(source, value)) return;
    if (source != source_typed) value = offset + Pending_Steps() * Step();
    offset = std::clamp(value, -widest_offset, widest_offset);
}

int Set_Span(int source, double value) {
    if (change_span(source, value) != 0) return 0;
    Show_Frequency_Values();
    Transfer_Settings();
    return 0;
}

int change_span(int source, double value) {
    if (No_Number(source, value) || !Span_Can_Be_Set()) return -1;
    const double wanted = source == source_typed ? value : Cal_Span_temp(source);
    if (Too_Narrow(wanted) || Too_Slow(wanted)) return -1;
    const double old_start = Start(), old_span = Span();
    Cal_Span(source, value);
    Cal_Freqrelative_Var();
    if (Span() != old_span) Frequency_Axis_Changed();
    ExtendSpanWave(old_start, old_span);
    return 0;
}

double Cal_Span_temp(int source) {
    const int steps = Pending_Steps();
    if (steps == 0) return Span();
    const bool ladder = source != source_knob || std::abs(steps) == 3;
    return std::min(ladder ? Ladder_Span(Span(), steps > 0) : Fine_Span(Span(), steps), MAXSPAN);
}

double Span_Stepped(double span, int steps) { return steps == 0 ? span : Ladder_Span(span, steps > 0); }

void Cal_Span(int source, double value) {
    if (No_Number(source, value)) return;
    const double old_span = Span();
    if (source == source_typed) {
        Active(Freqs.last_span) = Span();
        Span() = value <= 0 ? 0 : std::clamp(value, smallest_span, MAXSPAN);
    } else {
        Span() = Cal_Span_temp(source);
    }
    Place_Span();
    if (Span() == 0 && Needs_Span()) Restore_Span(old_span);
    Couple_Step();
    if (Span() != old_span) Show_Attention_Once();
}

int Set_Full_Span() {
    if (!Span_Can_Be_Set() || Too_Slow(MAXSPAN)) return 0;
    const double old_start = Start(), old_span = Span();
    Active(Freqs.last_span) = Span();
    Span() = MAXSPAN;
    Start() = 0;
    Stop() = MAXSPAN;
    Center() = Span() / 2;
    Couple_Step();
    Cal_Freqrelative_Var();
    Frequency_Axis_Changed();
    ExtendSpanWave(old_start, old_span);
    Show_Frequency_Values();
    Transfer_Settings();
    return 0;
}

int Set_Last_Span() { return Set_Span(source_typed, Active(Freqs.last_span)); }

void TheSameFreq(double frequency) { Start() = Center() = Stop() = frequency; }

int SpanValue2SpanIdx() { return Table_Index(SpanValue, Span()); }

int FreqValue2FreqIdx() { return Table_Index(FreqValue, Step()); }

void Cal_Freqrelative_Var() {
    Ext_BW_Auto_RBW();
    Ext_Sweep_Time_Auto();
    SetFreqScaleRedraw = 1;
}
