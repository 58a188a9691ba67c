#include "virtual_board/iq_loop.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "virtual_board/resolution_filter.h"

namespace virtual_board {

namespace {

constexpr double pi = std::numbers::pi;
constexpr std::size_t lanes = 16;
constexpr std::size_t block_length = 64;
/// A filter at least this many times narrower than the rate is summed directly; a wider one sees the ends of the band.
constexpr double narrow_ratio = 8.0;

/// Modified Bessel function of the first kind and order 0, by its power series.
double Bessel_I0(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; term > 1e-12 * sum; k++) {
        term *= (x / (2.0 * k)) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

/// Copies loop samples from first on, wrapping, into the two planes.
void Gather(const Iq_Loop& loop, std::int64_t first, std::size_t count, float* re, float* im) {
    const auto size = static_cast<std::int64_t>(loop.Size());
    auto at = static_cast<std::size_t>(((first % size) + size) % size);
    while (count > 0) {
        const std::size_t run = std::min(count, loop.Size() - at);
        std::copy_n(loop.re.data() + at, run, re);
        std::copy_n(loop.im.data() + at, run, im);
        re += run;
        im += run;
        count -= run;
        at = 0;
    }
}

/// Turns samples by exp(-j angle n), n counted from 0.
void Mix(std::span<float> re, std::span<float> im, double start_angle, double step_angle) {
    constexpr std::size_t restart = 1024;
    const std::complex<double> step = std::polar(1.0, -step_angle);
    std::complex<double> phasor;
    for (std::size_t n = 0; n < re.size(); n++) {
        if (n % restart == 0) {
            phasor = std::polar(1.0, -(start_angle + step_angle * static_cast<double>(n)));
        }
        const auto c = static_cast<float>(phasor.real());
        const auto s = static_cast<float>(phasor.imag());
        const float x = re[n];
        re[n] = x * c - im[n] * s;
        im[n] = x * s + im[n] * c;
        phasor = {phasor.real() * step.real() - phasor.imag() * step.imag(),
                  phasor.real() * step.imag() + phasor.imag() * step.real()};
    }
}

/// Low-pass of unit gain (windowed sinc after Kaiser), tabulated finely over the distance from its middle.
struct Low_Pass {
    double half;           ///< length of one side, samples
    double per_sample;     ///< table entries a sample
    std::vector<float> table;

    /// Frequencies over the sample rate: middle of the transition and its width.
    Low_Pass(double cutoff, double transition) {
        constexpr double attenuation_db = 90.0;
        constexpr double beta = 0.1102 * (attenuation_db - 8.7);
        half = 0.5 * (attenuation_db - 8.0) / (2.285 * 2.0 * pi * transition);
        per_sample = 1024.0 * cutoff;
        table.resize(static_cast<std::size_t>(half * per_sample) + 3);
        for (std::size_t i = 0; i < table.size(); i++) {
            const double u = static_cast<double>(i) / per_sample;
            const double edge = 1.0 - (u / half) * (u / half);
            const double taper = edge > 0.0 ? Bessel_I0(beta * std::sqrt(edge)) / Bessel_I0(beta) : 0.0;
            const double angle = 2.0 * pi * cutoff * u;
            const double sinc = angle == 0.0 ? 1.0 : std::sin(angle) / angle;
            table[i] = static_cast<float>(2.0 * cutoff * sinc * taper);
        }
    }

    float At(double distance) const {
        const auto place = static_cast<float>(std::abs(distance) * per_sample);
        const auto index = static_cast<std::int32_t>(place);
        const float part = place - static_cast<float>(index);
        return table[index] + part * (table[index + 1] - table[index]);
    }
};

}  // namespace

double Loop_Position(const Iq_Loop& loop, std::int64_t time_ns) {
    const auto size = static_cast<double>(loop.Size());
    const double position = std::fmod(static_cast<double>(time_ns) * 1e-9 * loop.rate_hz, size);
    return position < 0.0 ? position + size : position;
}

Iq_Loop Zoom(const Iq_Loop& source, double center_hz, double width_hz) {
    const auto size = static_cast<double>(source.Size());
    const double duration = size / source.rate_hz;
    const double count = std::clamp(std::ceil(1.5 * width_hz * duration), 1.0, size);
    Iq_Loop zoomed;
    zoomed.rate_hz = count / duration;
    const double turns = std::round((center_hz - source.center_hz) * duration);
    zoomed.center_hz = source.center_hz + turns / duration;
    zoomed.re.resize(static_cast<std::size_t>(count));
    zoomed.im.resize(zoomed.re.size());

    const double ratio = size / count;
    const double transition = std::max(zoomed.rate_hz - width_hz, 0.05 * zoomed.rate_hz) / source.rate_hz;
    const Low_Pass filter(0.5 / ratio, transition);
    const auto half = static_cast<std::int64_t>(filter.half);
    const auto chunk = static_cast<std::size_t>(std::max(65536.0, 32.0 * filter.half) / ratio) + 1;
    std::vector<float> re, im;
    for (std::size_t start = 0; start < zoomed.Size(); start += chunk) {
        const std::size_t end = std::min(start + chunk, zoomed.Size());
        const auto first = static_cast<std::int64_t>(static_cast<double>(start) * ratio) - half - 1;
        const auto last = static_cast<std::int64_t>(static_cast<double>(end - 1) * ratio) + half + 2;
        re.resize(static_cast<std::size_t>(last - first + 1));
        im.resize(re.size());
        Gather(source, first, re.size(), re.data(), im.data());
        const double angle = 2.0 * pi * turns / size;
        Mix(re, im, std::fmod(turns * static_cast<double>(first), size) * 2.0 * pi / size, angle);
        for (std::size_t m = start; m < end; m++) {
            const double center = static_cast<double>(m) * ratio;
            const auto from = static_cast<std::int64_t>(std::ceil(center - filter.half));
            const auto to = static_cast<std::int64_t>(std::floor(center + filter.half));
            float sum_re = 0.0F;
            float sum_im = 0.0F;
            for (std::int64_t n = from; n <= to; n++) {
                const float weight = filter.At(static_cast<double>(n) - center);
                sum_re += weight * re[static_cast<std::size_t>(n - first)];
                sum_im += weight * im[static_cast<std::size_t>(n - first)];
            }
            zoomed.re[m] = sum_re;
            zoomed.im[m] = sum_im;
        }
    }
    return zoomed;
}

Loop_Filter::Loop_Filter(const Iq_Loop& loop, double rbw_hz)
    : loop(&loop), rbw_hz(rbw_hz), block_fft(block_length), weights(block_length), kernel(block_length) {
    if (loop.rate_hz < narrow_ratio * rbw_hz) {
        scratch_re.resize(block_length);
        scratch_im.resize(block_length);
        return;
    }
    const double sigma = impulse_sigma / rbw_hz * loop.rate_hz;
    half = static_cast<std::size_t>(std::ceil(impulse_reach * sigma));
    window.assign((2 * half + lanes) / lanes * lanes, 0.0F);
    double sum = 0.0;
    for (std::size_t n = 0; n <= 2 * half; n++) {
        const double x = (static_cast<double>(n) - static_cast<double>(half)) / sigma;
        sum += std::exp(-0.5 * x * x);
    }
    for (std::size_t n = 0; n <= 2 * half; n++) {
        const double x = (static_cast<double>(n) - static_cast<double>(half)) / sigma;
        window[n] = static_cast<float>(std::exp(-0.5 * x * x) / sum);
    }
    scratch_re.resize(window.size());
    scratch_im.resize(window.size());
}

Loop_Filter::Samples Loop_Filter::At(std::int64_t first, std::size_t count) {
    const auto size = static_cast<std::int64_t>(loop->Size());
    const std::int64_t at = ((first % size) + size) % size;
    if (at + static_cast<std::int64_t>(count) <= size) {
        return {loop->re.data() + at, loop->im.data() + at};
    }
    Gather(*loop, at, count, scratch_re.data(), scratch_im.data());
    return {scratch_re.data(), scratch_im.data()};
}

std::complex<double> Loop_Filter::Envelope(double frequency_hz, std::int64_t time_ns) {
    const double offset = frequency_hz - loop->center_hz;
    const auto center = std::llround(Loop_Position(*loop, time_ns));
    if (window.empty()) {
        return Wide(offset, center);
    }
    return std::abs(offset) <= 0.5 * loop->rate_hz ? Narrow(offset, center) : 0.0;
}

std::complex<double> Loop_Filter::Narrow(double offset_hz, std::int64_t center) {
    // Every lane is a polynomial in exp(-j lanes theta), summed after Horner; the lanes' own phases come last.
    const double theta = 2.0 * pi * offset_hz / loop->rate_hz;
    const std::complex<double> turn = std::polar(1.0, -theta * static_cast<double>(lanes));
    const auto c = static_cast<float>(turn.real());
    const auto s = static_cast<float>(turn.imag());
    const Samples x = At(center - static_cast<std::int64_t>(half), window.size());
    std::array<float, lanes> re{};
    std::array<float, lanes> im{};
    for (std::size_t group = window.size(); group > 0; group -= lanes) {
        const std::size_t base = group - lanes;
        for (std::size_t lane = 0; lane < lanes; lane++) {
            const float w = window[base + lane];
            const float turned = re[lane] * c - im[lane] * s + w * x.re[base + lane];
            im[lane] = re[lane] * s + im[lane] * c + w * x.im[base + lane];
            re[lane] = turned;
        }
    }
    std::complex<double> sum = 0.0;
    for (std::size_t lane = 0; lane < lanes; lane++) {
        sum += std::complex<double>(re[lane], im[lane]) * std::polar(1.0, -theta * static_cast<double>(lane));
    }
    return sum;
}

/// The impulse response of a wide filter: the transform of the filter's curve over the sampled band, flat where it is
/// strong and tapered at the ends of the block, so that the ends of the band stay sharp.
void Loop_Filter::Make_Kernel(double offset_hz) {
    constexpr int length = block_length;
    constexpr int middle = length / 2;
    constexpr double flat = 20.0;
    kernel_offset_hz = offset_hz;
    for (int k = 0; k < length; k++) {
        const double frequency = (k < middle ? k : k - length) * loop->rate_hz / length;
        weights[static_cast<std::size_t>(k)] = static_cast<float>(Filter_Response(frequency - offset_hz, rbw_hz));
    }
    block_fft.Transform(weights, kernel);
    std::rotate(kernel.begin(), kernel.begin() + middle, kernel.end());
    for (int n = 0; n < length; n++) {
        const double distance = std::abs(n - middle);
        const double taper = distance <= flat ? 1.0 : 0.5 + 0.5 * std::cos(pi * (distance - flat) / (middle - flat));
        kernel[static_cast<std::size_t>(n)] *= static_cast<float>(taper / length);
    }
}

std::complex<double> Loop_Filter::Wide(double offset_hz, std::int64_t center) {
    if (offset_hz != kernel_offset_hz) {
        Make_Kernel(offset_hz);
    }
    const Samples x = At(center - static_cast<std::int64_t>(block_length / 2), block_length);
    float re = 0.0F;
    float im = 0.0F;
    for (std::size_t n = 0; n < block_length; n++) {
        re += x.re[n] * kernel[n].real() - x.im[n] * kernel[n].imag();
        im += x.re[n] * kernel[n].imag() + x.im[n] * kernel[n].real();
    }
    return {re, im};
}

}  // namespace virtual_board
