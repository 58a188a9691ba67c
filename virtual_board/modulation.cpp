#include "virtual_board/modulation.h"

#include <algorithm>
#include <cmath>
#include <complex>

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
            sum += std::polar(stretch.length / period_s * sinc,
                              -2.0 * M_PI * f * (stretch.start + 0.5 * stretch.length));
        }
        sum *= std::exp(-0.5 * (2.0 * M_PI * f * sigma) * (2.0 * M_PI * f * sigma));
        if (std::abs(sum) > least_part) {
            lines.push_back(Make_Line(frequency_hz + f, amplitude * std::abs(sum), phase_rad + std::arg(sum)));
        }
    }
    return lines;
}

}  // namespace virtual_board
