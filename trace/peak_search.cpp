#include "trace/peak_search.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "records/amp.h"
#include "records/analysis.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/keystate.h"
#include "sweep/bandwidth.h"
#include "trace/marker_display.h"
#include "trace/markers.h"
#include "trace/scale.h"

namespace {

constexpr int last_column = trace_points - 1, source_typed = 2;
constexpr int settings_conflict = -221, execution_error = -200;
constexpr double lowest_threshold = -130, highest_threshold = 30, widest_excursion = 100;

using Values = std::array<float, trace_points>;

/// The values that were searched last.
Values searched;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
std::size_t Marker_Index(int marker) { return static_cast<std::size_t>(marker); }
float Value(int column) { return searched[static_cast<std::size_t>(column)]; }
float Difference(int column) { return Value(column + 1) - Value(column); }

/// Frequency of a peak: the axis is taken as 601 steps.
double Peak_Frequency(int column) { return Freqs.start[Screen()] + column * Freqs.span[Screen()] / trace_points; }

double Lowest_Peak() {
    if (!Peak_Data.threshold_on) return -200;
    const float level = FunctionMode_Flag == mode_fsk ? Peak_Data.demod_threshold : Peak_Data.threshold;
    return static_cast<double>(level) - (Amp.attenuation[Screen()] - 10);
}

struct Candidates {
    std::array<std::int32_t, most_peaks> column{};
    std::size_t count = 0;
    void Add(int at) {
        if (count < column.size()) column[count++] = at;
    }
};

bool High_Enough(int column, double lowest) { return static_cast<double>(Value(column)) >= lowest; }

/// A plateau that reaches the end of the trace has no end to be a peak.
void Add_Inner_Candidates(Candidates& candidates, double lowest) {
    for (int i = 0; i < last_column - 1; ++i) {
        if (!(Difference(i) > 0 && Difference(i + 1) <= 0)) continue;
        int run = 0;
        while (i + 1 < last_column && Difference(i + 1) == 0) {
            ++run;
            ++i;
        }
        if (i + 1 >= last_column || !(Difference(i + 1) < 0)) continue;
        const int peak = i - run / 2 + 1;
        if (High_Enough(peak, lowest) && Peak_Frequency(i) > Peak_Excludenum) candidates.Add(peak);
    }
}

/// True when the trace falls by the excursion on one side before it rises above the peak. The outermost column is not
/// compared.
bool Passes(int peak, int step) {
    const auto excursion = static_cast<double>(Peak_Data.excursion);
    for (int j = peak + step; j >= 1 && j < last_column; j += step) {
        const double drop = static_cast<double>(Value(peak)) - static_cast<double>(Value(j));
        if (drop >= excursion) return true;
        if (drop < 0) return false;
    }
    return true;
}

/// The highest first, of equal ones the lower column. Peaks are numbers: what is none is below every threshold.
void Sort_By_Amplitude(std::span<std::int32_t> columns) {
    std::sort(columns.begin(), columns.end(), [](std::int32_t a, std::int32_t b) {
        return Value(a) > Value(b) || (Value(a) == Value(b) && a < b);
    });
}

/// Slots beyond the count keep what an earlier search left, and are sorted with the others.
void Fill_Table() {
    auto& column = Peak_Data.table_column;
    auto& level = Peak_Data.table_level;
    auto& frequency = Peak_Data.table_frequency[Screen()];
    const int count = std::min(Peak_Data.count, table_peaks);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        column[i] = Peak_Data.by_amplitude[i];
        frequency[i] = Peak_Frequency(column[i]);
        const auto dbm = static_cast<double>(Value(column[i]));
        level[i] = std::isfinite(dbm) ? static_cast<std::int32_t>(std::clamp(dbm, -1e6, 1e6)) : 0;
    }
    if (Peak_Data.by_level) return;
    for (std::size_t i = 0; i + 1 < table_peaks; ++i) {
        for (std::size_t j = i + 1; j < table_peaks; ++j) {
            if (column[j] >= column[i]) continue;
            std::swap(column[i], column[j]);
            std::swap(frequency[i], frequency[j]);
            std::swap(level[i], level[j]);
        }
    }
}

/// The trace that the active marker reads, null for none that is shown.
const Values* Trace_To_Search() {
    const int trace = FunctionMode_Flag == mode_ask || FunctionMode_Flag == mode_fsk ? -1 : Marker_Trace(Active_Marker());
    Peak_Data.trace = trace;
    return trace < 0 ? nullptr : &Trace_Data[Screen()].value[static_cast<std::size_t>(trace)];
}

