#include "trace/noise_level.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "records/bw.h"
#include "records/freqs.h"
#include "records/sweep.h"
#include "records/trace.h"
#include "sweep/bandwidth.h"

namespace {

/// Levels of noise in dB above its power: the mean of the levels, and those of the mean voltage and the mean power.
struct Noise_Levels {
    double log, voltage, power;

    double Of(int type) const { return type == average_power ? power : type == average_voltage ? voltage : log; }
    Noise_Levels operator*(double part) const { return {log * part, voltage * part, power * part}; }
    Noise_Levels operator+(const Noise_Levels& other) const {
        return {log + other.log, voltage + other.voltage, power + other.power};
    }
};


/// Of Gaussian noise behind the Gaussian filter and a first-order video filter that works on levels, simulated; peaks of
/// two values in 1/RBW.
constexpr std::array<double, 7> video_ratios{0.001, 0.01, 0.1, 0.3, 1, 3, 10};  ///< VBW over RBW
constexpr std::array<double, 6> stays{0.3, 1, 3, 10, 30, 100};                 ///< of a point, in 1/RBW
constexpr std::array<Noise_Levels, video_ratios.size()> of_samples{{{-2.51, -2.51, -2.50}, {-2.51, -2.48, -2.45},
    {-2.51, -2.24, -1.99}, {-2.51, -1.88, -1.32}, {-2.51, -1.36, -0.44}, {-2.51, -1.11, -0.07},
    {-2.51, -1.05, -0.01}}};
using Peak_Levels = std::array<std::array<Noise_Levels, stays.size()>, video_ratios.size()>;
constexpr Peak_Levels of_positive_peaks{{
    {{{-2.51, -2.51, -2.50}, {-2.50, -2.50, -2.50}, {-2.49, -2.49, -2.48}, {-2.46, -2.46, -2.45},
      {-2.41, -2.41, -2.41}, {-2.33, -2.33, -2.32}}},
    {{{-2.51, -2.48, -2.45}, {-2.45, -2.42, -2.39}, {-2.31, -2.28, -2.25}, {-2.04, -2.02, -1.99},
      {-1.69, -1.67, -1.65}, {-1.24, -1.23, -1.22}}},
    {{{-2.51, -2.24, -1.99}, {-2.00, -1.76, -1.53}, {-0.89, -0.72, -0.56}, {0.45, 0.54, 0.64}, {1.49, 1.55, 1.60},
      {2.38, 2.41, 2.45}}},
    {{{-2.51, -1.88, -1.32}, {-1.27, -0.79, -0.36}, {0.81, 1.06, 1.31}, {2.64, 2.77, 2.89}, {3.87, 3.94, 4.01},
      {4.89, 4.93, 4.98}}},
    {{{-2.51, -1.36, -0.44}, {-0.23, 0.44, 1.04}, {2.53, 2.82, 3.10}, {4.55, 4.69, 4.83}, {5.85, 5.93, 6.01},
      {6.93, 6.97, 7.02}}},
    {{{-2.51, -1.11, -0.07}, {0.22, 0.93, 1.54}, {3.09, 3.39, 3.67}, {5.12, 5.26, 5.39}, {6.42, 6.50, 6.58},
      {7.50, 7.54, 7.59}}},
    {{{-2.51, -1.05, -0.01}, {0.30, 1.02, 1.63}, {3.18, 3.47, 3.75}, {5.20, 5.34, 5.47}, {6.50, 6.57, 6.65},
      {7.57, 7.62, 7.67}}}}};
constexpr Peak_Levels of_negative_peaks{{
    {{{-2.51, -2.51, -2.50}, {-2.51, -2.51, -2.51}, {-2.53, -2.53, -2.52}, {-2.56, -2.56, -2.55},
      {-2.61, -2.60, -2.60}, {-2.69, -2.69, -2.69}}},
    {{{-2.51, -2.48, -2.45}, {-2.57, -2.54, -2.51}, {-2.71, -2.68, -2.65}, {-2.99, -2.96, -2.93},
      {-3.36, -3.34, -3.32}, {-3.86, -3.84, -3.82}}},
    {{{-2.51, -2.24, -1.99}, {-3.02, -2.76, -2.51}, {-4.21, -3.98, -3.76}, {-5.84, -5.66, -5.50},
      {-7.27, -7.15, -7.03}, {-8.65, -8.56, -8.47}}},
    {{{-2.51, -1.88, -1.32}, {-3.74, -3.13, -2.56}, {-6.22, -5.73, -5.28}, {-8.90, -8.56, -8.24},
      {-11.05, -10.79, -10.55}, {-13.11, -12.90, -12.72}}},
    {{{-2.51, -1.36, -0.44}, {-4.78, -3.64, -2.69}, {-8.71, -7.80, -7.02}, {-12.54, -11.89, -11.32},
      {-15.55, -15.04, -14.59}, {-18.48, -18.07, -17.71}}},
    {{{-2.51, -1.11, -0.07}, {-5.24, -3.79, -2.68}, {-9.88, -8.57, -7.54}, {-14.70, -13.59, -12.69},
      {-18.73, -17.78, -17.02}, {-22.77, -21.96, -21.31}}},
    {{{-2.51, -1.05, -0.01}, {-5.32, -3.78, -2.65}, {-10.17, -8.67, -7.57}, {-15.43, -13.99, -12.93},
      {-20.16, -18.75, -17.72}, {-25.31, -23.92, -22.92}}}}};

constexpr double of_holds = -2.5;
constexpr double neper = 4.342944819032518;  ///< 10 / ln 10
constexpr double independent_powers = 1.505;  ///< of noise behind the Gaussian filter, in 1/RBW

/// A place between the entries of a table that rise by about as much each; held to its ends.
struct Place {
    std::size_t below;
    double part;
};
template <std::size_t n>
Place Place_In(const std::array<double, n>& entries, double value) {
    std::size_t below = 0;
    while (below + 2 < n && value > entries[below + 1]) ++below;
    const double part = std::log(value / entries[below]) / std::log(entries[below + 1] / entries[below]);
    return {below, std::clamp(part, 0.0, 1.0)};
}

template <class Table>
auto Between(const Table& table, Place place) {
    return table[place.below] * (1 - place.part) + table[place.below + 1] * place.part;
}

Noise_Levels Of_Peaks(const Peak_Levels& table, Place ratio, Place stay) {

      return Between(table[ratio.below], stay) * (1 - ratio.part) + Between(table[ratio.below + 1], stay) * ratio.part;
}

/// Levels of the mean of so many independent powers.
Noise_Levels Of_Mean_Power(double count) {
    return {-neper * (1 / (2 * count) + 1 / (12 * count * count)), -neper / (4 * count), 0};
}

/// Sweeps in the average that stands on the trace; it goes on as a running one.
double Averaged_Sweeps(const Trace_Record& record, std::size_t trace) {
    const double k = record.average_counter[trace], n = record.average_number[trace];
    return k < n ? std::max(k - 1, 1.0) : 2 * n - 1;
}


