#pragma once
#include <cstddef>
#include <span>
#include <vector>

#include "virtual_board/input.h"

/// Phase noise of the local oscillators, which gives every carrier a skirt.
namespace virtual_board {

/// Single-side-band phase noise over the carrier's power, 1/Hz, at an offset from a carrier at or below 1 GHz:
/// -95, -105 and -120 dBc/Hz at 10 kHz, 100 kHz and 1 MHz, straight lines over the logarithm of the offset between
/// and outside.
double Phase_Noise(double offset_hz);

/// By how much the phase noise of a carrier is stronger than that of one at 1 GHz: 20 lg f above, the same below.
double Phase_Noise_Rise(double carrier_hz);

/// The skirts that matter in one span.
class Skirts {
public:
    /// At most this many, the strongest, are kept. Lines that the resolution filter cannot part count as one.
    static constexpr std::size_t most = 64;

    struct Span {
        double low_hz, high_hz;
        double rbw_hz;
        double floor_mw_hz;  ///< density of the receiver's own noise; a skirt 10 dB below it is left out
    };

    /// Takes the lines, sorted by frequency, that stand in the receiver with their powers times power_gain, and the
    /// feed-through, a power at 0 Hz.
    void Set(std::span<const Line> lines, double power_gain, double feedthrough_mw, const Span& span);
    bool Empty() const { return skirts.empty(); }
    /// mW/Hz as the filter tuned to a frequency sees it. Close to a carrier, where both side bands pass the filter and
    /// together turn the carrier's phase alone, there is none.
    double Density(double frequency_hz) const;

private:
    struct Skirt {
        double frequency_hz;
        double strength_mw;
        double reach_hz;
        double seen_mw_hz;  ///< at the span's nearest place
    };
    void Add(double frequency_hz, double power_mw, const Span& span);

    std::vector<Skirt> skirts;
    double rbw_hz = 1.0;
};

}  // namespace virtual_board
