#include "measure/autoset.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "measure/watched_spectrum.h"
#include "platform/clock.h"
#include "records/amp.h"
#include "records/analysis.h"
#include "records/autoset.h"
#include "records/bw.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/sweep.h"
#include "records/trace.h"
#include "records/trigger.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/dependants.h"
#include "sweep/frequency.h"
#include "sweep/transfer.h"
#include "sweep/trigger.h"
#include "trace/acquisition.h"
#include "trace/icons.h"
#include "trace/scale.h"
#include "trace/single_sweep.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr double lowest_floor = -100, highest_floor = 20, smallest_span = 100;
constexpr int attention_searching = 63, attention_nothing = 64, attention_no_sweep = 65;

/// A floor above the noise, dB: noise peaks reach up to 13 dB over it. A typed floor may be lower, but noise is none.
constexpr double signal_over_noise = 15, least_over_noise = 13;

/// The local oscillator's feed-through stands at 0 Hz: nothing is taken for a signal closer to it than this many RBWs.
constexpr double feedthrough_reach = 15;
/// The survey's points are too wide for what lies below; a sweep of its own looks there.
constexpr double survey_from = 5e6, low_band = 8e6;
/// The feed-through's phase noise raises the noise up to here, so that it is measured around each point.
constexpr double skirt_to = 1e6;
constexpr std::size_t skirt_points = 20;  ///< to either side

constexpr int rbw_automatic = -1, rbw_1mhz = 0, rbw_100khz = 2, rbw_10khz = 4;
constexpr int no_attenuation_rule = -1;

/// From the most careful to the most sensitive; strong signals end the search before the attenuator opens.
struct Effort {
    int attenuation;  ///< dB
    int rbw;          ///< of the survey
    int sweeps;
};
constexpr std::array<Effort, 3> efforts{{{30, rbw_1mhz, 3}, {0, rbw_1mhz, 3}, {0, rbw_100khz, 1}}};

/// Spans through which the signal is approached, Hz; a wide one gets the wide window. They show at most this part of
/// the way to 0 Hz.
constexpr std::array<double, 6> windows{200e6, 50e6, 10e6, 2e6, 500e3, 100e3};
constexpr std::size_t wide_window = 0, first_window = 1;
constexpr double part_of_frequency = 1.6;
/// A signal as wide as this part of its window is wide enough to be measured; more than the second part is cut off.
constexpr double wide_enough = 0.1, too_wide = 0.6;
constexpr double signal_below_peak = 26, signal_above_noise = 10;  ///< dB, what counts as part of the signal
constexpr double span_of_width = 2;                                ///< shown span over width
constexpr double vanished = 12;                                    ///< dB less than before: a burst that is over
constexpr int most_waits = 6;                                      ///< for it to come again, a watching time each
constexpr double width_of_lost = 4e6;                              ///< Hz, shown where it doesn't: a survey's point

/// Bursts are waited for so long, but not for more sweeps than these.
constexpr double watching_time = 0.5;  ///< s
constexpr int least_sweeps = 3, most_sweeps = 30;

constexpr double reference_margin = 3;  ///< dB, from the peak to the top; at most 5 dB more
constexpr int reference_step = 5;

enum class Stage { survey, low_frequencies, approach, level, shown };

struct Signal {
    double frequency = 0, level = -1000;  ///< Hz, dBm at the input
};

/// What the search leaves as it was, or changes once at its end.
struct Kept_Settings {
    Freqs_Record freqs;
    Amp_Record amp;
    BW_Record bw;
    Sweep_Record sweep;
    Trigger_Record trigger;
    Trace_Record trace;
    Marker_Record markers;
    int sweep_stopped = 0;
};

struct Search {
    Stage stage = Stage::survey;
    std::size_t effort = 0, window = first_window;
    double noise_density = 0;  ///< dBm/Hz at 0 dB attenuation, of the survey
    Signal found;
    double center = 0, width = 0;  ///< Hz, of the signal as approached
    int sweeps_wanted = 1, waits = 0;
    std::int32_t sweeps_seen = 0;
    platform::Duration deadline{0};
    Watched_Spectrum seen;
};

