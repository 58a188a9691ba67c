#include "virtual_board/input.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "virtual_board/resolution_filter.h"

namespace virtual_board {

namespace {

/// Turns times 2^64, whole turns dropped.
std::uint64_t Turns_To_Phase(double turns) {
    const double part = turns - std::floor(turns);
    return part >= 1.0 ? 0 : static_cast<std::uint64_t>(part * 0x1p64);
}

constexpr int circle_bits = 12;

/// One turn of the unit circle and a step more.
struct Unit_Circle {
    std::array<std::complex<double>, (1 << circle_bits) + 1> value;

    Unit_Circle() {
        for (std::size_t i = 0; i < value.size(); i++) {
            value[i] = std::polar(1.0, 2.0 * M_PI * static_cast<double>(i) / (1 << circle_bits));
        }
    }
};

const Unit_Circle unit_circle;

}  // namespace

std::complex<double> Unit_Phasor(std::uint64_t turns) {
    const auto index = static_cast<std::size_t>(turns >> (64 - circle_bits));
    const double part = static_cast<double>((turns << circle_bits) >> 11) * 0x1p-53;
    return unit_circle.value[index] + part * (unit_circle.value[index + 1] - unit_circle.value[index]);
}

Line Make_Line(double frequency_hz, double amplitude, double phase_rad) {
    return {.frequency_hz = frequency_hz,
            .amplitude = amplitude,
            .phase = Turns_To_Phase(phase_rad / (2.0 * M_PI)),
            .phase_step = Turns_To_Phase(frequency_hz * 1e-9)};
}

double Drifting_Line::Frequency(std::int64_t time_ns) const {
    const double angle = 2.0 * M_PI * std::fmod(static_cast<double>(time_ns) * 1e-9, period_s) / period_s;
    return frequency_hz + 0.5 * range_hz * std::sin(angle);
}

std::complex<double> Drifting_Line::At(std::int64_t time_ns) const {
    const double angle = 2.0 * M_PI * std::fmod(static_cast<double>(time_ns) * 1e-9, period_s) / period_s;
    const double turns = 0.5 * range_hz * period_s / (2.0 * M_PI) * (1.0 - std::cos(angle));
    return amplitude * Unit_Phasor(phase + phase_step * static_cast<std::uint64_t>(time_ns) + Turns_To_Phase(turns));
}

Drifting_Line Make_Drifting_Line(double frequency_hz, double amplitude, double range_hz, double period_s,
                                 double phase_rad) {
    return {.frequency_hz = frequency_hz,
            .amplitude = amplitude,
            .range_hz = range_hz,
            .period_s = period_s,
            .phase = Turns_To_Phase(phase_rad / (2.0 * M_PI)),
            .phase_step = Turns_To_Phase(frequency_hz * 1e-9)};
}

double Noise_Band::Power_Through(double frequency_hz, double rbw_hz) const {
    const double low = center_hz - 0.5 * bandwidth_hz - frequency_hz;
    const double high = center_hz + 0.5 * bandwidth_hz - frequency_hz;
    if (low > filter_reach * rbw_hz || high < -filter_reach * rbw_hz) {
        return 0.0;
    }
    // The integral of |H|^2 = exp(-ln 2 (2 f / B)^2) over the band.
    const double scale = 2.0 * std::sqrt(M_LN2) / rbw_hz;
    const double passed = 0.5 * enbw_factor * rbw_hz * (std::erf(scale * high) - std::erf(scale * low));
    return power_mw / bandwidth_hz * passed;
}

void Sort_Lines(Input& input) { std::ranges::stable_sort(input.lines, {}, &Line::frequency_hz); }

std::span<const Line> Lines_Between(std::span<const Line> lines, double low_hz, double high_hz) {
    const auto first = std::ranges::lower_bound(lines, low_hz, {}, &Line::frequency_hz);
    const auto last = std::ranges::upper_bound(first, lines.end(), high_hz, {}, &Line::frequency_hz);
    return {first, last};
}

double To_Milliwatts(double dbm) { return std::pow(10.0, 0.1 * dbm); }

double To_Dbm(double milliwatts) { return milliwatts > 1e-40 ? 10.0 * std::log10(milliwatts) : -400.0; }

}  // namespace virtual_board
