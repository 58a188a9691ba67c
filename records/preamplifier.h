#pragma once
#include <array>
#include <cstdint>

/// Calibration gains of the preamplifier, dB: a table over frequency in each band, and a table of its own for the second
/// path. Zero until a calibration fills them.
struct Preamplifier_Calibration_Record {
    static constexpr std::size_t bands = 51, points = 150;
    std::int32_t state = 0;  ///< which tables are in use: 0 none, 1 the first, 2 the second, 3 both
    std::array<std::array<float, points>, bands> gain{};
    float gain_offset = 0;
    std::array<float, points> second_gain{};
    float second_gain_offset = 0;
};
inline Preamplifier_Calibration_Record Preamplifier_Calibration;