Kept_Settings kept;
Search search;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
Trace_Record& Active_Record() { return Trace_Data[Screen()]; }

double Rbw() { return Int_RBW_Transfer(BW_Data.rbw[Screen()]); }

double In_Range(double frequency) { return std::clamp(frequency, 0.0, MAXFREQUENCY); }

/// The noise that is expected with the present RBW and attenuation, dBm.
double Expected_Noise() { return search.noise_density + 10 * std::log10(Rbw()) + Amp.attenuation[Screen()]; }

void Await_Sweeps(int least) {
    const double time = Sweep_Data.time[Screen()];
    const int enough = static_cast<int>(std::ceil(std::min(watching_time / time, 1.0 * most_sweeps)));
    search.sweeps_wanted = std::max(enough, least);
    if (search.stage == Stage::survey || search.stage == Stage::low_frequencies) search.sweeps_wanted = least;
    search.sweeps_seen = 0;
    search.seen = {};
    const double patience = 10 + 5 * search.sweeps_wanted * time;
    const std::chrono::duration<double> seconds(patience);
    search.deadline = platform::Now() + std::chrono::duration_cast<platform::Duration>(seconds);
}

void Show_Settings() {
    Level_Scale_Changed();
    Redraw_Keys();
    Draw_Status_Blocks();
}

/// A sweep of the search's own; attenuation in dB, or the rule's for a signal of the level found.
void Sweep_Over(double start, double stop, int rbw, int attenuation, int sweeps) {
    const double old_start = Freqs.start[Screen()], old_span = Freqs.span[Screen()];
    Cal_Stop_Freq(source_typed, stop);
    Cal_Start_Freq(source_typed, start);
    BW_Data.rbw_mode[Screen()] = rbw == rbw_automatic ? 0 : 1;
    if (rbw != rbw_automatic) BW_Data.rbw[Screen()] = rbw;
    BW_Data.vbw_mode[Screen()] = 0;
    Sweep_Data.time_mode[Screen()] = 0;
    Cal_Freqrelative_Var();
    Amp.attenuation_mode[Screen()] = 0;
    const double level = attenuation == no_attenuation_rule ? search.found.level + reference_margin : attenuation - 10;
    Cal_Ref_Level(source_typed, level + Shown_Level_Offset());
    if (attenuation != no_attenuation_rule) Cal_Attenuation(source_typed, attenuation);
    Frequency_Axis_Changed();
    ExtendSpanWave(old_start, old_span);
    Show_Settings();
    LOOP_SetTrans_Var();
    Await_Sweeps(sweeps);
}

void Survey() {
    const Effort& effort = efforts[search.effort];
    search.stage = Stage::survey;
    Sweep_Over(0, MAXSPAN, effort.rbw, effort.attenuation, effort.sweeps);
}

void Look_At_Low_Frequencies() {
    search.stage = Stage::low_frequencies;
    Sweep_Over(0, low_band, rbw_10khz, efforts[search.effort].attenuation, efforts[search.effort].sweeps);
}

void Approach() {
    search.stage = Stage::approach;
    search.waits = 0;
    const double most = part_of_frequency * std::max(search.center, smallest_span);
    const double half = std::min(windows[search.window], most) / 2;
    Sweep_Over(In_Range(search.center - half), In_Range(search.center + half), rbw_automatic, no_attenuation_rule,
               least_sweeps);
}

/// The lower quartile: most of the spectrum may be occupied.
double Measured_Noise() { return Average_Quantile(search.seen, 0, trace_points - 1, 0.25); }

/// Where signals begin in the present sweep.
double Beyond_Feedthrough() {
    const double reach = feedthrough_reach * Rbw();
    return Freqs.start[Screen()] < reach ? std::min(reach, search.center / 2) : 0;
}

