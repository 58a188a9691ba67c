#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

/// Detectors: how the many envelope values of one point become the numbers of one point.
namespace virtual_board {

/// dBm. Average is the mean power; positive, negative and sample are of the log envelope behind the video filter;
/// quasi-peak and EMI average are as a CISPR 16-1-1 receiver indicates them.
struct Point_Values {
    double positive = -400.0;
    double negative = -400.0;
    double sample = -400.0;
    double average = -400.0;
    double quasi_peak = -400.0;
    double emi_average = -400.0;

    bool operator==(const Point_Values&) const = default;
};

/// Power in mW of noise alone joined by a steady signal, and how far one value may stand for several.
struct Envelope_Value {
    double power;         ///< |signal + noise|^2, mW
    double signal_power;  ///< mW
    double noise_power;   ///< mean of the noise, mW
};

/// What a video filter as wide as the resolution filter, or three times as wide, makes of single noise values: they
/// are drawn anew from the distribution behind the filter, each at its own quantile. The filter fills the brief nulls
/// of the envelope; the mean of the log stays. A wider filter leaves the values alone. Its effect fades where a steady
/// signal is stronger than the noise.
class Video_Map {
public:
    Video_Map(double vbw_hz, double rbw_hz);
    double Filtered_Power(const Envelope_Value& value) const;

private:
    const double* table = nullptr;
};

/// CISPR 16-1-1: time constants of the quasi-peak detector and of the critically damped meter, s.
struct Weighting {
    double charge, discharge, meter;
    double resistance;         ///< of the charging path, such that a step reaches 63 % after the charge time
    double carrier_end = 1.0;  ///< a steady carrier's end value

    bool operator==(const Weighting&) const = default;
};

/// Of bands A, B, C and D by the EMI filter where one is set, else by the frequency. Above 1 GHz, where quasi-peak is
/// not defined, that of bands C and D. rbw_hz is the 3 dB width.
Weighting Weighting_Of(double frequency_hz, double rbw_hz, bool emi_filters);

/// How often the envelope stands at which level, in classes of 3 dB.
class Envelope_Histogram {
public:
    void Add(double power_mw);
    /// Where the quasi-peak detector's capacitor comes to rest when these levels go on for ever in quick turn,
    /// sqrt(mW).
    double Balanced_Peak(const Weighting& weighting) const;
    /// Mean envelope, sqrt(mW).
    double Mean_Envelope() const;

private:
    static constexpr std::size_t classes = 128;
    std::array<double, classes> power{};
    std::array<std::uint32_t, classes> count{};
    std::size_t lowest = classes, highest = 0;
    std::uint64_t total = 0;
};

/// Quasi-peak detector and EMI average with their meters, run over an envelope in time.
class Weighting_Network {
public:
    /// step_s: spacing of the envelope values.
    Weighting_Network(const Weighting& weighting, double step_s);
    /// Starts as after a long time with these levels.
    void Settle(const Envelope_Histogram& levels);
    void Step(double envelope);
    /// Highest indications since the last call, dBm.
    double Take_Quasi_Peak();
    double Take_Emi_Average();

private:
    Weighting weighting;
    double charge_step, meter_follow, scale;
    int substeps = 1;
    double discharge_left = 1.0;
    double capacitor = 0.0;
    std::array<double, 2> peak_meter{}, average_meter{};
    double highest_peak = 0.0, highest_average = 0.0;
};

/// Gathers the values of one point.
class Point_Detector {
public:
    /// independent: number of independent noise values that each value stands for (at least 1). Average and video
    /// filter see the noise that much quieter.
    void Add(const Envelope_Value& value, double independent, const Video_Map& video);
    /// As Add, with a value in dBm that has passed the video filter.
    void Add_Filtered(const Envelope_Value& value, double independent, double filtered_dbm);
    bool Empty() const { return count == 0; }
    /// Quasi-peak and EMI average as if the point's levels went on for ever.
    Point_Values Values(const Weighting& weighting) const;
    const Envelope_Histogram& Levels() const { return levels; }

private:
    void Add_Average(const Envelope_Value& value, double independent);

    double max_power = 0.0, min_power = 0.0, last_power = 0.0;
    double max_dbm = 0.0, min_dbm = 0.0, last_dbm = 0.0;
    double sum = 0.0;
    long count = 0;
    bool filtered = false;
    Envelope_Histogram levels;
};

/// Log envelope in dBm with its noise made quieter, as the mean of that many independent values would be.
double Quieted_Dbm(const Envelope_Value& value, double independent);

}  // namespace virtual_board