    /// How long the signal at one frequency is looked at in a point: its time, or what it sees of a wider band, in 1/RBW.
double Stay_Of_A_Point(double rbw) {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    return std::max(Sweep_Data.time[screen] / trace_points * rbw, Freqs.span[screen] / trace_points / rbw);
}

}  // namespace

double Noise_Above_Its_Power(std::size_t trace, int column) {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    const Trace_Record& record = Trace_Data[screen];
    if (record.mode[trace] == trace_max_hold || record.mode[trace] == trace_min_hold) return of_holds;
    const double rbw = RBW_3dB_Width(BW_Data.rbw[screen]), stay = std::max(Stay_Of_A_Point(rbw), stays.front());
    const Place ratio = Place_In(video_ratios, Int_VBW_Transfer(BW_Data.vbw[screen]) / rbw);
    const Place long_ago = Place_In(stays, stay);
    int detector = record.detector[trace];
    if (detector == detector_normal) detector = column % 2 == 0 ? detector_negative : detector_positive;
    Noise_Levels levels = Between(of_samples, ratio);
    if (detector == detector_average) levels = Of_Mean_Power(1 + independent_powers * stay);
    if (detector == detector_positive) levels = Of_Peaks(of_positive_peaks, ratio, long_ago);
    if (detector == detector_negative) levels = Of_Peaks(of_negative_peaks, ratio, long_ago);
    if (!record.average_on[trace]) return levels.log;
    const double whole = levels.Of(AvgType);
    return whole + (levels.log - whole) / Averaged_Sweeps(record, trace);
}
