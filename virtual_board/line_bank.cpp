#include "virtual_board/line_bank.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "virtual_board/resolution_filter.h"

namespace virtual_board {

namespace {

/// After so many values, or so many RBW, the lines start anew, so that neither errors nor the response's range grow.
constexpr double most_run = 1024.0, most_run_rbw = 8.0;

}  // namespace

void Line_Bank::Clear() {
    lines.clear();
    kept_spacing_ns = 0.0;
}

void Line_Bank::Add(std::span<const Line> some, double factor) {
    for (const Line& line : some) {
        lines.push_back(line);
        lines.back().amplitude *= factor;
    }
}

/// Lets the lines within reach of the next count values stand at the first of them.
void Line_Bank::Start(const Course& course, std::size_t first, std::size_t count) {
    const auto place = static_cast<double>(first);
    const auto time_ns =
        static_cast<std::uint64_t>(course.first_ns + static_cast<std::int64_t>(course.spacing_ns * place));
    const double tuned = course.first_hz + course.spacing_hz * place;
    const double low = tuned - filter_reach * course.rbw_hz;
    const double high = tuned + course.spacing_hz * static_cast<double>(count) + filter_reach * course.rbw_hz;
    const double step = course.spacing_hz / course.rbw_hz;
    // Behind a filter that stands still only the phases move on.
    const bool kept = step == 0.0 && kept_spacing_ns == course.spacing_ns;
    kept_spacing_ns = step == 0.0 ? course.spacing_ns : 0.0;
    running = 0;
    for (const Line& line : lines) {
        if (line.frequency_hz < low || line.frequency_hz > high) {
            continue;
        }
        // The response is exp(-2 ln 2 x^2), x the offset over the RBW; a step to x - d changes it by
        // exp(2 ln 2 (2 x d - d^2)).
        const double x = (line.frequency_hz - tuned) / course.rbw_hz;
        const std::uint64_t turns = line.phase_step - course.reference_step;
        if (!kept) {
            amplitude[running] = line.amplitude * std::exp(-2.0 * M_LN2 * x * x);
            const double turns_per_ns = static_cast<double>(static_cast<std::int64_t>(turns)) * 0x1p-64;
            const double angle = 2.0 * M_PI * std::remainder(turns_per_ns * course.spacing_ns, 1.0);
            turn_re[running] = std::cos(angle);
            turn_im[running] = std::sin(angle);
            change[running] = step == 0.0 ? 1.0 : std::exp(2.0 * M_LN2 * step * (2.0 * x - step));
        }
        const std::complex<double> value = amplitude[running] * Unit_Phasor(line.phase + turns * time_ns);
        re[running] = value.real();
        im[running] = value.imag();
        running++;
    }
    for (; running % lanes != 0; running++) {
        re[running] = im[running] = 0.0;
        turn_re[running] = turn_im[running] = change[running] = 1.0;
    }
}

void Line_Bank::Fill(const Course& course, std::span<std::complex<double>> sums) {
    for (std::vector<double>* plane : {&re, &im, &turn_re, &turn_im, &change, &amplitude}) {
        plane->resize(std::max(plane->size(), lines.size() + lanes));
    }
    const double wide = most_run_rbw * course.rbw_hz / std::max(course.spacing_hz, 1e-300);
    const auto run = static_cast<std::size_t>(std::clamp(wide, 1.0, most_run));
    const double step = course.spacing_hz / course.rbw_hz;
    const double bend = std::exp(-4.0 * M_LN2 * step * step);
    for (std::size_t v = 0; v < sums.size(); v++) {
        if (v % run == 0) {
            Start(course, v, std::min(run, sums.size() - v));
        }
        std::array<double, lanes> sum_re{}, sum_im{};
        for (std::size_t group = 0; group < running; group += lanes) {
            for (std::size_t lane = 0; lane < lanes; lane++) {
                const std::size_t i = group + lane;
                sum_re[lane] += re[i];
                sum_im[lane] += im[i];
                const double turned = re[i] * turn_re[i] - im[i] * turn_im[i];
                im[i] = (re[i] * turn_im[i] + im[i] * turn_re[i]) * change[i];
                re[i] = turned * change[i];
                change[i] *= bend;
            }
        }
        sums[v] = {(sum_re[0] + sum_re[1]) + (sum_re[2] + sum_re[3]),
                   (sum_im[0] + sum_im[1]) + (sum_im[2] + sum_im[3])};
    }
}

}  // namespace virtual_board
