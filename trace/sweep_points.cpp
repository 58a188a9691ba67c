#include "trace/sweep_points.h"

#include <algorithm>
#include <cmath>

#include "platform/sample_memory.h"
#include "records/trace.h"

namespace {

constexpr int last_position = trace_points - 1;

double Sample(std::size_t block, int place) {
    return DSP_Trace_Data[block + static_cast<std::size_t>(place % platform::sample_block)];
}

}  // namespace

double TraceValueAddpoint(std::size_t block, int start, int points, int position) {
    const int scaled = position * (points - 1), before = scaled / last_position, rest = scaled % last_position;
    const double low = Sample(block, start + before);
    if (rest == 0) return low;
    const double high = Sample(block, start + before + 1);
    return low + (high - low) * rest / last_position;
}

int TraceIndexAddpoint(int samples, int points) {
    if (samples <= 0) return 0;
    if (points < 2) return trace_points;
    return std::min((samples - 1) * last_position / (points - 1) + 1, trace_points);
}
