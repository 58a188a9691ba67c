#pragma once
#include <cstddef>

/// Sweeps of the core whose count of samples is not the 601 points that are shown.

/// Value at a display position (0 to 600), between the two samples beside it. block: first element of the sample block;
/// start: place in the ring of the sweep's first sample; points: samples of the sweep.
double TraceValueAddpoint(std::size_t block, int start, int points, int position);

/// How many display positions are known when so many samples of the sweep (0 to points) are written.
int TraceIndexAddpoint(int samples, int points);
