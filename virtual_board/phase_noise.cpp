#include "virtual_board/phase_noise.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace virtual_board {

namespace {

constexpr double counted_part = 0.1;  ///< of the floor
constexpr int first_octave = 0, octaves = 40;
constexpr int steps_per_octave = 16;
constexpr double highest_offset_hz = 1e11;

double Dbc_Hz(double offset_hz) {
    const double decade = std::log10(offset_hz / 10e3);
    if (decade < 1.0) {
        return -95.0 - 10.0 * decade;
    }
    return decade < 2.0 ? -105.0 - 15.0 * (decade - 1.0) : -120.0 - 20.0 * (decade - 2.0);
}

/// Linear between sixteen places an octave, which the leading bits of the offset tell.
struct Noise_Table {
    std::array<double, octaves * steps_per_octave + 1> value{};

    Noise_Table() {
        for (std::size_t i = 0; i < value.size(); i++) {
            const int octave = first_octave + static_cast<int>(i) / steps_per_octave;
            const double part = static_cast<double>(i % steps_per_octave) / steps_per_octave;
            value[i] = To_Milliwatts(Dbc_Hz(std::ldexp(1.0 + part, octave)));
        }
    }
};

const Noise_Table noise_table;

/// The largest offset at which the strength's skirt is as high as a density.
double Reach(double strength_mw, double density) {
    double low = 0.0;
    double high = 11.0;
    for (int i = 0; i < 24; i++) {
        const double middle = 0.5 * (low + high);
        (strength_mw * Phase_Noise(std::pow(10.0, middle)) > density ? low : high) = middle;
    }
    return std::pow(10.0, high);
}

}  // namespace

double Phase_Noise(double offset_hz) {
    const double offset = std::clamp(std::abs(offset_hz), 1.0, highest_offset_hz);
    constexpr int mantissa_bits = 52;
    constexpr int step_bits = 4;
    static_assert(1 << step_bits == steps_per_octave);
    constexpr std::uint64_t bias = std::uint64_t{1023 + first_octave} << step_bits;
    const auto bits = std::bit_cast<std::uint64_t>(offset);
    const auto index = static_cast<std::size_t>((bits >> (mantissa_bits - step_bits)) - bias);
    const std::uint64_t rest = bits & ((std::uint64_t{1} << (mantissa_bits - step_bits)) - 1);
    const double part = static_cast<double>(rest) * 0x1p-48;
    return noise_table.value[index] + part * (noise_table.value[index + 1] - noise_table.value[index]);
}

double Phase_Noise_Rise(double carrier_hz) {
    const double ratio = std::max(1.0, std::abs(carrier_hz) / 1e9);
    return ratio * ratio;
}

void Skirts::Add(double frequency_hz, double power_mw, const Span& span) {
    const double strength = power_mw * Phase_Noise_Rise(frequency_hz);
    const double distance = std::max({span.low_hz - frequency_hz, frequency_hz - span.high_hz, span.rbw_hz});
    const double seen = strength * Phase_Noise(distance);
    if (seen > counted_part * span.floor_mw_hz) {
        skirts.push_back({frequency_hz, strength, 0.0, seen});
    }
}

void Skirts::Set(std::span<const Line> lines, double power_gain, double feedthrough_mw, const Span& span) {
    skirts.clear();
    rbw_hz = span.rbw_hz;
    Add(0.0, feedthrough_mw, span);
    double power = 0.0;
    double moment = 0.0;
    for (std::size_t i = 0, first = 0; i < lines.size(); i++) {
        const double line_power = lines[i].amplitude * lines[i].amplitude * power_gain;
        power += line_power;
        moment += line_power * (lines[i].frequency_hz - lines[first].frequency_hz);
        if (i + 1 == lines.size() || lines[i + 1].frequency_hz - lines[first].frequency_hz > rbw_hz) {
            if (power > 0.0) {
                Add(lines[first].frequency_hz + moment / power, power, span);
            }
            first = i + 1;
            power = moment = 0.0;
        }
    }
    if (skirts.size() > most) {
        std::ranges::nth_element(skirts, skirts.begin() + most, std::ranges::greater{}, &Skirt::seen_mw_hz);
        skirts.resize(most);
    }
    for (Skirt& skirt : skirts) {
        skirt.reach_hz = Reach(skirt.strength_mw, counted_part * span.floor_mw_hz);
    }
}

double Skirts::Density(double frequency_hz) const {
    double sum = 0.0;
    for (const Skirt& skirt : skirts) {
        const double offset = std::abs(frequency_hz - skirt.frequency_hz);
        if (offset > skirt.reach_hz) {
            continue;
        }
        const double x = offset / rbw_hz;
        const double apart = x * x * x * x;
        sum += skirt.strength_mw * Phase_Noise(std::max(offset, 0.5 * rbw_hz)) * (apart / (apart + 1.0));
    }
    return sum;
}

}  // namespace virtual_board
