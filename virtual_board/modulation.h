#pragma once
#include <optional>
#include <span>
#include <vector>

#include "virtual_board/input.h"

/// Signals as sets of spectral lines.
namespace virtual_board {

struct Am {
    double depth = 0.0;  ///< 0 to 1
    double rate_hz = 1.0;
};

struct Fm {
    double deviation_hz = 0.0;  ///< peak
    double rate_hz = 1.0;
};

/// A carrier with amplitude and frequency modulation by sines. level_dbm is that of the carrier without modulation;
/// FM spreads it over its side bands (Bessel functions), AM adds two.
std::vector<Line> Modulated_Carrier(double frequency_hz, double level_dbm, const std::optional<Am>& am,
                                    const std::optional<Fm>& fm, double phase_rad);

/// A stretch of time within a period, s.
struct On_Time {
    double start;
    double length;
};

/// A carrier that is on for some stretches of a period, again and again. Edges are Gaussian with the given rise time
/// (10 % to 90 %), which bounds the number of lines.
std::vector<Line> Keyed_Carrier(double frequency_hz, double level_dbm, double period_s, std::span<const On_Time> on,
                                double rise_s, double phase_rad);

/// A carrier whose frequency is deviation_hz above its middle where a bit is set and as much below where not, again and
/// again, of constant level and continuous phase; it changes within rise_s as a cosine does. The phase that one round
/// leaves over is spread evenly, which moves all lines a little.
std::vector<Line> Frequency_Keyed_Carrier(double frequency_hz, double level_dbm, double deviation_hz,
                                          const std::vector<bool>& bits, double bit_s, double rise_s, double phase_rad);

}  // namespace virtual_board
