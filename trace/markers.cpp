#include "trace/markers.h"

#include <algorithm>
#include <cmath>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "sweep/bandwidth.h"
#include "sweep/counter.h"
#include "sweep/dependants.h"
#include "trace/marker_display.h"
#include "trace/peak_search.h"
#include "trace/split.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr int last_column = trace_points - 1, middle_column = last_column / 2, division_columns = 60;
constexpr int settings_conflict = -221;
constexpr int finest_resolution = 0, coarsest_resolution = 4;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

template <class Value>
Value& At(Per_Marker<Value>& field, int marker) {
    return field[static_cast<std::size_t>(std::clamp(marker, 0, markers - 1))][Screen()];
}

/// The present axis: where it starts and how wide it is.
struct Axis {
    double start = 0, width = 0;
    bool time = false;
};

Axis Present_Axis() {
    if (Freqs.span[Screen()] == 0) return {0, Sweep_Data.time[Screen()], true};
    return {Freqs.start[Screen()], Freqs.span[Screen()], false};
}

/// Column of a place before it is held to the axis; half a column goes up, also where binary fractions miss it by a hair.
double Unheld_Column(double place) {
    const Axis axis = Present_Axis();
    if (!(axis.width > 0)) return middle_column;
    return std::floor((place - axis.start) * last_column / axis.width + 0.5 + 1e-9);
}

bool On_Axis(double place) {
    const double column = Unheld_Column(place);
    return column >= 0 && column <= last_column;
}

double Hold_To_Axis(double place) {
    const Axis axis = Present_Axis();
    return std::clamp(place, axis.start, axis.start + axis.width);
}

/// Places that were held to a column stand exactly in it.
void Put_In_Column(int marker, int column) {
    At(Marker_Data.column, marker) = std::clamp(column, 0, last_column);
    At(Marker_Data.frequency, marker) = Column_Place(At(Marker_Data.column, marker));
}

void Put_Delta_In_Column(int marker, int column) {
    At(Marker_Data.delta_column, marker) = std::clamp(column, 0, last_column);
    At(Marker_Data.delta_frequency, marker) = Column_Place(At(Marker_Data.delta_column, marker));
}

/// Columns of a step: the knob's three speeds, a division for an arrow.
int Step_Columns(int source) {
    constexpr std::array<int, 4> knob{0, 1, 3, 10};
    const int steps = Pending_Steps();
    const auto speed = static_cast<std::size_t>(std::min(std::abs(steps), 3));
    const int columns = source == source_knob ? knob[speed] : division_columns;
    return steps > 0 ? columns : steps < 0 ? -columns : 0;
}

void Changed() {
    Follow_Counter();
    Show_Markers();
    Redraw_Keys();
}

/// A marker that is switched on stands in its last column.
void Switch_On(int marker) {
    Follow_Axis();
    Marker_Data.active[Screen()] = marker;
    if (At(Marker_Data.on, marker)) return;
    At(Marker_Data.on, marker) = 1;
    Put_In_Column(marker, At(Marker_Data.column, marker));
}

void Make_Delta(int marker) {
    Switch_On(marker);
    if (At(Marker_Data.delta, marker)) return;
    At(Marker_Data.delta, marker) = 1;
    At(Marker_Data.delta_frequency, marker) = At(Marker_Data.frequency, marker);
    At(Marker_Data.delta_column, marker) = At(Marker_Data.column, marker);
    At(Marker_Data.delta_trace, marker) = At(Marker_Data.trace, marker);
}

void End_Functions(int marker) {
    At(Marker_Data.noise, marker) = 0;
    At(Marker_Data.counter, marker) = At(Marker_Data.vswr, marker) = 0;
}

void Switch_Off(int marker) {
    At(Marker_Data.on, marker) = 0;
    At(Marker_Data.delta, marker) = 0;
    End_Functions(marker);
}

int Shown_Trace(int assigned) {
    const auto& record = Trace_Data[Screen()];
    if (assigned >= 0 && assigned < traces) {
        return record.mode[static_cast<std::size_t>(assigned)] == trace_blank ? -1 : assigned;
    }
    const int active = record.active & 3;
    if (record.mode[static_cast<std::size_t>(active)] != trace_blank) return active;
    for (int trace = traces - 1; trace >= 0; --trace) {
        if (record.mode[static_cast<std::size_t>(trace)] != trace_blank) return trace;
    }
    return -1;
}

std::int32_t& Assigned_Trace(int marker) {
    return At(Marker_Data.delta, marker) ? At(Marker_Data.delta_trace, marker) : At(Marker_Data.trace, marker);
}

