#include "trace/views.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace {

constexpr int spectrogram_rows = 180;

std::array<std::array<std::uint8_t, trace_points>, spectrogram_rows> Spectrogram_y;
std::array<float, trace_points> Spectrogram_ytrace;

}  // namespace

void Init_Spectrogram() {
    for (auto& row : Spectrogram_y) row.fill(0xff);
    Spectrogram_ytrace.fill(0);
}

void Init_TopographicData() {
    for (auto& row : TopographicData) row.fill(0);
    Topographic_Shown = 0;
}

void Topographic_Take_Point(const Trace_Record& record, int point) {
    const auto column = static_cast<std::size_t>(point);
    const std::size_t trace = record.active & 3;
    if (record.mode[trace] == trace_blank) return;
    const int below = record.rows[trace][column] - ScreenInf.clamp_top;
    const int height = ScreenInf.clamp_bottom - ScreenInf.clamp_top;
    const int row = std::clamp(below * (topographic_rows - 1) / height, 0, topographic_rows - 1);
    std::uint16_t& hits = TopographicData[static_cast<std::size_t>(row)][column];
    if (hits < std::numeric_limits<std::uint16_t>::max()) ++hits;
}
