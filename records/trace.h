#pragma once
#include <array>
#include <cstdint>

#include "platform/sample_memory.h"

constexpr int traces = 4;
constexpr int trace_points = platform::points_per_sweep;
constexpr int trace_records = 3;

enum Trace_Mode : std::uint8_t { trace_blank = 0, trace_clear_write, trace_max_hold, trace_min_hold, trace_view };

enum Detector : std::uint16_t {
    detector_normal = 0, detector_auto, detector_positive, detector_negative, detector_sample, detector_average,
    detector_quasi_peak, detector_emi_average
};

using Trace_Rows = std::array<std::array<std::uint16_t, trace_points>, traces>;
using Trace_Values = std::array<std::array<float, trace_points>, traces>;

/// Up to four traces of one screen.
struct Trace_Record {
    std::uint8_t sweep_complete = 0;  ///< set after the last point of a sweep, cleared by who reads it
    std::uint8_t active = 0;          ///< 0 to 3: traces A to D
    std::uint8_t redraw_mask = 0;     ///< bit n: trace n must be redrawn whole
    std::array<std::uint8_t, traces> mode{trace_clear_write, trace_blank, trace_blank, trace_blank};
    std::array<std::uint8_t, traces> level_exceeded{};
    std::array<std::uint16_t, traces> word{};
    std::uint16_t point = 0;  ///< 0 to 600: the point being processed
    std::array<std::uint16_t, traces> detector{detector_positive, detector_positive, detector_positive,
                                               detector_positive};  ///< in force
    std::array<std::uint16_t, traces> average_number{20, 20, 20, 20};
    std::array<std::uint16_t, traces> average_counter{1, 1, 1, 1};
    std::array<std::uint16_t, traces> detector_choice{detector_auto, detector_auto, detector_auto, detector_auto};
    Trace_Rows rows{};        ///< pixel rows of the points
    Trace_Rows drawn_rows{};  ///< the rows on the screen now
    std::int32_t processed = 0;  ///< index in the ring of the next sample to take, 0 to 120199
    std::int32_t sweeps = 0;     ///< whole sweeps taken
    std::array<double, traces> detector_state{};
    std::array<float, traces> max_hold_level{-130, -130, -130, -130};  ///< dBm
    Trace_Values value{};   ///< dBm
    Trace_Values stored{};  ///< dBm, the EMC re-measurement's second array
    Trace_Rows stored_rows{};  ///< its pixel rows
    std::array<std::int32_t, traces> average_on{};  ///< 1: the trace averages
    std::int32_t points = trace_points;  ///< samples of one sweep of the core
    std::int32_t sweep_start = 0;  ///< where points is not 601: place in the ring of the sweep's first sample
};
inline std::array<Trace_Record, trace_records> Trace_Data;

/// Geometry of the graticule, pixels.
struct Screen_Geometry {
    std::uint16_t left = 10;
    std::uint16_t top = 58;
    std::uint16_t points = trace_points;
    std::uint16_t height = 451;
    std::uint16_t division = 45;
    std::uint16_t clamp_top = 58;
    std::uint16_t clamp_bottom = 508;
    std::uint16_t line_left = 10;
    std::uint16_t line_right = 610;
};
inline Screen_Geometry ScreenInf;

inline double* DSP_Trace_Data = nullptr;     ///< sample memory shared with the core; null while there is none
inline Trace_Values Single_Trace_DBM{};      ///< values of the screen last processed
inline Trace_Values Spectrogram_NowLogValue{};  ///< the same for the spectrogram and topographic views

enum Average_Type : std::uint8_t { average_log = 0, average_voltage, average_power };
inline std::uint8_t AvgType = average_log;
inline std::uint8_t AVERLAG = 0;  ///< 1: the active trace's average is complete

enum Trace_Math_Kind : std::int32_t { math_off = 0, math_power_difference, math_log_difference, math_log_offset };
inline std::int32_t MATHFLAG = math_off;  ///< trace math of the active trace

struct Trace_Math_Record {
    std::uint16_t source_1 = 0, source_2 = 1;  ///< 0 to 3: traces A to D
    double offset = 0;                         ///< dB, of the log offset
};
inline Trace_Math_Record TraceMath;
inline float Log_Ref = -50;  ///< dB, reference of the log difference

inline std::uint8_t Max_Hold_Restart = 1;  ///< 1: a maximum hold no point of which passes its level starts again
inline std::uint8_t Hold_Level_Shown = 0;  ///< 1: the active trace's maximum-hold level is shown as a line
inline std::int32_t Screen_Swept = 0;      ///< the half of the split screen that the core sweeps
inline std::uint32_t Trace_Second_Flag = 0;  ///< the trace icons stand and may be redrawn