double Level_Of(std::size_t point) { return static_cast<double>(search.seen.highest[point]); }

double Floor(double noise) {
    if (!Autoset_Data.floor_manual) return noise + signal_over_noise;
    return std::max(Autoset_Data.floor - Shown_Level_Offset(), noise + least_over_noise);
}

double Floor_At(std::size_t point, double noise) {
    if (Frequency_Of(point) >= skirt_to) return Floor(noise);
    const std::size_t first = point - std::min(point, skirt_points);
    const std::size_t last = std::min<std::size_t>(point + skirt_points, trace_points - 1);
    return Floor(std::max(noise, Average_Quantile(search.seen, first, last, 0.5)));
}

/// The highest point that stands out of the noise, where it is higher than what was found before.
void Take_Highest(double from, double noise) {
    for (std::size_t i = trace_points; i-- > 0 && Frequency_Of(i) >= from;) {
        const double level = Level_Of(i);
        if (level > search.found.level && level >= Floor_At(i, noise)) search.found = {Frequency_Of(i), level};
    }
}

/// The next of 1, 2, 5.
double Rounded_Up(double hertz) {
    const double decade = std::pow(10.0, std::floor(std::log10(std::max(hertz, 1.0)) + 1e-9));
    for (const double digit : {1.0, 2.0, 5.0}) {
        if (hertz <= digit * decade * (1 + 1e-9)) return digit * decade;
    }
    return 10 * decade;
}

double Shown_Span() {
    const double wanted = Autoset_Data.span_manual
                              ? Autoset_Data.span
                              : std::max(Rounded_Up(span_of_width * search.width), windows.back());
    const double room = 2 * std::min(search.center, MAXFREQUENCY - search.center);
    return std::max(std::min({wanted, room, MAXSPAN}), smallest_span);
}

/// A centre that reads well and moves the signal by less than a hundredth of the span.
double Shown_Center(double span) {
    const double grid = std::pow(10.0, std::floor(std::log10(span / 100) + 1e-9));
    return std::clamp(std::round(search.center / grid) * grid, span / 2, MAXFREQUENCY - span / 2);
}

void Measure_Level() {
    search.stage = Stage::level;
    const double span = Shown_Span(), center = Shown_Center(span);
    Sweep_Over(center - span / 2, center + span / 2, rbw_automatic, no_attenuation_rule, least_sweeps);
}

void Clear_Traces() {
    Trace_Record& record = Active_Record();
    const auto active = static_cast<std::size_t>(record.active & 3);
    record.mode.fill(trace_blank);
    record.mode[active] = trace_clear_write;
    record.value[active].fill(-180);
    Reset_Trace_Icons();
}

void Keep_Settings() {
    kept = {Freqs, Amp, BW_Data, Sweep_Data, Trigger_Data, Active_Record(), Marker_Data, SweepSingle_Data.load()};
}

/// Continuous sweeps that wait for nothing.
void Release_Sweeps() {
    Sweep_Data.hold = 0;
    Sweep_Data.single = Sweep_Data.single_started = 0;
    SweepSingle_Data.store(0, std::memory_order_release);
    if (Trigger_Waits()) {
        Trigger_Data.source = trigger_by_none;
        Trigger_Data.gate = 0;
        Sweep_Data.external_trigger_pending = 1;
        Send_Trigger_Settings();
    }
    LOOP_SetTrans_Single_Sweep();
}

/// The traces and markers as they were kept, but for the place in the ring.
void Put_Traces_Back() {
    Trace_Record& record = Active_Record();
    kept.trace.processed = record.processed;
    kept.trace.sweeps = record.sweeps;
    kept.trace.point = record.point;
    record = kept.trace;
    Marker_Data = kept.markers;
    Reset_Trace_Icons();
}

