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
/// A recording is brought to a lower rate first when that saves at least this factor.
constexpr double worthwhile_zoom = 4.0;
/// Narrower than this a filter is always measured by FFT: the direct sum would grow without bound.
constexpr double narrowest_swept_hz = 1000.0;

constexpr double thermal_dbm_hz = -174.0;
/// The noise figure is even between these and rises towards 0 Hz and the highest frequency.
constexpr double even_from_hz = 1e6, even_to_hz = 2.5e9, highest_hz = 3.25e9, noise_rise_db = 3.0;

/// E(ln |s + n|^2) for a steady signal in complex Gaussian noise, less ln of the noise power; ratio is signal over
/// noise. It is ln(ratio) + E1(ratio), E1 after Abramowitz and Stegun 5.1.53 and 5.1.56.
double Mean_Log(double ratio) {
    const double x = ratio;
    if (x <= 1.0) {
        return -0.57721566 +
               x * (0.99999193 + x * (-0.24991055 + x * (0.05519968 + x * (-0.00976004 + x * 0.00107857))));
    }
    if (x > 50.0) {
        return std::log(x);
    }
    const double fraction = (x * x + 2.334733 * x + 0.250621) / (x * x + 3.330657 * x + 1.681534);
    return std::log(x) + fraction * std::exp(-x) / x;
}

constexpr double db_per_neper = 4.342944819032518;  // 10 / ln 10

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

double Noise_Figure(double frequency_hz, bool preamplifier) {
    const double f = std::abs(frequency_hz);
    const double low = std::max(0.0, 1.0 - f / even_from_hz);
    const double high = std::clamp((f - even_to_hz) / (highest_hz - even_to_hz), 0.0, 1.0);
    return (preamplifier ? 12.0 : 24.0) + noise_rise_db * (low + high);
}

void Front_End::Set(const Sweep_Settings& new_settings) {
    settings = new_settings;
    even_noise = To_Milliwatts(thermal_dbm_hz + Noise_Figure(even_from_hz, settings.preamplifier) +
                               settings.attenuation_db) * enbw_factor * settings.rbw_hz;
}

double Front_End::Noise_Power(double frequency_hz) const {
    double power = even_noise;
    if (frequency_hz < even_from_hz || frequency_hz > even_to_hz) {
        power *= To_Milliwatts(Noise_Figure(frequency_hz, false) - Noise_Figure(even_from_hz, false));
    }
    for (const Noise_Band& band : input->noise) {
        power += band.Power_Through(frequency_hz, settings.rbw_hz);
    }
    return power;
}

Line Front_End::Feedthrough() const {
    return Make_Line(0.0, std::sqrt(To_Milliwatts(feedthrough_dbm + settings.attenuation_db)), 0.0);
}

double Front_End::Point_Width() const {
    return settings.points > 1 ? (settings.stop_hz - settings.start_hz) / (settings.points - 1) : 0.0;
}

double Quieted_Dbm(const Envelope_Value& value, double independent) {
    const double dbm = To_Dbm(value.power);
    if (independent <= 1.0) {
        return dbm;
    }
    const double mean = To_Dbm(value.noise_power) + db_per_neper * Mean_Log(value.signal_power / value.noise_power);
    return mean + (dbm - mean) / std::sqrt(independent);
}

void Point_Detector::Add_Average(const Envelope_Value& value, double independent) {
    if (independent <= 1.0) {
        sum += value.power;
    } else {
        const double mean = value.signal_power + value.noise_power;
        sum += std::max(0.0, mean + (value.power - mean) / std::sqrt(independent));
    }
    count++;
}

void Point_Detector::Add(const Envelope_Value& value, double independent) {
    max_power = count == 0 ? value.power : std::max(max_power, value.power);
    min_power = count == 0 ? value.power : std::min(min_power, value.power);
    last_power = value.power;
    Add_Average(value, independent);
}

void Point_Detector::Add_Filtered(const Envelope_Value& value, double independent, double filtered_dbm) {
    filtered = true;
    max_dbm = count == 0 ? filtered_dbm : std::max(max_dbm, filtered_dbm);
    min_dbm = count == 0 ? filtered_dbm : std::min(min_dbm, filtered_dbm);
    last_dbm = filtered_dbm;
    Add_Average(value, independent);
}

Point_Values Point_Detector::Values() const {
    if (count == 0) {
        return {};
    }
    const double average = To_Dbm(sum / static_cast<double>(count));
    if (filtered) {
        return {max_dbm, min_dbm, last_dbm, average};
    }
    return {To_Dbm(max_power), To_Dbm(min_power), To_Dbm(last_power), average};
}

Receiver::Receiver(std::shared_ptr<const Input> input, std::uint64_t seed)
    : front_end{.input = std::move(input), .seed = seed, .settings = {}} {
    if (front_end.input == nullptr) {
        throw std::invalid_argument("a receiver without an input");
    }
}

Receiver::~Receiver() = default;

