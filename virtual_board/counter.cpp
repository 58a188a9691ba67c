// The frequency counter: phases of the signal behind the resolution filter. Time base and local oscillator are exact, so a
// count of a steady carrier is wrong by less than the resolution.

#include <cmath>

#include "virtual_board/random.h"
#include "virtual_board/receiver.h"
#include "virtual_board/resolution_filter.h"

namespace virtual_board {

namespace {

/// A first run of values close to each other follows the phase wherever in the filter the signal stands; then the distance
/// over which it is compared grows up to the gate time.
constexpr int close_values = 256;
constexpr double values_per_rbw = 4.0, growth = 4.0;
/// Of a recording, samples within this many 1/RBW of the moment count.
constexpr double window_reach = 1.2;

/// The filter's response to a recording around a moment, its phase that of the tuned frequency.
std::complex<double> Recorded_Envelope(const Iq_Loop& loop, double frequency_hz, double rbw_hz, std::int64_t time_ns) {
    if (loop.Size() == 0 || std::abs(frequency_hz - loop.center_hz) > 0.5 * loop.rate_hz) {
        return 0.0;
    }
    const double position = Loop_Position(loop, time_ns);
    const auto middle = static_cast<std::int64_t>(std::floor(position));
    const auto reach = static_cast<std::int64_t>(std::ceil(window_reach / rbw_hz * loop.rate_hz));
    const auto size = static_cast<std::int64_t>(loop.Size());
    const double seconds = static_cast<double>(time_ns) * 1e-9;
    const double turns_per_sample = (frequency_hz - loop.center_hz) / loop.rate_hz;
    std::complex<double> sum = 0.0;
    double weight = 0.0;
    for (std::int64_t k = middle - reach; k <= middle + reach; k++) {
        const double away = static_cast<double>(k) - position;
        const double x = away / loop.rate_hz * rbw_hz / impulse_sigma;
        const double tap = std::exp(-0.5 * x * x);
        const auto at = static_cast<std::size_t>(((k % size) + size) % size);
        const std::complex<double> sample(loop.re[at], loop.im[at]);
        sum += tap * sample * std::polar(1.0, -2.0 * M_PI * turns_per_sample * away);
        weight += tap;
    }
    // The loop runs on: its phase is turned back by the tuned frequency over the whole time.
    const double turns = std::remainder((frequency_hz - loop.center_hz) * seconds, 1.0);
    return sum / weight * std::polar(1.0, -2.0 * M_PI * turns);
}

}  // namespace

/// What stands behind the filter, turned back by the tuned frequency; without noise.
std::complex<double> Receiver::Standing_Envelope(double frequency_hz, std::int64_t time_ns) const {
    const double rbw = front_end.settings.rbw_hz, reach = filter_reach * rbw;
    std::complex<double> sum = 0.0;
    const auto add = [&](std::span<const Line> lines, double gain) {
        for (const Line& line : Lines_Between(lines, frequency_hz - reach, frequency_hz + reach)) {
            sum += gain * Filter_Response(line.frequency_hz - frequency_hz, rbw) * line.At(time_ns);
        }
    };
    add(front_end.input->lines, front_end.gain);
    add(front_end.own_lines, 1.0);
    for (const Drifting_Line& line : front_end.input->drifting) {
        const double away = line.Frequency(time_ns) - frequency_hz;
        if (std::abs(away) < reach) {
            sum += front_end.gain * Filter_Response(away, rbw) * line.At(time_ns);
        }
    }
    const std::uint64_t turned = Make_Line(frequency_hz, 1.0, 0.0).phase_step * static_cast<std::uint64_t>(time_ns);
    sum *= std::conj(Unit_Phasor(turned));
    if (front_end.input->recording) {
        sum += front_end.gain * Recorded_Envelope(*front_end.input->recording, frequency_hz, rbw, time_ns);
    }
    return sum;
}

Receiver::Count_Result Receiver::Count(double frequency_hz, std::int64_t start_ns, std::int64_t gate_ns) {
    const double noise = front_end.Noise_Power(frequency_hz);
    Random random(Combine_Seed(front_end.seed + 1, static_cast<std::uint64_t>(start_ns)));
    const auto value_at = [&](double after_ns) {
        const std::int64_t time_ns = start_ns + static_cast<std::int64_t>(after_ns);
        return Standing_Envelope(frequency_hz, time_ns) + std::sqrt(noise) * random.Complex_Normal();
    };
    // Whole nanoseconds, so that distances are what they are taken for.
    const auto gate = static_cast<double>(gate_ns);
    const double spacing_ns =
        std::max(1.0, std::floor(std::min(1e9 / (values_per_rbw * front_end.settings.rbw_hz), gate / close_values)));
    const std::complex<double> first = value_at(0.0);
    std::complex<double> before = first;
    double turns = 0.0, power = std::norm(first);
    for (int i = 1; i < close_values; i++) {
        const std::complex<double> value = value_at(i * spacing_ns);
        turns += std::arg(value * std::conj(before)) / (2.0 * M_PI);
        power += std::norm(value);
        before = value;
    }
    double distance_ns = (close_values - 1) * spacing_ns;
    double offset_hz = turns / distance_ns * 1e9;
    while (distance_ns < gate) {
        distance_ns = std::min(std::floor(distance_ns * growth), gate);
        const double part = std::arg(value_at(distance_ns) * std::conj(first)) / (2.0 * M_PI);
        const double expected = offset_hz * distance_ns * 1e-9;
        offset_hz = (part + std::round(expected - part)) / distance_ns * 1e9;
    }
    work_ns += close_values * (40.0 + 20.0 * static_cast<double>(front_end.input->lines.size()));
    const double signal = std::max(power / close_values - noise, 0.0);
    return {frequency_hz + offset_hz, To_Dbm(signal) - To_Dbm(noise)};
}

}  // namespace virtual_board
