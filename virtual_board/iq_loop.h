#pragma once
#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "virtual_board/fft.h"

/// Sampled signals that repeat for ever, and the resolution filter over them.
namespace virtual_board {

/// I and Q in sqrt(mW), played from time 0 in an endless loop.
struct Iq_Loop {
    std::vector<float> re, im;
    double rate_hz = 1.0;
    double center_hz = 0.0;

    std::size_t Size() const { return re.size(); }
};

/// Place in the loop, in samples from 0 to its size, at a time.
double Loop_Position(const Iq_Loop& loop, std::int64_t time_ns);

/// The loop's part around center_hz at a lower rate: flat over width_hz, aliases held below -90 dB there. The rate is
/// at least 1.5 width_hz and at most the loop's own; rate and centre are moved a little so that the result is again an
/// exact loop of the same duration. Costs about 17 multiplications a sample of the source.
Iq_Loop Zoom(const Iq_Loop& source, double center_hz, double width_hz);

/// The Gaussian resolution filter over a loop, evaluated at single places of frequency and time.
class Loop_Filter {
public:
    /// The loop must outlive the filter.
    Loop_Filter(const Iq_Loop& loop, double rbw_hz);

    /// Complex envelope in sqrt(mW) of the filter tuned to frequency_hz. Its phase is of no meaning.
    /// Filters narrower than an eighth of the rate are closed outside the sampled band.
    std::complex<double> Envelope(double frequency_hz, std::int64_t time_ns);

    /// About the computing time of one envelope value, ns.
    double Work_Ns() const { return window.empty() ? 1000.0 : 100.0 + static_cast<double>(window.size()); }

private:
    struct Samples {
        const float* re;
        const float* im;
    };
    Samples At(std::int64_t first, std::size_t count);
    std::complex<double> Narrow(double offset_hz, std::int64_t center);
    void Make_Kernel(double offset_hz);
    std::complex<double> Wide(double offset_hz, std::int64_t center);

    const Iq_Loop* loop;
    double rbw_hz;
    std::size_t half = 0;       ///< taps beside the middle one
    std::vector<float> window;  ///< impulse response, sum 1; padded to whole groups of lanes
    std::vector<float> scratch_re, scratch_im;
    Fft block_fft;
    double kernel_offset_hz = -1e300;  ///< that the kernel stands for
    std::vector<std::complex<float>> weights, kernel;
};

}  // namespace virtual_board
