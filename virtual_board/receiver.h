#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "virtual_board/input.h"
#include "virtual_board/iq_loop.h"
#include "virtual_board/random.h"

/// The receiver model: attenuator, noisy front end, resolution and video filters, detectors.
///
/// All randomness hangs on the seed and on simulated time, none on how the calls are spread.
namespace virtual_board {

/// What one sweep is made with. All values are finite and in range; Core checks them.
struct Sweep_Settings {
    double start_hz = 0.0;  ///< centre of the first point
    double stop_hz = 0.0;   ///< centre of the last point; equal to start_hz in zero span
    double rbw_hz = 1e6;    ///< 3 dB width
    double vbw_hz = 1e6;
    std::int64_t time_ns = 1'000'000;
    double attenuation_db = 0.0;
    bool preamplifier = false;
    bool fft = false;
    int points = 601;
    int steps = 601;  ///< measurement steps of the sweep

    bool operator==(const Sweep_Settings&) const = default;
};

/// dBm. Average is the mean power, the others are of the log envelope behind the video filter.
struct Point_Values {
    double positive = -400.0;
    double negative = -400.0;
    double sample = -400.0;
    double average = -400.0;

    bool operator==(const Point_Values&) const = default;
};

/// Index of the sweep message to hertz (3 dB width). Any index outside the table is 300 kHz.
double Rbw_Hertz(int index, bool emi);
/// Any index outside the table is 1 MHz.
double Vbw_Hertz(int index);

/// Noise figure in dB: 24 (12 with the preamplifier) from 1 MHz to 2.5 GHz, 3 dB more at 0 Hz and at 3.25 GHz.
double Noise_Figure(double frequency_hz, bool preamplifier);

/// Local-oscillator feed-through seen at 0 Hz with 0 dB of attenuation, dBm.
constexpr double feedthrough_dbm = -35.0;

/// The part of the receiver that all its ways of measuring share: what noise and which lines there are.
struct Front_End {
    std::shared_ptr<const Input> input;
    std::uint64_t seed = 1;
    Sweep_Settings settings;
    double even_noise = 0.0;  ///< mW: the receiver's own where the noise figure is even, see Set

    void Set(const Sweep_Settings& new_settings);
    /// Mean noise power behind the resolution filter, mW: the receiver's own and the input's.
    double Noise_Power(double frequency_hz) const;
    /// The feed-through as a line at the input.
    Line Feedthrough() const;
    /// Width of one point, Hz.
    double Point_Width() const;
    double Point_Center(int point) const { return settings.start_hz + Point_Width() * point; }
};

/// Power in mW of noise alone joined by a steady signal, and how far one value may stand for several.
struct Envelope_Value {
    double power;         ///< |signal + noise|^2, mW
    double signal_power;  ///< mW
    double noise_power;   ///< mean of the noise, mW
};

/// Gathers the values of one point.
class Point_Detector {
public:
    /// independent: number of independent noise values that each value stands for (at least 1). Average and video
    /// filter see the noise that much quieter.
    void Add(const Envelope_Value& value, double independent);
    /// As Add, with a value in dBm that has passed the video filter.
    void Add_Filtered(const Envelope_Value& value, double independent, double filtered_dbm);
    bool Empty() const { return count == 0; }
    Point_Values Values() const;

private:
    void Add_Average(const Envelope_Value& value, double independent);

    double max_power = 0.0, min_power = 0.0, last_power = 0.0;
    double max_dbm = 0.0, min_dbm = 0.0, last_dbm = 0.0;
    double sum = 0.0;
    long count = 0;
    bool filtered = false;
};

/// Log envelope in dBm with its noise made quieter, as the mean of that many independent values would be.
double Quieted_Dbm(const Envelope_Value& value, double independent);

class Fft_Analysis;

class Receiver {
public:
    Receiver(std::shared_ptr<const Input> input, std::uint64_t seed);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// Takes new settings. The next call is Begin_Sweep.
    void Configure(const Sweep_Settings& settings);
    /// Starts a sweep at a simulated time.
    void Begin_Sweep(std::int64_t start_ns);
    /// The next point of the sweep; points are measured in their order from 0 on.
    Point_Values Measure(int point);

    const Sweep_Settings& Settings() const { return front_end.settings; }

    /// Computing time spent on points so far: an estimate in ns from counts, the same on every machine.
    double Work_Ns() const;

private:
    void Prepare_Swept();
    void Prepare_Noise();
    std::complex<double> Signal(double frequency_hz, std::int64_t time_ns, std::span<const Line> lines);
    void Fill_Noise(int point, std::int64_t first_ns);

    Front_End front_end;
    bool configured = false;
    std::int64_t sweep_start_ns = 0;

    int values_per_point = 1;
    double value_spacing_ns = 1.0;
    Line feedthrough;
    bool noise_varies = false;  ///< within the sweep
    double steady_noise = 0.0;  ///< mW, where it doesn't
    std::vector<double> noise_taps;
    std::vector<std::complex<double>> white, noise;

    std::optional<Iq_Loop> zoomed;
    double zoomed_center = 0.0, zoomed_width = 0.0;
    std::optional<Loop_Filter> loop_filter;

    std::optional<double> video_dbm;  ///< state of the video filter
    double work_ns = 0.0;

    std::unique_ptr<Fft_Analysis> fft_analysis;
};

}  // namespace virtual_board
