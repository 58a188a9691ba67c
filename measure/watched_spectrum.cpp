#include "measure/watched_spectrum.h"

#include <algorithm>

#include "platform/sample_memory.h"
#include "records/freqs.h"
#include "trace/acquisition.h"

double Frequency_Of(std::size_t point) {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    return Freqs.start[screen] + static_cast<double>(point) * Freqs.span[screen] / (trace_points - 1);
}

void Take_Last_Sweep(Watched_Spectrum& seen, const Trace_Record& record) {
    const int end = record.processed - record.processed % trace_points;
    const int start = (end == 0 ? platform::sample_counter_end : end) - trace_points;
    const bool first = seen.sweeps++ == 0;
    for (int point = 0; point < trace_points; ++point) {
        const int ring = (start + point) % platform::sample_block;
        const auto column = static_cast<std::size_t>(point);
        const auto peak = static_cast<float>(Detection_Trace_Select(detector_positive, point, ring));
        const auto average = static_cast<float>(Detection_Trace_Select(detector_average, point, ring));
        seen.highest[column] = first ? peak : std::max(seen.highest[column], peak);
        seen.average[column] += (average - seen.average[column]) / static_cast<float>(seen.sweeps);
    }
}

std::size_t Highest_Point(const Watched_Spectrum& seen, double from) {
    std::size_t best = trace_points - 1;
    for (std::size_t i = trace_points; i-- > 0 && Frequency_Of(i) >= from;) {
        if (seen.highest[i] >= seen.highest[best]) best = i;
    }
    return best;
}

double Average_Quantile(const Watched_Spectrum& seen, std::size_t first, std::size_t last, double part) {
    std::array<float, trace_points> sorted;
    const auto begin = seen.average.begin();
    const auto end = std::copy(begin + static_cast<int>(first), begin + static_cast<int>(last) + 1, sorted.begin());
    const auto wanted = sorted.begin() + static_cast<int>(part * static_cast<double>(last - first));
    std::nth_element(sorted.begin(), wanted, end);
    return static_cast<double>(*wanted);
}

Extent Extent_Of(const Watched_Spectrum& seen, std::size_t peak, double least) {
    constexpr std::size_t widest_gap = 15;  // points
    Extent extent{peak, peak};
    const auto part = [&](std::size_t i) { return static_cast<double>(seen.highest[i]) >= least; };
    for (std::size_t i = peak + 1; i < trace_points && i <= extent.last + widest_gap; ++i) {
        if (part(i)) extent.last = i;
    }
    for (std::size_t i = peak; i-- > 0 && i + widest_gap >= extent.first;) {
        if (part(i)) extent.first = i;
    }
    return extent;
}
