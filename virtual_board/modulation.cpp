#include "virtual_board/modulation.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>

#include "virtual_board/fft.h"

namespace virtual_board {

namespace {

/// Lines weaker than this part of the carrier's voltage are left out (-140 dB).
constexpr double least_part = 1e-7;

}  // namespace

std::vector<Line> Modulated_Carrier(double frequency_hz, double level_dbm, const std::optional<Am>& am,
                                    const std::optional<Fm>& fm, double phase_rad) {
    struct Part {
        double offset_hz;
        double amplitude;
    };
    std::vector<Part> parts = {{0.0, std::sqrt(To_Milliwatts(level_dbm))}};
    if (fm) {
        // exp(j beta sin wt) = sum of J_n(beta) exp(j n wt), and J_-n = (-1)^n J_n.
        const double beta = fm->deviation_hz / fm->rate_hz;
        const double level = parts[0].amplitude;
        parts[0].amplitude *= std::cyl_bessel_j(0.0, beta);
        for (int n = 1; n < beta + 20.0 + 6.0 * std::cbrt(beta); n++) {
            const double part = std::cyl_bessel_j(static_cast<double>(n), beta);
            if (std::abs(part) > least_part) {
                parts.push_back({n * fm->rate_hz, level * part});
                parts.push_back({-n * fm->rate_hz, level * (n % 2 == 0 ? part : -part)});
            }
        }
    }
    if (am) {
        const std::size_t count = parts.size();
        for (std::size_t i = 0; i < count; i++) {
            const Part part = parts[i];
            parts.push_back({part.offset_hz + am->rate_hz, 0.5 * am->depth * part.amplitude});
            parts.push_back({part.offset_hz - am->rate_hz, 0.5 * am->depth * part.amplitude});
        }
    }
    std::vector<Line> lines;
    lines.reserve(parts.size());
    for (const Part& part : parts) {
        lines.push_back(Make_Line(frequency_hz + part.offset_hz, std::abs(part.amplitude),
                                  part.amplitude < 0.0 ? phase_rad + M_PI : phase_rad));
    }
    return lines;
}

std::vector<Line> Keyed_Carrier(double frequency_hz, double level_dbm, double period_s, std::span<const On_Time> on,
                                double rise_s, double phase_rad) {
    const double amplitude = std::sqrt(To_Milliwatts(level_dbm));
    // A step through a Gaussian of deviation sigma in time rises from 10 % to 90 % in 2.563 sigma.
    const double sigma = rise_s / 2.563;
    const double highest_hz = std::sqrt(-2.0 * std::log(least_part)) / (2.0 * M_PI * sigma);
    const auto count = static_cast<int>(std::ceil(highest_hz * period_s));
    std::vector<Line> lines;
    for (int k = -count; k <= count; k++) {
        const double f = k / period_s;
        std::complex<double> sum = 0.0;
        for (const On_Time& stretch : on) {
            const double x = M_PI * f * stretch.length;
            const double sinc = x == 0.0 ? 1.0 : std::sin(x) / x;
            sum +=
                std::polar(stretch.length / period_s * sinc, -2.0 * M_PI * f * (stretch.start + 0.5 * stretch.length));
        }
        sum *= std::exp(-0.5 * (2.0 * M_PI * f * sigma) * (2.0 * M_PI * f * sigma));
        if (std::abs(sum) > least_part) {
            lines.push_back(Make_Line(frequency_hz + f, amplitude * std::abs(sum), phase_rad + std::arg(sum)));
        }
    }
    return lines;
}

std::vector<Line> Frequency_Keyed_Carrier(double frequency_hz, double level_dbm, double deviation_hz,
                                          const std::vector<bool>& bits, double bit_s, double rise_s,
                                          double phase_rad) {
    constexpr double least_keyed_part = 3e-4;  ///< -70 dB, far below the phase noise of such a carrier
    constexpr double samples_per_turn = 32.0;
    const auto wanted = static_cast<std::size_t>(samples_per_turn * deviation_hz * bit_s);
    const std::size_t per_bit = std::bit_ceil(std::max<std::size_t>(64, wanted));
    const std::size_t length = per_bit * bits.size();
    const double step_s = bit_s / static_cast<double>(per_bit);
    const auto level_of = [&](std::size_t bit) { return bits[bit % bits.size()] ? 1.0 : -1.0; };
    // The place in a bit, from -1/2 to 1/2, tells which neighbour the frequency comes from or goes to.
    const auto keyed = [&](std::size_t n) {
        const double place = (static_cast<double>(n % per_bit) + 0.5) / static_cast<double>(per_bit) - 0.5;
        const std::size_t bit = n / per_bit;
        const double own = level_of(bit);
        const double other = level_of(place < 0.0 ? bit + bits.size() - 1 : bit + 1);
        const double to_edge = (0.5 - std::abs(place)) * bit_s;
        const double share = to_edge < 0.5 * rise_s ? 0.5 - 0.5 * std::sin(M_PI * to_edge / rise_s) : 0.0;
        return own + share * (other - own);
    };
    double turns = 0.0;
    std::vector<double> phase(length);
    for (std::size_t n = 0; n < length; n++) {
        phase[n] = turns;
        turns += deviation_hz * step_s * keyed(n);
    }
    const double left_over = turns - std::round(turns);
    std::vector<std::complex<float>> wave(length), spectrum(length);
    for (std::size_t n = 0; n < length; n++) {
        const double even = left_over * static_cast<double>(n) / static_cast<double>(length);
        wave[n] = std::complex<float>(std::polar(1.0, 2.0 * M_PI * (phase[n] - even)));
    }
    Fft(length).Transform(wave, spectrum);
    const double amplitude = std::sqrt(To_Milliwatts(level_dbm));
    const double period_s = bit_s * static_cast<double>(bits.size());
    std::vector<Line> lines;
    for (std::size_t k = 0; k < length; k++) {
        const std::complex<double> part = std::complex<double>(spectrum[k]) / static_cast<double>(length);
        if (std::abs(part) > least_keyed_part) {
            const double turn =
                k < length / 2 ? static_cast<double>(k) : static_cast<double>(k) - static_cast<double>(length);
            lines.push_back(Make_Line(frequency_hz + (turn + left_over) / period_s, amplitude * std::abs(part),
                                      phase_rad + std::arg(part)));
        }
    }
    return lines;
}

}  // namespace virtual_board
