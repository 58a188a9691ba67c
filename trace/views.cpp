#include "trace/views.h"

#include <array>
#include <cstdint>

#include "records/trace.h"

namespace {

constexpr int spectrogram_rows = 180, topographic_rows = 275;

std::array<std::array<std::uint8_t, trace_points>, spectrogram_rows> Spectrogram_y;
std::array<float, trace_points> Spectrogram_ytrace;
std::array<std::array<std::uint16_t, trace_points>, topographic_rows> TopographicData;

}  // namespace

void Init_Spectrogram() {
    for (auto& row : Spectrogram_y) row.fill(0xff);
    Spectrogram_ytrace.fill(0);
}

void Init_TopographicData() {
    for (auto& row : TopographicData) row.fill(0);
}
