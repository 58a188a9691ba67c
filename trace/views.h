#pragma once
#include <cstdint>

#include "records/trace.h"

/// Spectrogram and topographic views: their stores start empty.
void Init_Spectrogram();
void Init_TopographicData();

inline std::uint8_t Topographic_Shown = 0;  ///< 1: the topographic view takes points

/// Counts the cell that the active trace's point hits.
void Topographic_Take_Point(const Trace_Record& record, int point);