/// The largest resolution not above a thousandth of the RBW.
int Coupled_Resolution() {
    const double most = Int_RBW_Transfer(BW_Data.rbw[Screen()]) / 1000;
    int index = coarsest_resolution;
    while (index > finest_resolution &&
           static_cast<double>(Marker_Counter_Resolution_Value[static_cast<std::size_t>(index)]) > most) {
        --index;
    }
    return index;
}

int Set_Table(std::int32_t table, bool on) {
    const std::int32_t kept = Global_Table & (table_split | table_limit);
    const bool shown = (Global_Table & table) != 0;
    if (on == shown) return 0;
    if (on && Display_Data.split != split_none) Set_Split(split_none);
    Global_Table = on ? kept | table : Global_Table & ~table;
    if (table == table_peak && on) SelectTraceForPeakSearch();
    Fit_Graticule_To_Table();
    Level_Scale_Changed();
    Redraw_Keys();
    return 0;
}

}  // namespace

void Marker_Init() {
    const Counter_Order sent = Marker_Data.counter_sent;
    Marker_Data = {};
    Marker_Data.counter_sent = sent;
    Marker_NoiseValue = Marker_Delta_NoiseValue = {};
    Marker_All_Off();
}

void Markerto_Init() { Marker_Data.steps = Sweep_Data.steps[Screen()]; }

void Marker_All_Off() {
    for (int marker = 0; marker < markers; ++marker) Switch_Off(marker);
    Set_Table(table_marker, false);
    Changed();
}

void Cal_real_freq_log() {
    const double start = Freqs.start[Screen()], span = Freqs.span[Screen()];
    for (std::size_t i = 0; i < trace_points; ++i) real_freq_log[i] = start + static_cast<double>(i) * span / last_column;
}

void Follow_Axis() {
    const Axis axis = Present_Axis();
    const bool turned = (Marker_Data.in_time[Screen()] != 0) != axis.time;
    static Axis listed;  // the axis of real_freq_log
    if (!axis.time && (listed.start != axis.start || listed.width != axis.width)) {
        listed = axis;
        Cal_real_freq_log();
    }
    double& start = Marker_Data.placed_start[Screen()];
    double& width = Marker_Data.placed_width[Screen()];
    if (!turned && start == axis.start && width == axis.width) return;
    start = axis.start;
    width = axis.width;
    Marker_Data.in_time[Screen()] = axis.time;
    for (int marker = 0; marker < markers; ++marker) {
        if (!At(Marker_Data.on, marker)) continue;
        if (turned) {
            Put_In_Column(marker, At(Marker_Data.column, marker));
            Put_Delta_In_Column(marker, At(Marker_Data.delta_column, marker));
        } else {
            At(Marker_Data.column, marker) = Place_Column(At(Marker_Data.frequency, marker));
            At(Marker_Data.delta_column, marker) = Place_Column(At(Marker_Data.delta_frequency, marker));
        }
    }
}

bool Zero_Span_Axis() { return Freqs.span[Screen()] == 0; }

double Marker_Base() { return Zero_Span_Axis() ? 0 : Freqs.offset[Screen()]; }

double Column_Place(int column) {
    const Axis axis = Present_Axis();
    const int held = std::clamp(column, 0, last_column);
    if (!axis.time) {
        Follow_Axis();
        return real_freq_log[static_cast<std::size_t>(held)];
    }
    return held * axis.width / last_column;
}

int Place_Column(double place) {
    const double column = Unheld_Column(place);
    return std::isnan(column) ? middle_column : static_cast<int>(std::clamp<double>(column, 0, last_column));
}

void Int_Marker_Freq_to_Pixel(double place) {
    if (!std::isnan(place)) At(Marker_Data.column, Active_Marker()) = Place_Column(place);
}

void Cal_Marker_Move(int marker, double shown) {
    if (std::isnan(shown)) return;
    Follow_Axis();
    const int column = Place_Column(Hold_To_Axis(shown - Marker_Base()));
    if (At(Marker_Data.delta, marker)) {
        Put_Delta_In_Column(marker, column);
    } else {
        Put_In_Column(marker, column);
    }
    Changed();
}

int Active_Marker() { return std::clamp(Marker_Data.active[Screen()], 0, markers - 1); }

int Set_Active_Marker(int source, double number) {
    if (source != source_typed) number = Active_Marker() + 1 + (Pending_Steps() > 0 ? 1 : -1);
    if (std::isnan(number)) return 0;
    Marker_Data.active[Screen()] = static_cast<int>(std::clamp<double>(number, 1, markers)) - 1;
    Changed();
    return 0;
}

int Set_Marker_State(int marker, bool on) {
    if (on) {
        Switch_On(marker);
    } else {
        Switch_Off(marker);
    }
    Changed();
    return 0;
}