void Put_Sweeps_Back() {
    const bool trigger_changed = kept.trigger.source != Trigger_Data.source || kept.trigger.gate != Trigger_Data.gate;
    Trigger_Data = kept.trigger;
    if (trigger_changed) Send_Trigger_Settings();
    Draw_Sweep_State();
}

void End_Search() {
    Run_AuotSet_flag = 0;
    Clear_Attention();
    Autoset_State_Changed();
    Complete_Operations();
}

/// Everything returns to what it was.
void Give_Up() {
    Freqs = kept.freqs;
    Amp = kept.amp;
    BW_Data = kept.bw;
    Sweep_Data = kept.sweep;
    if (Sweep_Data.single) LOOP_SetTrans_Single_Sweep();
    Sweep_Data.single_started = kept.sweep.single_started;
    LOOP_SetTrans_Var();
    SweepSingle_Data.store(kept.sweep_stopped, std::memory_order_release);
    Put_Traces_Back();
    Put_Sweeps_Back();
    Frequency_Axis_Changed();
    Show_Settings();
    End_Search();
}

/// The kept settings once more, with what was found; the traces move once.
void Show_Signal() {
    const double start = Freqs.start[Screen()], stop = Freqs.stop[Screen()];
    const double measured = Level_Of(Highest_Point(search.seen, Beyond_Feedthrough()));
    const double level = measured < search.found.level - vanished ? search.found.level : measured;
    search.stage = Stage::shown;
    Freqs = kept.freqs;
    Amp = kept.amp;
    BW_Data = kept.bw;
    Sweep_Data = kept.sweep;
    Put_Traces_Back();
    Cal_Stop_Freq(source_typed, stop);
    Cal_Start_Freq(source_typed, start);
    Freqs.last_span[Screen()] = kept.freqs.span[Screen()];
    BW_Data.rbw_mode[Screen()] = BW_Data.vbw_mode[Screen()] = 0;
    Sweep_Data.time_mode[Screen()] = 0;
    Cal_Freqrelative_Var();
    Amp.attenuation_mode[Screen()] = 0;
    const double shown = level + Shown_Level_Offset() + reference_margin;
    Cal_Ref_Level(source_typed, std::ceil(shown / reference_step) * reference_step);
    Frequency_Axis_Changed();
    ExtendSpanWave(kept.freqs.start[Screen()], kept.freqs.span[Screen()]);
    Restart_Hold_Buffer();
    Put_Sweeps_Back();
    Show_Settings();
    Sweep_Data.hold = 0;
    if (kept.sweep.single) {
        Sweep_Data.single_started = 0;
        Start_Single_Sweep();
    } else {
        LOOP_SetTrans_Var();
    }
    Await_Sweeps(1);
    search.sweeps_wanted = 1;
    if (Trigger_Waits()) End_Search();
}

void Tell_Nothing(int attention) {
    Give_Up();
    ThirdAttentionwords(attention);
}

void After_Survey() {
    const double noise = Measured_Noise();
    search.noise_density = noise - 10 * std::log10(Rbw()) - Amp.attenuation[Screen()];
    search.found = {};
    Take_Highest(survey_from, noise);
    Look_At_Low_Frequencies();
}

void After_Low_Frequencies() {
    Take_Highest(feedthrough_reach * Rbw(), Measured_Noise());
    if (search.found.frequency > 0) {
        search.center = search.found.frequency;
        search.width = 0;
        search.window = first_window;
        Approach();
    } else if (++search.effort < efforts.size()) {
        Survey();
    } else {
        Tell_Nothing(attention_nothing);
    }
}

