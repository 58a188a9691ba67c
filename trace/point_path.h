#pragma once
#include <span>

#include "records/trace.h"
#include "trace/scale.h"

/// The path of a sample to its traces: detector, mode, average, math, row.

constexpr int most_points_at_once = 128;

/// Processes so many points (at most most_points_at_once) of the sweep in hand from the given one on, whose samples
/// begin at the record's counter: for each trace that is not blank, the active one last, its detector, its mode, and
/// the math of the active trace. Fills values, rows and the copies for the views.
void Process_Points(Trace_Record& record, int first, int count, const Row_Scale& scale);

/// Levels in dBm of the samples in hand, from the point on whose sample the record's counter names, for one detector.
void Detection_Trace_Select(const Trace_Record& record, int detector, int point, std::span<double> levels);

/// Pixel rows of a whole trace, from its values.
void Update_Rows(Trace_Record& record, std::size_t trace);

/// True in the modes that show swept spectra.
bool Spectrum_Mode();

/// True while the EMI filters are selected or an EMC test is prepared.
bool Emi_Mode();