int Set_Marker_Type(int marker, bool delta) {
    Switch_On(marker);
    if (delta) {
        Make_Delta(marker);
    } else {
        At(Marker_Data.delta, marker) = 0;
    }
    Changed();
    return 0;
}

int Set_Marker_Place(int marker, double shown) {
    if (std::isnan(shown)) return 0;
    Switch_On(marker);
    Put_In_Column(marker, Place_Column(Hold_To_Axis(shown - Marker_Base())));
    Changed();
    return 0;
}

int Set_Marker_Normal(int source, double shown) {
    if (std::isnan(shown)) return 0;
    const int marker = Active_Marker();
    Switch_On(marker);
    At(Marker_Data.delta, marker) = 0;
    if (source != source_typed) shown = Column_Place(At(Marker_Data.column, marker) + Step_Columns(source)) + Marker_Base();
    Cal_Marker_Move(marker, shown);
    return 0;
}

int Set_Marker_Delta(int source, double distance) {
    if (std::isnan(distance)) return 0;
    const int marker = Active_Marker();
    Make_Delta(marker);
    const double place = source == source_typed
                             ? At(Marker_Data.frequency, marker) + distance
                             : Column_Place(At(Marker_Data.delta_column, marker) + Step_Columns(source));
    Cal_Marker_Move(marker, place + Marker_Base());
    return 0;
}

int Set_Marker_Move_Pair_Span(int source, double span) {
    if (std::isnan(span)) return 0;
    const int marker = Active_Marker();
    Make_Delta(marker);
    const Axis axis = Present_Axis();
    const double m = Hold_To_Axis(At(Marker_Data.frequency, marker));
    const double r = Hold_To_Axis(At(Marker_Data.delta_frequency, marker));
    if (source != source_typed) span = std::fabs(m - r) + 2 * Step_Columns(source) * axis.width / last_column;
    const double middle = (m + r) / 2;
    const double half = std::clamp(span / 2, 0.0, std::min(middle - axis.start, axis.start + axis.width - middle));
    const bool delta_below = r < m;
    Put_In_Column(marker, Place_Column(delta_below ? middle + half : middle - half));
    Put_Delta_In_Column(marker, Place_Column(delta_below ? middle - half : middle + half));
    Changed();
    return 0;
}

int Set_Marker_Move_Pair_Center(int source, double shown) {
    if (std::isnan(shown)) return 0;
    const int marker = Active_Marker();
    Make_Delta(marker);
    const int low = std::min(At(Marker_Data.column, marker), At(Marker_Data.delta_column, marker));
    const int high = std::max(At(Marker_Data.column, marker), At(Marker_Data.delta_column, marker));
    const int distance = high - low;
    int first = low + Step_Columns(source);
    if (source == source_typed) {
        const double middle = Hold_To_Axis(shown - Marker_Base());
        first = Place_Column(middle - (Column_Place(high) - Column_Place(low)) / 2);
    }
    first = std::clamp(first, 0, last_column - distance);
    const bool delta_above = At(Marker_Data.delta_column, marker) == high;
    Put_In_Column(marker, delta_above ? first : first + distance);
    Put_Delta_In_Column(marker, delta_above ? first + distance : first);
    Changed();
    return 0;
}

int Set_Marker_Trace(int marker, int trace) {
    if (Shown_Trace(trace) != trace) return settings_conflict;
    Assigned_Trace(marker) = trace;
    Changed();
    return 0;
}

int Set_Marker_Trace_Auto(int marker, bool automatic) {
    if (automatic) {
        Assigned_Trace(marker) = no_trace;
    } else if (Marker_Trace_Auto(marker)) {
        Assigned_Trace(marker) = std::max(Marker_Trace(marker), 0);
    }
    Changed();
    return 0;
}

bool Marker_Trace_Auto(int marker) { return Assigned_Trace(marker) == no_trace; }

int Marker_Trace(int marker) { return Shown_Trace(Assigned_Trace(marker)); }

int Marker_Own_Trace(int marker) { return Shown_Trace(At(Marker_Data.trace, marker)); }

int Set_Marker_Noise(int marker, bool on) {
    if (on) {
        Switch_On(marker);
        End_Functions(marker);
    }
    At(Marker_Data.noise, marker) = on;
    Changed();
    return 0;
}

int Set_Marker_Counter(int marker, bool on) {
    if (on && Zero_Span_Axis()) return settings_conflict;
    if (on) {
        Switch_On(marker);
        End_Functions(marker);
        for (int other = 0; other < markers; ++other) At(Marker_Data.counter, other) = 0;
    }
    At(Marker_Data.counter, marker) = on;
    Changed();
    return 0;
}

