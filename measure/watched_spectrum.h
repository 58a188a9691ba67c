#pragma once
#include <array>
#include <cstddef>

#include "records/trace.h"

/// What several sweeps over the same axis have shown, straight from the core's detectors, whatever the traces show.
struct Watched_Spectrum {
    int sweeps = 0;
    std::array<float, trace_points> highest{};  ///< dBm, positive peaks
    std::array<float, trace_points> average{};  ///< dBm, mean of the average detector's
};

/// Frequency in Hz of a point of the active screen.
double Frequency_Of(std::size_t point);

/// Adds the sweep that has been completed last; one has to be.
void Take_Last_Sweep(Watched_Spectrum& seen, const Trace_Record& record);

/// The highest point at or above a frequency (Hz); the last one where there is none.
std::size_t Highest_Point(const Watched_Spectrum& seen, double from);

/// The average level that a part (0 to 1) of the points from first to last doesn't reach, dBm.
double Average_Quantile(const Watched_Spectrum& seen, std::size_t first, std::size_t last, double part);

struct Extent {
    std::size_t first, last;
};

/// The points around a peak that reach a level (dBm), small gaps taken in.
Extent Extent_Of(const Watched_Spectrum& seen, std::size_t peak, double least);
