#pragma once
#include <array>
#include <cstdint>

#include "records/trace.h"

/// Spectrogram and topographic views: their stores start empty.
void Init_Spectrogram();
void Init_TopographicData();

inline std::uint8_t Topographic_Shown = 0;  ///< 1: the topographic view takes points

constexpr int topographic_rows = 275;
/// How often sweeps have hit the cells of the topographic view, the first row at the top; held to what a count can hold.
inline std::array<std::array<std::uint16_t, trace_points>, topographic_rows> TopographicData;

/// Counts the cell that the active trace's point hits.
void Topographic_Take_Point(const Trace_Record& record, int point);
