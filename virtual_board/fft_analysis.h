#pragma once
#include <complex>
#include <cstdint>
#include <optional>
#include <vector>

#include "virtual_board/detectors.h"
#include "virtual_board/fft.h"
#include "virtual_board/front_end.h"
#include "virtual_board/iq_loop.h"

namespace virtual_board {

/// Measures a span by FFT. The span is tiled with segments; each is sampled at its own low rate, weighted with the
/// resolution filter's impulse response and transformed, zero-padded to at least eight bins per RBW. The noise, the
/// input's lines and the recording meet in the bins.
class Fft_Analysis {
public:
    /// Not in zero span, and not over a recording whose rate is below 40 RBW; those are swept.
    static bool Possible(const Front_End& front_end);

    void Configure(const Front_End& front_end);
    void Begin_Sweep(std::int64_t start_ns);
    Point_Values Measure(int point);
    /// As Receiver's.
    double Work_Ns() const { return work_ns; }

private:
    struct Segment {
        double low_hz, high_hz;
        bool recorded;
        std::optional<Iq_Loop> zoomed;  ///< kept from sweep to sweep while memory allows
    };

    void Tile(double low_hz, double high_hz, double widest_hz, bool recorded);
    void Resize(double rate_hz);
    void Analyse(Segment& segment, std::size_t index);
    void Add_Lines(double center_hz, const Segment& segment, std::int64_t time_ns);
    void Add_Recording(const Iq_Loop& loop, std::int64_t time_ns);
    void Make_Noise(std::uint64_t seed);
    void Detect(const Segment& segment, double center_hz, double independent);

    Front_End front_end;
    double rbw_hz = 1.0;        ///< of the filter in use
    double noise_scale = 1.0;   ///< of the noise power, where rbw_hz is wider than the one set
    double video_values = 1.0;  ///< independent values that the video filter joins
    Video_Map video_map{1e6, 1e6};
    Weighting weighting{};
    double low_edge_hz = 0.0, point_width_hz = 0.0;
    std::vector<Segment> segments;
    std::vector<Point_Detector> points;
    std::size_t next_segment = 0;
    std::int64_t sweep_start_ns = 0;
    double work_ns = 0.0;

    double rate_hz = 1.0, bin_hz = 1.0;
    std::optional<Fft> fft;
    std::vector<float> window;
    std::vector<std::complex<float>> frame, signal, noise;
};

}  // namespace virtual_board