void After_Approach() {
    const std::size_t peak = Highest_Point(search.seen, Beyond_Feedthrough());
    const double level = Level_Of(peak), span = Freqs.span[Screen()];
    const bool first = search.width == 0;
    if (level < search.found.level - vanished) {
        if (++search.waits < most_waits) return Await_Sweeps(least_sweeps);
        if (first) search.width = width_of_lost;
        return Measure_Level();
    }
    const double least = std::max(level - signal_below_peak, Expected_Noise() + signal_above_noise);
    const Extent extent = Extent_Of(search.seen, peak, least);
    search.center = (Frequency_Of(extent.first) + Frequency_Of(extent.last)) / 2;
    search.width = std::max(Frequency_Of(extent.last) - Frequency_Of(extent.first), span / (trace_points - 1));
    search.found = {Frequency_Of(peak), level};
    if (first && search.width > too_wide * span && search.window == first_window) {
        search.window = wide_window;
        return Approach();
    }
    const bool resolved = search.width >= wide_enough * span || search.window == wide_window;
    const double wanted = Autoset_Data.span_manual ? Autoset_Data.span : 0;
    if (resolved || span <= wanted || ++search.window == windows.size()) return Measure_Level();
    Approach();
}

void Next_Stage() {
    switch (search.stage) {
        case Stage::survey: return After_Survey();
        case Stage::low_frequencies: return After_Low_Frequencies();
        case Stage::approach: return After_Approach();
        case Stage::level: return Show_Signal();
        case Stage::shown: return End_Search();
    }
}

bool May_Start() {
    const bool spectrum = FunctionMode_Flag == mode_spectrum || FunctionMode_Flag == mode_spectrum_list;
    constexpr std::int32_t tables = table_split | table_single_frequency | table_without_center;
    if (!spectrum || (Global_Table & tables) || EMC_Data.mode || EMC_Data.running || Sweep_Data.busy) return false;
    return Run_AuotSet_flag == 0 && LOOP_Buffers && DSP_Trace_Data;
}

}  // namespace

int Set_Autoset_Floor(int source, double dbm) {
    if (source != source_typed) dbm = Autoset_Data.floor + Pending_Steps() * (source == source_knob ? 1 : 10);
    if (!std::isfinite(dbm)) return 0;
    Autoset_Data.floor = std::clamp(dbm, lowest_floor, highest_floor);
    Set_Autoset_Floor_Mode(true);
    return 0;
}

void Set_Autoset_Floor_Mode(bool manual) {
    Autoset_Data.floor_manual = manual;
    Redraw_Keys();
}

int Set_Autoset_Span(int source, double hertz) {
    if (source != source_typed) hertz = Span_Stepped(Autoset_Data.span, Pending_Steps());
    if (!std::isfinite(hertz)) return 0;
    Autoset_Data.span = std::clamp(hertz, smallest_span, MAXSPAN);
    Set_Autoset_Span_Mode(true);
    return 0;
}

void Set_Autoset_Span_Mode(bool manual) {
    Autoset_Data.span_manual = manual;
    Redraw_Keys();
}

bool Start_Autoset() {
    if (!May_Start()) return false;
    Run_AuotSet_flag = 1;
    Keep_Settings();
    search = {};
    Amp.preamplifier_auto = 0;
    Amp.preamplifier_in[Screen()] = 0;
    BW_Data.emi = 0;
    Sweep_Data.mode[Screen()] = sweep_mode_auto;
    Sweep_Data.rule[Screen()] = 0;
    Clear_Traces();
    Release_Sweeps();
    ThirdAttentionwords(attention_searching);
    Autoset_State_Changed();
    Survey();
    return true;
}

void Autoset_Step() {
    if (!Run_AuotSet_flag) return;
    const std::int32_t sweeps = Active_Record().sweeps;
    if (sweeps == search.sweeps_seen) {
        if (platform::Now() >= search.deadline) Tell_Nothing(attention_no_sweep);
        return;
    }
    search.sweeps_seen = sweeps;
    Take_Last_Sweep(search.seen, Active_Record());
    if (search.seen.sweeps >= search.sweeps_wanted) Next_Stage();
}

void Stop_Autoset() {
    if (Run_AuotSet_flag) Give_Up();
}

void Autoset_Init() {
    Autoset_Data = {};
    Run_AuotSet_flag = 0;
    Autoset_State_Changed();
}
