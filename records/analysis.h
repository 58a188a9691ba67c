#pragma once
#include <array>
#include <cstdint>

/// Marker, peak and limit settings that a sweep setting touches; their rooms in trace/ fill them.
struct Marker_Record {
    std::int32_t steps = 0;  ///< step count of the sweep, for the marker's resolution
    std::array<std::uint8_t, 10> on{};
    std::array<double, 10> frequency{};  ///< Hz
};
inline Marker_Record Marker_Data;

struct Peak_Record {
    double threshold = -90;  ///< dBm
    double excursion = 6;    ///< dB
};
inline Peak_Record Peak_Data;

inline std::int32_t LimitlineScreen = 0;
inline std::int32_t Trace_Gain_Correction = 0;  ///< 1: traces are corrected by a set of gains
inline std::int32_t SetFreqScaleRedraw = 0;  ///< 1: the frequency scale must be redrawn