/// Hard keys wait while the search looks near 0 Hz.
class Near_Dc_Search {
public:
    explicit Near_Dc_Search(bool near) { Near_DC_Search_Flag = near; }
    ~Near_Dc_Search() { Near_DC_Search_Flag = 0; }
    Near_Dc_Search(const Near_Dc_Search&) = delete;
    Near_Dc_Search& operator=(const Near_Dc_Search&) = delete;
};

int Position_Of(int column) {
    const auto end = Peak_Data.accepted.begin() + Peak_Data.count;
    return static_cast<int>(std::find(Peak_Data.accepted.begin(), end, column) - Peak_Data.accepted.begin());
}
int Rank_Of(int column) {
    const auto end = Peak_Data.by_amplitude.begin() + Peak_Data.count;
    return static_cast<int>(std::find(Peak_Data.by_amplitude.begin(), end, column) - Peak_Data.by_amplitude.begin());
}

/// First peak right of a column, else the last one; and to the left.
int Peak_Right_Of(int column) {
    for (int i = 0; i < Peak_Data.count; ++i) {
        const int peak = Peak_Data.accepted[static_cast<std::size_t>(i)];
        if (peak > column) return peak;
    }
    return Peak_Data.accepted[static_cast<std::size_t>(Peak_Data.count - 1)];
}
int Peak_Left_Of(int column) {
    for (int i = Peak_Data.count - 1; i >= 0; --i) {
        const int peak = Peak_Data.accepted[static_cast<std::size_t>(i)];
        if (peak < column) return peak;
    }
    return Peak_Data.accepted[0];
}

int Next_Lower(int marker) {
    const int rank = std::clamp(Peak_Data.rank[Marker_Index(marker)] + 1, 0, Peak_Data.count - 1);
    return Peak_Data.by_amplitude[static_cast<std::size_t>(rank)];
}

/// The column that a step leads to from the marker's peak in the list before the new search.
int Chosen_Peak(int marker, Peak_Step step, int column_before) {
    switch (step) {
        case Peak_Step::next: return Next_Lower(marker);
        case Peak_Step::right: return Peak_Right_Of(column_before);
        case Peak_Step::left: return Peak_Left_Of(column_before);
        default: return Peak_Data.by_amplitude[0];
    }
}

void Move_By_Step(int marker, Peak_Step step, double place) {
    switch (step) {
        case Peak_Step::next: return Set_Peak_Next(marker, place);
        case Peak_Step::right: return Set_Peak_Right(marker, place);
        case Peak_Step::left: return Set_Peak_Left(marker, place);
        default: return Set_Peak_Marker(marker, place);
    }
}

void Show_Peak_Settings() {
    if (Global_Table & table_peak) SelectTraceForPeakSearch();
    Show_Markers();
    Redraw_Keys();
}

}  // namespace

void PeakSearch_Init() {
    Peak_Data = {};
    searched.fill(0);
}

void SelectTraceForPeakSearch() {
    if (const Values* values = Trace_To_Search()) {
        Cal_Peak_Search(*values);
    } else {
        Peak_Data.count = 0;
    }
}

int SelectTraceForPeakMin() {
    const Values* values = Trace_To_Search();
    if (!values) return -1;
    const int column = Ext_Peak_Min(*values);
    return std::isnan((*values)[static_cast<std::size_t>(column)]) ? -1 : column;
}

void Cal_Peak_Search(const Values& values) {
    Peak_Excludenum = Int_RBW_Transfer(BW_Data.rbw[Screen()]) / 2;
    const Near_Dc_Search near(Freqs.start[Screen()] <= Peak_Excludenum);
    searched = values;
    Peak_Data.count = 0;
    const double lowest = Lowest_Peak();
    Candidates candidates;
    if (Difference(0) < 0 && High_Enough(0, lowest) && Freqs.start[Screen()] > Peak_Excludenum) candidates.Add(0);
    Add_Inner_Candidates(candidates, lowest);
    if (Difference(last_column - 1) > 0 && High_Enough(last_column, lowest) &&
        Peak_Frequency(last_column) > Peak_Excludenum) {
        candidates.Add(last_column);
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < candidates.count; ++i) {
        const int peak = candidates.column[i];
        if (Passes(peak, -1) && Passes(peak, 1)) Peak_Data.accepted[count++] = peak;
    }
    Peak_Data.count = static_cast<std::int32_t>(count);
    std::copy_n(Peak_Data.accepted.begin(), count, Peak_Data.by_amplitude.begin());
    Sort_By_Amplitude({Peak_Data.by_amplitude.data(), count});
    Fill_Table();
}

