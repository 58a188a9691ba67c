// What the markers read.

#include <cmath>
#include <limits>

#include "keys/level_units.h"
#include "platform/sample_memory.h"
#include "records/amp.h"
#include "records/normalisation.h"
#include "records/sys.h"
#include "sweep/bandwidth.h"
#include "sweep/counter.h"
#include "trace/markers.h"
#include "trace/noise_level.h"
#include "trace/scale.h"

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();
constexpr int noise_columns = 15, last_column = trace_points - 1;
constexpr double noise_bandwidth_factor = 1.15, log_average_correction = 2.5;  ///< the latter in dB
constexpr double least_counter_ratio = 25;                                      ///< dB

using Values = std::array<float, trace_points>;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

template <class Value>
Value At(const Per_Marker<Value>& field, int marker) {
    return field[static_cast<std::size_t>(marker)][Screen()];
}

const Values* Trace_Values_Of(int trace) {
    return trace < 0 ? nullptr : &Trace_Data[Screen()].value[static_cast<std::size_t>(trace)];
}

/// The trace under the marker itself and under its delta partner; null where there is none or the place is off the axis.
const Values* Under_Marker(int marker) {
    if (!At(Marker_Data.on, marker) || !Marker_On_Axis(marker)) return nullptr;
    return Trace_Values_Of(Marker_Own_Trace(marker));
}
const Values* Under_Delta(int marker) {
    if (!At(Marker_Data.on, marker) || !At(Marker_Data.delta, marker) || !Delta_On_Axis(marker)) return nullptr;
    return Trace_Values_Of(Marker_Trace(marker));
}

double Shown(const Values* values, std::int32_t column) {
    return values ? static_cast<double>((*values)[static_cast<std::size_t>(column)]) + Shown_Level_Offset() : none;
}

/// A level in the amplitude unit where that is one of dB.
double In_Decibels(double dbm) {
    return Amp.unit == unit_dbmv || Amp.unit == unit_dbuv ? AmplUnitTrans(dbm, Amp.unit, 1) : dbm;
}

/// Mean around a column of what each column gives: up to 15 to each side, the middle one counted twice.
template <class Of_Column>
double Mean_Around(int column, Of_Column&& of_column) {
    double sum = 0;
    int count = 0;
    for (int offset = 0; offset < noise_columns; ++offset) {
        for (const int place : {column + offset, column - offset}) {
            if (place < 0 || place > last_column) continue;
            sum += of_column(place);
            ++count;
        }
    }
    return sum / count;
}

double Bandwidth_Decibels(double rbw) { return 10 * std::log10(noise_bandwidth_factor * rbw); }

/// Density around a column in the amplitude unit, as of a log average.
double Density(int column, const Values& values) {
    const double mean = Mean_Around(column, [&](int place) { return In_Decibels(Shown(&values, place)); });
    return mean - Bandwidth_Decibels(Int_RBW_Transfer(BW_Data.rbw[Screen()])) + log_average_correction;
}

/// Density in dBm/Hz by what the trace's detector and average make of noise.
double Shown_Density(int column, int trace) {
    const Values& values = *Trace_Values_Of(trace);
    const auto index = static_cast<std::size_t>(trace);
    const std::array<double, 2> above{Noise_Above_Its_Power(index, 0), Noise_Above_Its_Power(index, 1)};
    const double mean = Mean_Around(column, [&](int place) {
        return Shown(&values, place) - above[static_cast<std::size_t>(place % 2)];
    });
    return mean - Bandwidth_Decibels(RBW_3dB_Width(BW_Data.rbw[Screen()]));
}

}  // namespace

double Marker_Level(int marker) { return Shown(Under_Marker(marker), At(Marker_Data.column, marker)); }

double Delta_Level(int marker) { return Shown(Under_Delta(marker), At(Marker_Data.delta_column, marker)); }

double Level_Difference(int marker) {
    if (At(Marker_Data.noise, marker)) return Delta_Noise_Level(marker) - Marker_Noise_Level(marker);
    return Delta_Level(marker) - Marker_Level(marker);
}

void Marker_noiseaverage(int column, int delta_column, const Values& values) {
    const int marker = Active_Marker();
    if (!At(Marker_Data.noise, marker)) return;
    Marker_NoiseValue[static_cast<std::size_t>(marker)] = Density(column, values);
    Marker_Delta_NoiseValue[static_cast<std::size_t>(marker)] = Density(delta_column, values);
}

double Marker_Noise_Level(int marker) {
    if (!Under_Marker(marker) || !At(Marker_Data.noise, marker)) return none;
    return Shown_Density(At(Marker_Data.column, marker), Marker_Own_Trace(marker));
}

double Delta_Noise_Level(int marker) {
    if (!Under_Delta(marker) || !At(Marker_Data.noise, marker)) return none;
    return Shown_Density(At(Marker_Data.delta_column, marker), Marker_Trace(marker));
}

double Marker_VSWR(int marker) {
    const Values* values = Under_Marker(marker);
    if (!values || !At(Marker_Data.vswr, marker) || !Sys_Data.tracking_normalised || CheckNormInit) return none;
    const auto column = static_cast<std::size_t>(At(Marker_Data.column, marker));
    const double return_loss = static_cast<double>(Normalisation_Trace[column]) - static_cast<double>((*values)[column]);
    if (!(return_loss > 0)) return none;
    const double reflection = std::pow(10, -return_loss / 20);
    return (1 + reflection) / (1 - reflection);
}

double Marker_Count(int marker) {
    if (!At(Marker_Data.on, marker) || !At(Marker_Data.counter, marker) || !Marker_Data.counter_sent.on) return none;
    if (!DSP_Trace_Data) return none;
    const double hertz = platform::Load_Element(DSP_Trace_Data, platform::counter_frequency);
    const double ratio = platform::Load_Element(DSP_Trace_Data, platform::counter_ratio);
    if (!(hertz > 0 && std::isfinite(hertz)) || !(ratio >= least_counter_ratio)) return none;
    const double resolution = Marker_Data.counter_sent.resolution;
    return std::round(hertz / resolution) * resolution + Marker_Base();
}

void Follow_Counter() {
    Counter_Order order;
    for (int marker = 0; marker < markers; ++marker) {
        if (!At(Marker_Data.on, marker) || !At(Marker_Data.counter, marker)) continue;
        if (Zero_Span_Axis() || !Marker_On_Axis(marker)) continue;
        order = {true, Marker_Place(marker) - Marker_Base(), Marker_Resolution()};
    }
    if (order == Marker_Data.counter_sent) return;
    Marker_Data.counter_sent = order;
    LOOP_SetTrans_Counter(order);
}
