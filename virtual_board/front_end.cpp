#include "virtual_board/front_end.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "virtual_board/resolution_filter.h"

namespace virtual_board {

namespace {

constexpr double thermal_dbm_hz = -174.0;
/// The noise figure is even between these and rises towards 0 Hz and the highest frequency.
constexpr double even_from_hz = 1e6, even_to_hz = 2.5e9, highest_hz = 3.25e9, noise_rise_db = 3.0;
constexpr double weakest_product = 3e-3;  ///< over the noise behind the resolution filter; weaker ones are left out

/// Power of all signals at the input while they are on, mW.
double Load(const Input& input) {
    double power = input.keyed_excess_mw;
    for (const Line& line : input.lines) {
        power += line.amplitude * line.amplitude;
    }
    for (const Drifting_Line& line : input.drifting) {
        power += line.amplitude * line.amplitude;
    }
    for (const Noise_Band& band : input.noise) {
        power += band.power_mw;
    }
    if (input.recording && input.recording->Size() > 0) {
        const Iq_Loop& loop = *input.recording;
        double sum = 0.0;
        for (std::size_t i = 0; i < loop.Size(); i++) {
            sum += static_cast<double>(loop.re[i]) * loop.re[i] + static_cast<double>(loop.im[i]) * loop.im[i];
        }
        power += sum / static_cast<double>(loop.Size());
    }
    return power;
}

/// The product of phase p1 n1 + p2 n2 of two lines. A negative frequency is the mirrored one's.
Line Mixed(const Line& line1, int n1, const Line& line2, int n2, double amplitude) {
    Line product = {
        .frequency_hz = n1 * line1.frequency_hz + n2 * line2.frequency_hz,
        .amplitude = amplitude,
        .phase = line1.phase * static_cast<std::uint64_t>(n1) + line2.phase * static_cast<std::uint64_t>(n2),
        .phase_step =
            line1.phase_step * static_cast<std::uint64_t>(n1) + line2.phase_step * static_cast<std::uint64_t>(n2)};
    if (product.frequency_hz < 0.0) {
        product.frequency_hz = -product.frequency_hz;
        product.phase = -product.phase;
        product.phase_step = -product.phase_step;
    }
    return product;
}

}  // namespace

double Noise_Figure(double frequency_hz, bool preamplifier) {
    const double f = std::abs(frequency_hz);
    const double low = std::max(0.0, 1.0 - f / even_from_hz);
    const double high = std::clamp((f - even_to_hz) / (highest_hz - even_to_hz), 0.0, 1.0);
    return (preamplifier ? 12.0 : 24.0) + noise_rise_db * (low + high);
}

double Compression_Gain(double load) {
    // Rapp's curve of smoothness 2, laid through the 1 dB point.
    static const double steepness = std::pow(10.0, 0.2) - 1.0;
    return 1.0 / std::sqrt(1.0 + steepness * load * load);
}

Front_End::Front_End(std::shared_ptr<const Input> with, std::uint64_t seed) : input(std::move(with)), seed(seed) {
    if (input == nullptr) {
        throw std::invalid_argument("a receiver without an input");
    }
    load_mw = Load(*input);
    strongest.resize(std::min(most_mixing_lines, input->lines.size()));
    std::ranges::partial_sort_copy(input->lines, strongest, std::ranges::greater{}, &Line::amplitude, &Line::amplitude);
}

void Front_End::Set(const Sweep_Settings& new_settings) {
    settings = new_settings;
    const double attenuation = To_Milliwatts(settings.attenuation_db);
    const double own_density =
        To_Milliwatts(thermal_dbm_hz + Noise_Figure(even_from_hz, settings.preamplifier)) * attenuation;
    even_noise = own_density * enbw_factor * settings.rbw_hz;
    const double overload = To_Milliwatts(settings.preamplifier ? -preamplifier_overload_db : 0.0);
    gain = std::sqrt(Compression_Gain(load_mw / attenuation / (overload * To_Milliwatts(compression_dbm))));

    own_lines.clear();
    const double feedthrough_mw = To_Milliwatts(feedthrough_dbm) * attenuation;
    own_lines.push_back(Make_Line(0.0, std::sqrt(feedthrough_mw), 0.0));
    Make_Products(attenuation, overload);
    std::ranges::stable_sort(own_lines, {}, &Line::frequency_hz);
    skirts.Set(input->lines, gain * gain, feedthrough_mw,
               {settings.start_hz, settings.stop_hz, settings.rbw_hz, own_density});
}

/// Products of second and third order. Sums and differences of two lines stand 6 dB above what their harmonics would
/// be at equal level; three-line products are left out. The lines mix as strong as the compression leaves them.
void Front_End::Make_Products(double attenuation, double overload) {
    const double third = overload * To_Milliwatts(third_order_intercept_dbm);
    const double second = std::sqrt(overload * To_Milliwatts(second_harmonic_intercept_dbm));
    const double to_mixer = gain / std::sqrt(attenuation);
    const double weakest = std::sqrt(weakest_product * even_noise / attenuation);
    const auto add = [&](const Line& line1, int n1, const Line& line2, int n2, double at_mixer) {
        if (at_mixer > weakest) {
            own_lines.push_back(Mixed(line1, n1, line2, n2, at_mixer * std::sqrt(attenuation)));
        }
    };
    for (std::size_t i = 0; i < strongest.size(); i++) {
        const double a = strongest[i].amplitude * to_mixer;
        add(strongest[i], 2, strongest[i], 0, a * a / second);
        for (std::size_t k = 0; k < i; k++) {
            const double b = strongest[k].amplitude * to_mixer;
            add(strongest[i], 1, strongest[k], 1, 2.0 * a * b / second);
            add(strongest[i], 1, strongest[k], -1, 2.0 * a * b / second);
            add(strongest[i], 2, strongest[k], -1, a * a * b / third);
            add(strongest[k], 2, strongest[i], -1, a * b * b / third);
        }
    }
}

double Front_End::Noise_Power(double frequency_hz) const {
    double power = even_noise;
    if (frequency_hz < even_from_hz || frequency_hz > even_to_hz) {
        power *= To_Milliwatts(Noise_Figure(frequency_hz, false) - Noise_Figure(even_from_hz, false));
    }
    for (const Noise_Band& band : input->noise) {
        power += gain * gain * band.Power_Through(frequency_hz, settings.rbw_hz);
    }
    if (!skirts.Empty()) {
        power += skirts.Density(frequency_hz) * enbw_factor * settings.rbw_hz;
    }
    return power;
}

bool Front_End::Noise_Varies(double low_hz, double high_hz) const {
    if (high_hz <= low_hz) {
        return false;
    }
    const auto reaches_in = [&](const Noise_Band& band) {
        const double half = 0.5 * band.bandwidth_hz + filter_reach * settings.rbw_hz;
        return low_hz < band.center_hz + half && high_hz > band.center_hz - half;
    };
    return low_hz < even_from_hz || high_hz > even_to_hz || !skirts.Empty() ||
           std::ranges::any_of(input->noise, reaches_in);
}

double Front_End::Point_Width() const {
    return settings.points > 1 ? (settings.stop_hz - settings.start_hz) / (settings.points - 1) : 0.0;
}

}  // namespace virtual_board