int Ext_Peak_Max(const Values& values) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (values[i] > values[best]) best = i;
    }
    return static_cast<int>(best);
}

int Ext_Peak_Min(const Values& values) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (values[i] < values[best]) best = i;
    }
    return static_cast<int>(best);
}

int Search_Peak(int marker, Peak_Step step) {
    Set_Marker_State(marker, true);
    const auto index = Marker_Index(marker);
    if (step == Peak_Step::lowest) {
        const int column = SelectTraceForPeakMin();
        if (column < 0) return execution_error;
        Set_Peak_Marker(marker, Column_Place(column));
        return 0;
    }
    const int position = std::clamp(Peak_Data.position[index], 0, most_peaks - 1);
    const int column_before = Peak_Data.accepted[static_cast<std::size_t>(position)];
    SelectTraceForPeakSearch();
    if (Peak_Data.count == 0) return execution_error;
    const int column = Chosen_Peak(marker, step, column_before);
    Peak_Data.position[index] = Position_Of(column);
    Peak_Data.rank[index] = Rank_Of(column);
    Move_By_Step(marker, step, Column_Place(column));
    return 0;
}

void Set_Peak_Marker(int marker, double place) { Cal_Marker_Move(marker, Marker_Base() + place); }
void Set_Peak_Next(int marker, double place) { Cal_Marker_Move(marker, Marker_Base() + place); }
void Set_Peak_Right(int marker, double place) { Cal_Marker_Move(marker, Marker_Base() + place); }
void Set_Peak_Left(int marker, double place) { Cal_Marker_Move(marker, Marker_Base() + place); }

void Track_Peak() {
    const int marker = Active_Marker();
    SelectTraceForPeakSearch();
    if (Peak_Data.count == 0) return;
    const int column = Peak_Data.by_amplitude[0];
    Peak_Data.position[Marker_Index(marker)] = Position_Of(column);
    Peak_Data.rank[Marker_Index(marker)] = 0;
    const double place = Column_Place(column) + Marker_Base();
    if (place != Moved_Place(marker)) Cal_Marker_Move(marker, place);
}

int Set_Peak_Track(bool on) {
    if (on && Zero_Span_Axis()) return settings_conflict;
    Peak_Data.tracking = on;
    if (on) {
        Set_Marker_State(Active_Marker(), true);
        Track_Peak();
    }
    Redraw_Keys();
    return 0;
}

void Cal_Peak_Excursion(int source, double value) {
    if (source != source_typed) value = static_cast<double>(Peak_Data.excursion) + Pending_Steps();
    if (std::isnan(value)) return;
    Peak_Data.excursion = static_cast<float>(std::clamp(value, 0.0, widest_excursion));
}

int Set_Peak_Excursion(int source, double value) {
    Cal_Peak_Excursion(source, value);
    Show_Peak_Settings();
    return 0;
}

int Set_Peak_Threshold(int source, double dbm) {
    if (source != source_typed) dbm = static_cast<double>(Peak_Data.threshold) + Pending_Steps();
    if (std::isnan(dbm)) return 0;
    Peak_Data.threshold = static_cast<float>(std::clamp(dbm, lowest_threshold, highest_threshold) + 0.0);  // no -0
    Show_Peak_Settings();
    return 0;
}

int Set_Peak_Threshold_State(bool on) {
    Peak_Data.threshold_on = on;
    Show_Peak_Settings();
    return 0;
}

int Set_Peak_Order(bool by_level) {
    Peak_Data.by_level = by_level;
    Show_Peak_Settings();
    return 0;
}

int Peak_Table_Rows(std::array<Peak_Row, 10>& rows) {
    const auto count = static_cast<std::size_t>(std::clamp(Peak_Data.count, 0, table_peaks));
    const double base = Marker_Base(), offset = Shown_Level_Offset();
    for (std::size_t i = 0; i < count; ++i) {
        const int column = Peak_Data.by_amplitude[i];
        const double place = Zero_Span_Axis() ? Column_Place(column) : Peak_Frequency(column);
        rows[i] = {column, place + base, static_cast<double>(Value(column)) + offset};
    }
    if (!Peak_Data.by_level) {
        std::sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(count),
                  [](const Peak_Row& a, const Peak_Row& b) { return a.column < b.column; });
    }
    return static_cast<int>(count);
}