void Receiver::Configure(const Sweep_Settings& settings) {
    if (configured && settings == front_end.settings) {
        return;
    }
    front_end.Set(settings);
    configured = true;
    feedthrough = front_end.Feedthrough();
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
    Prepare_Noise();
}

void Receiver::Prepare_Swept() {
    const Sweep_Settings& s = front_end.settings;
    const double width = front_end.Point_Width();
    const double point_s = static_cast<double>(s.time_ns) * 1e-9 / s.points;
    const int steps = width > 0.0 ? (s.steps + s.points - 1) / s.points : 1;
    const double least = std::clamp(std::ceil(width / (value_spacing_rbw * s.rbw_hz)), 1.0 * steps, 8.0 * steps);
    const double most = std::max(most_values_per_point, most_values_per_step * steps);
    values_per_point = static_cast<int>(std::max(least, std::min(std::floor(2.0 * point_s * s.rbw_hz), most)));
    value_spacing_ns = static_cast<double>(s.time_ns) / s.points / values_per_point;

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
    noise_varies = high > low && (low < even_from_hz || high > even_to_hz);
    for (const Noise_Band& band : front_end.input->noise) {
        const double half = 0.5 * band.bandwidth_hz + filter_reach * s.rbw_hz;
        noise_varies |= high > low && low < band.center_hz + half && high > band.center_hz - half;
    }

    // Noise behind the filter is white noise through the impulse response at the spacing of the values.
    const double spacing = value_spacing_ns * 1e-9 * s.rbw_hz;
    noise_taps.clear();
    if (spacing >= noise_grid_spacing) {
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

void Receiver::Begin_Sweep(std::int64_t start_ns) {
    sweep_start_ns = start_ns;
    video_dbm.reset();
    if (fft_analysis != nullptr) {
        fft_analysis->Begin_Sweep(start_ns);
    }
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

std::complex<double> Receiver::Signal(double frequency_hz, std::int64_t time_ns, std::span<const Line> lines) {
    const double rbw = front_end.settings.rbw_hz;
    const double reach = filter_reach * rbw;
    std::complex<double> sum = 0.0;
    const auto add = [&](const Line& line) {
        const double offset = line.frequency_hz - frequency_hz;
        if (std::abs(offset) < reach) {
            sum += Filter_Response(offset, rbw) * line.At(time_ns);
        }
    };
    for (const Line& line : lines) {
        add(line);
    }
    add(feedthrough);
    if (loop_filter) {
        const Iq_Loop& recording = *front_end.input->recording;
        if (std::abs(frequency_hz - recording.center_hz) < 0.5 * recording.rate_hz + reach) {
            sum += loop_filter->Envelope(frequency_hz, time_ns);
        }
    }
    return sum;
}

double Receiver::Work_Ns() const {
    return work_ns + (fft_analysis != nullptr ? fft_analysis->Work_Ns() : 0.0);
}

Point_Values Receiver::Measure(int point) {
    if (fft_analysis != nullptr) {
        return fft_analysis->Measure(point);
    }
    const Sweep_Settings& s = front_end.settings;
    const double width = front_end.Point_Width();
    const double center = front_end.Point_Center(point);
    const double reach = filter_reach * s.rbw_hz + 0.5 * width;
    const std::span<const Line> lines = Lines_Between(*front_end.input, center - reach, center + reach);
    const double point_ns = static_cast<double>(s.time_ns) / s.points;
    const auto first_ns = sweep_start_ns + static_cast<std::int64_t>(point_ns * point);
    Fill_Noise(point, first_ns);

    const double spacing = value_spacing_ns * 1e-9 * s.rbw_hz;
    const double independent = std::max(1.0, spacing * independent_powers);
    work_ns += values_per_point * (20.0 + 5.0 * static_cast<double>(lines.size()) +
                                   (loop_filter ? loop_filter->Work_Ns() : 0.0));
    const bool video = s.vbw_hz < s.rbw_hz;
    const double follow = 1.0 - std::exp(-2.0 * M_PI * s.vbw_hz * value_spacing_ns * 1e-9);
    Point_Detector detector;
    for (int v = 0; v < values_per_point; v++) {
        const double frequency = center + width * ((v + 0.5) / values_per_point - 0.5);
        const std::int64_t time_ns = first_ns + static_cast<std::int64_t>(value_spacing_ns * v);
        const double noise_power = noise_varies ? front_end.Noise_Power(frequency) : steady_noise;
        const std::complex<double> signal = Signal(frequency, time_ns, lines);
        const std::complex<double> sum = signal + std::sqrt(noise_power) * noise[static_cast<std::size_t>(v)];
        const Envelope_Value value{std::norm(sum), std::norm(signal), noise_power};
        if (!video) {
            detector.Add(value, independent);
            continue;
        }
        const double dbm = Quieted_Dbm(value, spacing * independent_logs);
        video_dbm = video_dbm ? *video_dbm + follow * (dbm - *video_dbm) : dbm;
        detector.Add_Filtered(value, independent, *video_dbm);
    }
    return detector.Values();
}

}  // namespace virtual_board
