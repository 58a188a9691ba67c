#pragma once
#include <complex>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "virtual_board/iq_loop.h"

/// What stands at the receiver's input socket.
namespace virtual_board {

/// exp(j 2 pi turns), turns given times 2^64; from a table, error below -120 dB.
std::complex<double> Unit_Phasor(std::uint64_t turns);

/// One spectral line. Its phase in turns times 2^64 is phase + phase_step t, t in ns; so it advances exactly, for ever.
struct Line {
    double frequency_hz = 0.0;
    double amplitude = 0.0;  ///< sqrt(mW)
    std::uint64_t phase = 0;
    std::uint64_t phase_step = 0;

    /// Complex amplitude at a time.
    std::complex<double> At(std::int64_t time_ns) const {
        return amplitude * Unit_Phasor(phase + phase_step * static_cast<std::uint64_t>(time_ns));
    }
};

/// A line of complex amplitude sqrt(mW) exp(j phase_rad) at time 0.
Line Make_Line(double frequency_hz, double amplitude, double phase_rad);

/// A carrier whose frequency swings slowly, as a sine about its middle.
struct Drifting_Line {
    double frequency_hz = 0.0;
    double amplitude = 0.0;  ///< sqrt(mW)
    double range_hz = 0.0;   ///< from the lowest frequency to the highest
    double period_s = 1.0;
    std::uint64_t phase = 0, phase_step = 0;  ///< of the middle frequency, as Line's

    double Frequency(std::int64_t time_ns) const;
    std::complex<double> At(std::int64_t time_ns) const;
};

Drifting_Line Make_Drifting_Line(double frequency_hz, double amplitude, double range_hz, double period_s,
                                 double phase_rad);

/// Noise of even density over a band.
struct Noise_Band {
    double center_hz = 0.0;
    double bandwidth_hz = 1.0;
    double power_mw = 0.0;

    /// Mean power behind the resolution filter, mW.
    double Power_Through(double frequency_hz, double rbw_hz) const;
};

struct Input {
    std::vector<Line> lines;  ///< sorted by frequency, see Sort_Lines
    std::vector<Drifting_Line> drifting;
    std::vector<Noise_Band> noise;
    double keyed_excess_mw = 0.0;  ///< power of pulsed and keyed carriers while they are on, less their mean power
    std::optional<Iq_Loop> recording;
};

void Sort_Lines(Input& input);

/// The lines from low_hz to high_hz.
std::span<const Line> Lines_Between(std::span<const Line> lines, double low_hz, double high_hz);

/// dBm to mW and back; 0 mW is -400 dBm.
double To_Milliwatts(double dbm);
double To_Dbm(double milliwatts);

}  // namespace virtual_board
