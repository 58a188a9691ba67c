#pragma once
#include <array>
#include <cstdint>

#include "records/trace.h"

/// Normalisation of the tracking generator's response; Sys_Data.tracking_normalised tells whether it is on.

inline std::int32_t TG_Pos_Diff_Value = 0;   ///< offset of the shown trace, dB
inline std::int32_t Check_TG_Normalize = 0;  ///< 1: the reference has to be measured
inline std::int32_t Check_Sweep_Again = 0;   ///< 1: with a sweep that starts afresh
inline std::int32_t CheckNormInit = 0;       ///< 1: the reference below is none yet
inline std::array<float, trace_points> Normalisation_Trace{};  ///< the reference, dBm
