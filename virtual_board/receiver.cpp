#include "virtual_board/receiver.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "virtual_board/fft_analysis.h"
#include "virtual_board/resolution_filter.h"

namespace virtual_board {

namespace {

/// Values of one point: about two per 1/RBW of its time, but no more than this (or six per step, where a point has
/// many). 601 points then cost some milliseconds a sweep, whatever the sweep time.
constexpr int most_values_per_point = 256;
constexpr int most_values_per_step = 6;
/// A carrier between two values loses less than 0.1 dB when they are no further apart than this part of the RBW.
constexpr double value_spacing_rbw = 1.0 / 6.0;
/// Time spacing, in units of 1/RBW, above which noise is drawn per value and below which it flows over a time grid.
constexpr double noise_grid_spacing = 0.45;
constexpr double noise_grid_step = 0.25;
/// Where a point has many values, the noise's break between two points does not show and closer ones are drawn too.
constexpr double least_tap_spacing = 0.2;
constexpr int many_noise_values = 64;
/// A recording is brought to a lower rate first when that saves at least this factor.
constexpr double worthwhile_zoom = 4.0;
/// Narrower than this a filter is always measured by FFT: the direct sum would grow without bound.
constexpr double narrowest_swept_hz = 1000.0;

/// With EMI filters the values are close enough to show every pulse.
constexpr double emi_values_per_rbw = 4.0, emi_values_per_wide_rbw = 2.0, wide_emi_rbw_hz = 200e3;
constexpr double most_emi_values_per_point = 1 << 19;
/// A point shorter than this is too short for the meters to move.
constexpr double least_network_time_s = 10e-3;
/// How long the detectors have stood at the frequency when a zero span begins.
constexpr double settling_s = 0.25;
constexpr int most_settling_values = 4096, most_emi_settling_values = 1 << 16;
/// The video filter is run in time where values lie this much closer than its time constant.
constexpr double least_video_values = 2.0;
constexpr double widest_video_filter = 10.0;  ///< times the RBW

}  // namespace

double Rbw_Hertz(int index, bool emi) {
    constexpr std::array<double, 13> table = {1e6, 3e5, 1e5, 3e4, 1e4, 3e3, 1e3, 300.0, 100.0, 30.0, 10.0, 3.0, 1.0};
    if (index >= 0 && index < static_cast<int>(table.size())) {
        return table[static_cast<std::size_t>(index)];
    }
    // EMI filters are named by their 6 dB width, which for a Gaussian is sqrt(2) times that at 3 dB.
    switch (index) {
        case 13: return emi ? 200.0 * M_SQRT1_2 : 141.0;
        case 14: return emi ? 120e3 * M_SQRT1_2 : 84853.0;
        case 15: return emi ? 9000.0 * M_SQRT1_2 : 6364.0;
        default: return 3e5;
    }
}

double Vbw_Hertz(int index) {
    constexpr std::array<double, 13> table = {1e6, 3e5, 1e5, 3e4, 1e4, 3e3, 1e3, 300.0, 100.0, 30.0, 10.0, 3.0, 1.0};
    return index >= 0 && index < static_cast<int>(table.size()) ? table[static_cast<std::size_t>(index)] : 1e6;
}

Receiver::Receiver(std::shared_ptr<const Input> input, std::uint64_t seed) : front_end(std::move(input), seed) {}

Receiver::~Receiver() = default;

void Receiver::Configure(const Sweep_Settings& settings) {
    if (configured && settings == front_end.settings) {
        return;
    }
    front_end.Set(settings);
    configured = true;
    weighting = Weighting_Of(0.5 * (settings.start_hz + settings.stop_hz), settings.rbw_hz, settings.emi);
    network.reset();
    network_ns.reset();
    const bool wanted = settings.fft || settings.rbw_hz < narrowest_swept_hz;
    if (wanted && Fft_Analysis::Possible(front_end)) {
        if (fft_analysis == nullptr) {
            fft_analysis = std::make_unique<Fft_Analysis>();
        }
        fft_analysis->Configure(front_end);
        loop_filter.reset();
        zoomed.reset();
        return;
    }
    work_ns = Work_Ns();
    fft_analysis.reset();
    Prepare_Swept();
    Prepare_Recording();
    Prepare_Noise();
    tuned_step = 0;
    if (Zero_Span()) {
        tuned_step = Make_Line(settings.start_hz, 1.0, 0.0).phase_step;
        Gather_Lines(settings.start_hz, settings.start_hz);
    }
}

void Receiver::Prepare_Swept() {
    const Sweep_Settings& s = front_end.settings;
    const double width = front_end.Point_Width();
    const double point_s = static_cast<double>(s.time_ns) * 1e-9 / s.points;
    const int steps = width > 0.0 ? (s.steps + s.points - 1) / s.points : 1;
    const double least = std::clamp(std::ceil(width / (value_spacing_rbw * s.rbw_hz)), 1.0 * steps, 8.0 * steps);
    double wanted = std::min(std::floor(2.0 * point_s * s.rbw_hz),
                             static_cast<double>(std::max(most_values_per_point, most_values_per_step * steps)));
    if (s.emi) {
        const double density = s.rbw_hz > wide_emi_rbw_hz ? emi_values_per_wide_rbw : emi_values_per_rbw;
        wanted = std::min(std::ceil(density * point_s * s.rbw_hz), most_emi_values_per_point);
    }
    values_per_point = static_cast<int>(std::max(least, wanted));
    value_spacing_ns = static_cast<double>(s.time_ns) / s.points / values_per_point;
    signals.resize(static_cast<std::size_t>(values_per_point));
    video_map = Video_Map(s.vbw_hz, s.rbw_hz);
    const double values_per_video = 1e9 / (2.0 * M_PI * s.vbw_hz * value_spacing_ns);
    video_runs =
        s.vbw_hz < s.rbw_hz || (s.vbw_hz < widest_video_filter * s.rbw_hz && values_per_video > least_video_values);
    if (Zero_Span() || (s.emi && point_s > least_network_time_s)) {
        network.emplace(weighting, value_spacing_ns * 1e-9);
        envelopes.resize(signals.size());
    }
}

void Receiver::Prepare_Recording() {
    const Sweep_Settings& s = front_end.settings;
    const double width = front_end.Point_Width();
    loop_filter.reset();
    if (!front_end.input->recording) {
        return;
    }
    const Iq_Loop& recording = *front_end.input->recording;
    const double center = 0.5 * (s.start_hz + s.stop_hz);
    const double seen = s.stop_hz - s.start_hz + width + 2.0 * filter_reach * s.rbw_hz;
    const bool overlaps = std::abs(center - recording.center_hz) < 0.5 * (seen + recording.rate_hz);
    if (!overlaps) {
        zoomed.reset();
    } else if (1.5 * worthwhile_zoom * seen > recording.rate_hz) {
        zoomed.reset();
        loop_filter.emplace(recording, s.rbw_hz);
    } else {
        if (!zoomed || zoomed_center != center || zoomed_width != seen) {
            zoomed = Zoom(recording, center, seen);
            zoomed_center = center;
            zoomed_width = seen;
        }
        loop_filter.emplace(*zoomed, s.rbw_hz);
    }
}

void Receiver::Prepare_Noise() {
    const Sweep_Settings& s = front_end.settings;
    const double low = s.start_hz - front_end.Point_Width();
    const double high = s.stop_hz + front_end.Point_Width();
    steady_noise = front_end.Noise_Power(s.start_hz);
    noise_varies = front_end.Noise_Varies(low, high);

    // Noise behind the filter is white noise through the impulse response at the spacing of the values.
    const double spacing = value_spacing_ns * 1e-9 * s.rbw_hz;
    noise_taps.clear();
    if (spacing >= noise_grid_spacing || (values_per_point >= many_noise_values && spacing >= least_tap_spacing)) {
        const int side = spacing > 1.1 ? 0 : static_cast<int>(std::ceil(1.06 / spacing));
        double square = 0.0;
        for (int k = -side; k <= side; k++) {
            const double x = k * spacing / impulse_sigma;
            noise_taps.push_back(std::exp(-0.5 * x * x));
            square += noise_taps.back() * noise_taps.back();
        }
        for (double& tap : noise_taps) {
            tap /= std::sqrt(square);
        }
    }
    noise.resize(static_cast<std::size_t>(values_per_point));
    white.resize(noise.size() + noise_taps.size());
}

/// Gathers the lines that the filter lets through while it is tuned from low_hz to high_hz.
void Receiver::Gather_Lines(double low_hz, double high_hz) {
    const double reach = filter_reach * front_end.settings.rbw_hz;
    bank.Clear();
    bank.Add(Lines_Between(front_end.input->lines, low_hz - reach, high_hz + reach), front_end.gain);
    bank.Add(Lines_Between(front_end.own_lines, low_hz - reach, high_hz + reach), 1.0);
}

void Receiver::Begin_Sweep(std::int64_t start_ns, bool fresh) {
    sweep_start_ns = start_ns;
    if (fresh) {
        video_dbm.reset();
    }
    if (fft_analysis != nullptr) {
        fft_analysis->Begin_Sweep(start_ns);
    } else if (Zero_Span() && network_ns != start_ns) {
        Settle_Network();
    }
}

/// Lets the quasi-peak and EMI average detectors stand as if they had been at this frequency for long.
void Receiver::Settle_Network() {
    const int most = front_end.settings.emi ? most_emi_settling_values : most_settling_values;
    const auto count = static_cast<std::size_t>(
        std::clamp(settling_s * emi_values_per_rbw * front_end.settings.rbw_hz, 64.0, static_cast<double>(most)));
    const double spacing_ns = settling_s * 1e9 / static_cast<double>(count);
    const std::int64_t first_ns = sweep_start_ns - static_cast<std::int64_t>(settling_s * 1e9);
    Random random(Combine_Seed(~front_end.seed, static_cast<std::uint64_t>(sweep_start_ns)));
    std::array<std::complex<double>, 64> settling_block;
    Envelope_Histogram levels;
    const double noise_amplitude = std::sqrt(steady_noise);
    for (std::size_t done = 0; done < count; done += settling_block.size()) {
        const std::int64_t block_ns = first_ns + static_cast<std::int64_t>(spacing_ns * static_cast<double>(done));
        bank.Fill({.first_ns = block_ns,
                   .spacing_ns = spacing_ns,
                   .first_hz = front_end.settings.start_hz,
                   .rbw_hz = front_end.settings.rbw_hz,
                   .reference_step = tuned_step},
                  settling_block);
        for (std::size_t v = 0; v < settling_block.size(); v++) {
            const std::int64_t time_ns = block_ns + static_cast<std::int64_t>(spacing_ns * static_cast<double>(v));
            const std::complex<double> other = Uneven_Signal(front_end.settings.start_hz, time_ns);
            levels.Add(std::norm(settling_block[v] + other + noise_amplitude * random.Complex_Normal()));
        }
    }
    network->Settle(levels);
    const double each = static_cast<double>(bank.Size()) + 40.0 + (loop_filter ? loop_filter->Work_Ns() : 0.0);
    work_ns += static_cast<double>(count) * each;
}

/// Noise of unit mean power for the values of a point, the first at first_ns.
void Receiver::Fill_Noise(int point, std::int64_t first_ns) {
    if (!noise_taps.empty()) {
        const std::uint64_t sweep_seed = Combine_Seed(front_end.seed, static_cast<std::uint64_t>(sweep_start_ns));
        Random random(Combine_Seed(sweep_seed, static_cast<std::uint64_t>(point)));
        if (noise_taps.size() == 1) {
            std::ranges::generate(noise, [&] { return random.Complex_Normal(); });
            return;
        }
        std::ranges::generate(white, [&] { return random.Complex_Normal(); });
        for (std::size_t v = 0; v < noise.size(); v++) {
            std::complex<double> sum = 0.0;
            for (std::size_t k = 0; k < noise_taps.size(); k++) {
                sum += noise_taps[k] * white[v + k];
            }
            noise[v] = sum;
        }
        return;
    }
    const double grid_ns = noise_grid_step * 1e9 / front_end.settings.rbw_hz;
    constexpr int side = 5;
    for (std::size_t v = 0; v < noise.size(); v++) {
        const double place = (static_cast<double>(first_ns) + static_cast<double>(v) * value_spacing_ns) / grid_ns;
        const auto nearest = static_cast<std::int64_t>(std::floor(place + 0.5));
        std::complex<double> sum = 0.0;
        double square = 0.0;
        for (std::int64_t k = nearest - side; k <= nearest + side; k++) {
            const double x = (place - static_cast<double>(k)) * noise_grid_step / impulse_sigma;
            const double tap = std::exp(-0.5 * x * x);
            sum += tap * Random(Combine_Seed(front_end.seed, static_cast<std::uint64_t>(k))).Complex_Normal();
            square += tap * tap;
        }
        noise[v] = sum / std::sqrt(square);
    }
}

/// What is not made of steady lines: drifting carriers and the recording.
std::complex<double> Receiver::Uneven_Signal(double frequency_hz, std::int64_t time_ns) {
    const double rbw = front_end.settings.rbw_hz;
    const double reach = filter_reach * rbw;
    std::complex<double> sum = 0.0;
    for (const Drifting_Line& line : front_end.input->drifting) {
        if (std::abs(line.frequency_hz - frequency_hz) < reach + 0.5 * line.range_hz) {
            sum += Filter_Response(line.Frequency(time_ns) - frequency_hz, rbw) * line.At(time_ns);
        }
    }
    if (sum != 0.0) {
        sum *= std::conj(Unit_Phasor(tuned_step * static_cast<std::uint64_t>(time_ns)));
    }
    if (loop_filter) {
        const Iq_Loop& recording = *front_end.input->recording;
        if (std::abs(frequency_hz - recording.center_hz) < 0.5 * recording.rate_hz + reach) {
            sum += loop_filter->Envelope(frequency_hz, time_ns);
        }
    }
    return front_end.gain * sum;
}

double Receiver::Work_Ns() const { return work_ns + (fft_analysis != nullptr ? fft_analysis->Work_Ns() : 0.0); }

Point_Values Receiver::Measure(int point) {
    if (fft_analysis != nullptr) {
        return fft_analysis->Measure(point);
    }
    const double point_ns = static_cast<double>(front_end.settings.time_ns) / front_end.settings.points;
    const auto first_ns = sweep_start_ns + static_cast<std::int64_t>(point_ns * point);
    const Run whole{0, signals.size(), first_ns};
    return Measure(point, {&whole, 1});
}

Point_Values Receiver::Measure(int point, std::span<const Run> runs) {
    const Sweep_Settings& s = front_end.settings;
    const double width = front_end.Point_Width();
    const double center = front_end.Point_Center(point);
    Fill_Noise(point, runs.front().first_ns);
    Fill_Signals(point, runs);

    const double spacing = value_spacing_ns * 1e-9 * s.rbw_hz;
    const double independent = std::max(1.0, spacing * independent_powers);
    const double follow = 1.0 - std::exp(-2.0 * M_PI * s.vbw_hz * value_spacing_ns * 1e-9);
    Point_Detector detector;
    for (int v = 0; v < values_per_point; v++) {
        const auto at = static_cast<std::size_t>(v);
        const double frequency = center + width * ((v + 0.5) / values_per_point - 0.5);
        const double noise_power = noise_varies ? front_end.Noise_Power(frequency) : steady_noise;
        const std::complex<double> sum = signals[at] + std::sqrt(noise_power) * noise[at];
        const Envelope_Value value{std::norm(sum), std::norm(signals[at]), noise_power};
        if (network) {
            envelopes[at] = std::sqrt(value.power);
        }
        if (!video_runs) {
            detector.Add(value, independent, video_map);
            continue;
        }
        const double dbm = Quieted_Dbm(value, spacing * independent_logs);
        video_dbm = video_dbm ? *video_dbm + follow * (dbm - *video_dbm) : dbm;
        detector.Add_Filtered(value, independent, *video_dbm);
    }
    Point_Values values = detector.Values(weighting);
    if (network) {
        if (!Zero_Span()) {
            network->Settle(detector.Levels());
        }
        Run_Network(values);
        network_ns.reset();
        if (point + 1 == s.points) {
            network_ns = sweep_start_ns + s.time_ns;
        }
    }
    return values;
}

/// The input's part of the values of a point.
void Receiver::Fill_Signals(int point, std::span<const Run> runs) {
    const double width = front_end.Point_Width();
    const double center = front_end.Point_Center(point);
    if (!Zero_Span()) {
        Gather_Lines(center - 0.5 * width, center + 0.5 * width);
    }
    const double spacing_hz = width / values_per_point;
    const bool uneven = loop_filter || !front_end.input->drifting.empty();
    for (const Run& run : runs) {
        const Line_Bank::Course course = {
            .first_ns = run.first_ns,
            .spacing_ns = value_spacing_ns,
            .first_hz = center + 0.5 * (spacing_hz - width) + spacing_hz * static_cast<double>(run.first),
            .spacing_hz = spacing_hz,
            .rbw_hz = front_end.settings.rbw_hz,
            .reference_step = tuned_step};
        const std::span<std::complex<double>> sums = std::span(signals).subspan(run.first, run.count);
        bank.Fill(course, sums);
        for (std::size_t v = 0; uneven && v < sums.size(); v++) {
            const auto place = static_cast<double>(v);
            const std::int64_t time_ns = run.first_ns + static_cast<std::int64_t>(value_spacing_ns * place);
            sums[v] += Uneven_Signal(course.first_hz + spacing_hz * place, time_ns);
        }
    }
    const double each = 40.0 + 2.0 * static_cast<double>(bank.Size()) + (network ? 30.0 : 0.0) +
                        (loop_filter ? loop_filter->Work_Ns() : 0.0);
    work_ns += static_cast<double>(signals.size()) * each + 100.0 * static_cast<double>(bank.Size());
}

void Receiver::Run_Network(Point_Values& values) {
    for (const double envelope : envelopes) {
        network->Step(envelope);
    }
    values.quasi_peak = network->Take_Quasi_Peak();
    values.emi_average = network->Take_Emi_Average();
}

}  // namespace virtual_board
