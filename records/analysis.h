#pragma once
#include <array>
#include <cstdint>

#include "records/freqs.h"
#include "records/trace.h"

/// Marker, peak and limit settings.

constexpr int markers = 10;
constexpr int no_trace = 4;  ///< a marker without a trace of its own reads the active one, or the first shown of D to A

/// Counter resolutions, Hz.
inline constexpr std::array<float, 5> Marker_Counter_Resolution_Value{0.1f, 1, 10, 100, 1000};

template <class Value>
struct Per_Marker : std::array<std::array<Value, screens>, markers> {
    constexpr explicit Per_Marker(Value value = {}) {
        for (auto& of_marker : *this) of_marker.fill(value);
    }
};

/// What the core's frequency counter shall do.
struct Counter_Order {
    bool on = false;
    double frequency = 0;   ///< Hz
    double resolution = 0;  ///< Hz
    bool operator==(const Counter_Order&) const = default;
};

/// Markers of each screen. Places are Hz without the frequency offset, in zero span s from the sweep's start.
struct Marker_Record {
    std::array<std::int32_t, screens> active{};            ///< 0 to 9: the marker that keys act on
    std::array<std::int32_t, screens> resolution{4, 4};    ///< index of Marker_Counter_Resolution_Value
    std::array<std::int32_t, screens> resolution_changed{};
    Per_Marker<std::int32_t> column{300};       ///< 0 to 600
    Per_Marker<std::int32_t> second_position{700};
    Per_Marker<std::int32_t> trace{no_trace};   ///< 0 to 3, or no_trace
    Per_Marker<std::int32_t> delta_trace{no_trace};
    Per_Marker<std::int32_t> delta{0};          ///< 1: a delta marker
    Per_Marker<std::int32_t> delta_column{300};
    Per_Marker<std::int32_t> right_column{600};
    Per_Marker<std::int32_t> noise{0};          ///< 1: reads noise density
    Per_Marker<double> frequency{0};            ///< the place
    Per_Marker<double> delta_frequency{0};      ///< place of the delta partner

    Per_Marker<std::uint8_t> on{0};
    Per_Marker<std::uint8_t> counter{0};        ///< 1: counts the frequency
    Per_Marker<std::uint8_t> vswr{0};           ///< 1: reads the standing wave ratio
    std::array<std::uint8_t, screens> resolution_manual{};  ///< 0: the resolution follows the RBW
    std::array<std::uint8_t, screens> in_time{};  ///< 1: the places are times
    std::array<double, screens> placed_start{}, placed_width{};  ///< the axis that the columns belong to
    Counter_Order counter_sent;
    std::int32_t steps = 0;  ///< step count of the sweep, for the marker's resolution
};
inline Marker_Record Marker_Data;
/// dB per hertz in the amplitude unit, dBm where that is no unit of dB.
inline std::array<double, markers> Marker_NoiseValue{}, Marker_Delta_NoiseValue{};

constexpr int most_peaks = 300, table_peaks = 10;

/// Peaks of the trace that was searched last.
struct Peak_Record {
    std::int32_t threshold_on = 0;
    std::int32_t second_word = 0;
    std::int32_t by_level = 0;  ///< order of the table: 0 by frequency
    std::int32_t count = 0;
    std::array<std::int32_t, markers> position{};  ///< of each marker's peak in the accepted list
    std::array<std::int32_t, markers> rank{};      ///< and in the order of amplitude
    std::array<std::int32_t, table_peaks> table_column{};
    std::array<std::array<double, table_peaks>, screens> table_frequency{};  ///< Hz
    std::array<std::int32_t, table_peaks> table_level{};                     ///< dBm, cut toward zero
    std::array<std::int32_t, most_peaks> accepted{};      ///< columns, rising
    std::array<std::int32_t, most_peaks> by_amplitude{};  ///< the same, the highest first
    float excursion = 3;              ///< dB
    float threshold = -50;            ///< dBm
    float demod_threshold = -50;      ///< dBm, in the FSK mode
    std::int32_t trace = -1;          ///< the trace that was searched, -1 none
    std::int32_t tracking = 0;        ///< 1: the active marker goes to the highest peak at every end of sweep
};
inline Peak_Record Peak_Data;
inline double Peak_Excludenum = 0;  ///< Hz: no peak is accepted up to here

inline std::int32_t LimitlineScreen = 0;
inline std::int32_t Trace_Gain_Correction = 0;  ///< 1: traces are corrected by a set of gains
inline std::int32_t SetFreqScaleRedraw = 0;  ///< 1: the frequency scale must be redrawn