int Set_Marker_VSWR(int marker, bool on) {
    if (on && !Sys_Data.tracking_normalised) return settings_conflict;
    if (on) {
        Switch_On(marker);
        End_Functions(marker);
    }
    At(Marker_Data.vswr, marker) = on;
    Changed();
    return 0;
}

int Set_Marker_Functions_Off(int marker) {
    End_Functions(marker);
    Changed();
    return 0;
}

double Marker_Resolution() {
    const int index = Marker_Data.resolution_manual[Screen()] ? Marker_Data.resolution[Screen()] : Coupled_Resolution();
    const float value = Marker_Counter_Resolution_Value[static_cast<std::size_t>(std::clamp(index, 0, 4))];
    return std::round(static_cast<double>(value) * 10) / 10;  // 0.1 Hz is a decimal fraction
}

void Cal_Marker_Resolution(int source) {
    std::int32_t& index = Marker_Data.resolution[Screen()];
    if (source != source_typed && Pending_Steps() > 0) index = std::min(index + 1, coarsest_resolution);
    if (source != source_typed && Pending_Steps() < 0) index = std::max(index - 1, finest_resolution);
    Marker_Data.resolution_changed[Screen()] = 1;
}

int Set_Marker_Resolution(int source, double hertz) {
    if (std::isnan(hertz)) return 0;
    std::int32_t& index = Marker_Data.resolution[Screen()];
    if (!Marker_Data.resolution_manual[Screen()]) index = Coupled_Resolution();
    Marker_Data.resolution_manual[Screen()] = 1;
    if (source == source_typed) {
        const double tens = hertz > 0 ? std::round(std::log10(hertz)) + 1 : 0;
        index = static_cast<int>(std::clamp<double>(tens, finest_resolution, coarsest_resolution));
    }
    Cal_Marker_Resolution(source);
    Changed();
    return 0;
}

int Set_Marker_Resolution_Auto(bool automatic) {
    if (!automatic && !Marker_Data.resolution_manual[Screen()]) Marker_Data.resolution[Screen()] = Coupled_Resolution();
    Marker_Data.resolution_manual[Screen()] = !automatic;
    Changed();
    return 0;
}

int Set_Marker_Table(bool on) { return Set_Table(table_marker, on); }

int Set_Peak_Table(bool on) { return Set_Table(table_peak, on); }

void Set_Limit_Table(bool on) {
    if (Display_Data.split != split_none) on = false;
    if (on == ((Global_Table & table_limit) != 0)) return;
    Global_Table ^= table_limit;
    Fit_Graticule_To_Table();
    Level_Scale_Changed();
}

void Fit_Graticule_To_Table() { ScreenInf = Geometry_Of(ScreenActive); }

bool Marker_On_Axis(int marker) {
    Follow_Axis();
    return On_Axis(At(Marker_Data.frequency, marker));
}

bool Delta_On_Axis(int marker) {
    Follow_Axis();
    return On_Axis(At(Marker_Data.delta_frequency, marker));
}

double Marker_Place(int marker) {
    const double place =
        Marker_On_Axis(marker) ? Column_Place(At(Marker_Data.column, marker)) : At(Marker_Data.frequency, marker);
    return place + Marker_Base();
}

double Delta_Place(int marker) {
    const double place = Delta_On_Axis(marker) ? Column_Place(At(Marker_Data.delta_column, marker))
                                               : At(Marker_Data.delta_frequency, marker);
    return place + Marker_Base();
}

double Moved_Place(int marker) { return At(Marker_Data.delta, marker) ? Delta_Place(marker) : Marker_Place(marker); }

double Delta_Distance(int marker) { return Delta_Place(marker) - Marker_Place(marker); }

double Pair_Span(int marker) {
    const double m = Marker_Place(marker), r = Delta_Place(marker);
    return m >= r ? m - r : r - m;
}

double Pair_Center(int marker) { return (Marker_Place(marker) + Delta_Place(marker)) / 2; }

void Markers_End_Of_Sweep() {
    Follow_Axis();
    if (Peak_Data.tracking && !Zero_Span_Axis() && At(Marker_Data.on, Active_Marker())) Track_Peak();
    if (Global_Table & table_peak) SelectTraceForPeakSearch();
    if (!Sys_Data.tracking_normalised) {
        for (int marker = 0; marker < markers; ++marker) At(Marker_Data.vswr, marker) = 0;
    }
    const int marker = Active_Marker();
    if (const int trace = Marker_Own_Trace(marker); trace >= 0) {
        Marker_noiseaverage(At(Marker_Data.column, marker), At(Marker_Data.delta_column, marker),
                            Trace_Data[Screen()].value[static_cast<std::size_t>(trace)]);
    }
    Follow_Counter();
    Show_Markers();
}
