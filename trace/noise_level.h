#pragma once
#include <cstddef>

/// How far a trace of noise alone stands above the power of that noise behind the resolution filter, dB, in an even or
/// odd column of the active screen: by the trace's detector and average, the video bandwidth, and how long a point lasts.
double Noise_Above_Its_Power(std::size_t trace, int column);
