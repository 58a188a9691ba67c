#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "virtual_board/detectors.h"
#include "virtual_board/front_end.h"
#include "virtual_board/iq_loop.h"
#include "virtual_board/line_bank.h"
#include "virtual_board/random.h"

/// The receiver model: attenuator, noisy front end, resolution and video filters, detectors.
///
/// All randomness hangs on the seed and on simulated time, none on how the calls are spread.
namespace virtual_board {

/// Index of the sweep message to hertz (3 dB width). Any index outside the table is 300 kHz.
double Rbw_Hertz(int index, bool emi);
/// Any index outside the table is 1 MHz.
double Vbw_Hertz(int index);

class Fft_Analysis;

class Receiver {
public:
    Receiver(std::shared_ptr<const Input> input, std::uint64_t seed);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// Takes new settings. The next call is Begin_Sweep.
    void Configure(const Sweep_Settings& settings);
    /// Starts a sweep at a simulated time. One that is not fresh goes on where the last one ended: its video filter stands
    /// as it was.
    void Begin_Sweep(std::int64_t start_ns, bool fresh = true);
    /// The next point of the sweep; points are measured in their order from 0 on.
    Point_Values Measure(int point);

    /// Counts the strongest signal behind the resolution filter at a frequency within a time.
    struct Count_Result {
        double frequency_hz;  ///< its mean frequency
        double ratio_db;      ///< its power over that of the noise
    };
    Count_Result Count(double frequency_hz, std::int64_t start_ns, std::int64_t gate_ns);
    /// Values of a point that follow each other evenly in time.
    struct Run {
        std::size_t first, count;
        std::int64_t first_ns;  ///< simulated time of the first of them
    };
    /// As Measure, where the time of the values is not even: runs of all values of a point in their order. Not by FFT.
    Point_Values Measure(int point, std::span<const Run> runs);
    std::size_t Values_Per_Point() const { return static_cast<std::size_t>(values_per_point); }
    double Value_Spacing_Ns() const { return value_spacing_ns; }
    bool By_Fft() const { return fft_analysis != nullptr; }

    const Sweep_Settings& Settings() const { return front_end.settings; }

    /// Computing time spent on points so far: an estimate in ns from counts, the same on every machine.
    double Work_Ns() const;

private:
    void Prepare_Swept();
    void Prepare_Recording();
    void Prepare_Noise();
    void Gather_Lines(double low_hz, double high_hz);
    bool Zero_Span() const { return front_end.settings.stop_hz <= front_end.settings.start_hz; }
    std::complex<double> Uneven_Signal(double frequency_hz, std::int64_t time_ns);
    void Fill_Noise(int point, std::int64_t first_ns);
    void Fill_Signals(int point, std::span<const Run> runs);
    void Settle_Network();
    void Run_Network(Point_Values& values);
    std::complex<double> Standing_Envelope(double frequency_hz, std::int64_t time_ns) const;

    Front_End front_end;
    bool configured = false;
    std::int64_t sweep_start_ns = 0;

    int values_per_point = 1;
    double value_spacing_ns = 1.0;
    bool noise_varies = false;  ///< within the sweep
    double steady_noise = 0.0;  ///< mW, where it doesn't
    std::vector<double> noise_taps;
    std::vector<std::complex<double>> white, noise, signals;
    Line_Bank bank;                ///< of the present point, or of the whole zero span
    std::uint64_t tuned_step = 0;  ///< in zero span, see Line_Bank

    Weighting weighting{};
    std::optional<Weighting_Network> network;  ///< where a point lasts long enough, or in zero span
    std::vector<double> envelopes;             ///< of a point, for the network
    std::optional<std::int64_t> network_ns;    ///< in zero span, the time that the network stands at

    std::optional<Iq_Loop> zoomed;
    double zoomed_center = 0.0, zoomed_width = 0.0;
    std::optional<Loop_Filter> loop_filter;

    bool video_runs = false;          ///< the video filter is run over the values in time
    Video_Map video_map{1e6, 1e6};    ///< where it doesn't
    std::optional<double> video_dbm;  ///< state of the video filter
    double work_ns = 0.0;

    std::unique_ptr<Fft_Analysis> fft_analysis;
};

}  // namespace virtual_board
