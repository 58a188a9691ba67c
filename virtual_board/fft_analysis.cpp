#include "virtual_board/fft_analysis.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "virtual_board/random.h"
#include "virtual_board/resolution_filter.h"

namespace virtual_board {

namespace {

constexpr double bins_per_rbw = 8.0;             ///< a carrier between two bins loses 0.05 dB
constexpr std::int64_t bins_per_noise_step = 4;  ///< the noise's density is looked up anew after so many bins
constexpr double most_rate_rbw = 8192.0;         ///< widest segment's rate over the RBW: transforms of 65536
constexpr double oversampling = 1.5;
constexpr std::size_t longest_transform = 1 << 17;
constexpr double most_segments = 1024.0;
constexpr std::size_t most_kept_samples = 1 << 24;
constexpr double least_rate_rbw = 40.0;  ///< of a recording

double Widest(double rate_hz, double rbw_hz) { return rate_hz / oversampling - 2.0 * filter_reach * rbw_hz; }

}  // namespace

bool Fft_Analysis::Possible(const Front_End& front_end) {
    const Sweep_Settings& s = front_end.settings;
    if (s.stop_hz <= s.start_hz) {
        return false;
    }
    if (!front_end.input->recording) {
        return true;
    }
    const Iq_Loop& recording = *front_end.input->recording;
    const double reach = front_end.Point_Width() + filter_reach * s.rbw_hz + 0.5 * recording.rate_hz;
    const bool apart = s.start_hz - reach > recording.center_hz || s.stop_hz + reach < recording.center_hz;
    return apart || recording.rate_hz >= least_rate_rbw * s.rbw_hz;
}

void Fft_Analysis::Configure(const Front_End& with) {
    front_end = with;
    const Sweep_Settings s = front_end.settings;
    point_width_hz = front_end.Point_Width();
    low_edge_hz = s.start_hz - 0.5 * point_width_hz;
    const double high_edge = s.stop_hz + 0.5 * point_width_hz;
    // An RBW far below what the points can show is widened, so that a sweep stays within bounds; noise is kept.
    const double narrowest = (high_edge - low_edge_hz) / (most_segments * Widest(most_rate_rbw, 1.0));
    const double old_rbw = std::exchange(rbw_hz, std::max(s.rbw_hz, narrowest));
    noise_scale = s.rbw_hz / rbw_hz;
    Sweep_Settings widened = s;
    widened.rbw_hz = rbw_hz;
    front_end.Set(widened);
    // A first-order filter of that width joins as many values as a mean over 1 / (pi VBW).
    video_values = s.vbw_hz < s.rbw_hz ? independent_logs * s.rbw_hz / (M_PI * s.vbw_hz) : 1.0;

    std::vector<Segment> old = std::exchange(segments, {});
    const double widest = Widest(most_rate_rbw * rbw_hz, rbw_hz);
    double from = low_edge_hz;
    if (front_end.input->recording && front_end.input->recording->rate_hz >= least_rate_rbw * rbw_hz) {
        const Iq_Loop& recording = *front_end.input->recording;
        const double low = std::max(low_edge_hz, recording.center_hz - 0.5 * recording.rate_hz);
        const double high = std::min(high_edge, recording.center_hz + 0.5 * recording.rate_hz);
        if (high > low) {
            Tile(low_edge_hz, low, widest, false);
            Tile(low, high, std::min(widest, Widest(recording.rate_hz, rbw_hz)), true);
            from = high;
        }
    }
    Tile(from, high_edge, widest, false);
    for (std::size_t i = 0; old_rbw == rbw_hz && i < std::min(old.size(), segments.size()); i++) {
        if (old[i].low_hz == segments[i].low_hz && old[i].high_hz == segments[i].high_hz) {
            segments[i].zoomed = std::move(old[i].zoomed);
        }
    }
    video_map = Video_Map(s.vbw_hz, s.rbw_hz);
    weighting = Weighting_Of(0.5 * (s.start_hz + s.stop_hz), s.rbw_hz, s.emi);
    points.resize(static_cast<std::size_t>(s.points));
    rate_hz = 0.0;
}

void Fft_Analysis::Tile(double low_hz, double high_hz, double widest_hz, bool recorded) {
    if (high_hz <= low_hz) {
        return;
    }
    const auto count = static_cast<int>(std::ceil((high_hz - low_hz) / widest_hz));
    const double width = (high_hz - low_hz) / count;
    for (int i = 0; i < count; i++) {
        segments.push_back({low_hz + width * i, i + 1 == count ? high_hz : low_hz + width * (i + 1), recorded, {}});
    }
}

void Fft_Analysis::Begin_Sweep(std::int64_t start_ns) {
    sweep_start_ns = start_ns;
    next_segment = 0;
    std::ranges::fill(points, Point_Detector{});
}

Point_Values Fft_Analysis::Measure(int point) {
    const double upper = low_edge_hz + point_width_hz * (point + 1);
    const bool last = point + 1 == front_end.settings.points;
    while (next_segment < segments.size() && (last || segments[next_segment].low_hz < upper)) {
        Analyse(segments[next_segment], next_segment);
        next_segment++;
    }
    return points[static_cast<std::size_t>(point)].Values(weighting);
}

/// Prepares window, transform and buffers for a sample rate.
void Fft_Analysis::Resize(double rate) {
    if (rate == rate_hz) {
        return;
    }
    rate_hz = rate;
    const double sigma = impulse_sigma / rbw_hz * rate;
    const auto half = static_cast<std::size_t>(std::ceil(impulse_reach * sigma));
    window.resize(2 * half + 1);
    for (std::size_t n = 0; n < window.size(); n++) {
        const double x = (static_cast<double>(n) - static_cast<double>(half)) / sigma;
        window[n] = static_cast<float>(std::exp(-0.5 * x * x));
    }
    const double bins = std::max(bins_per_rbw * rate / rbw_hz, rate / point_width_hz);
    const auto wanted = static_cast<std::size_t>(std::min(bins, static_cast<double>(longest_transform)));
    const std::size_t length = std::bit_ceil(std::max(wanted, window.size()));
    if (!fft || fft->Length() != length) {
        fft.emplace(length);
        frame.resize(length);
        signal.resize(length);
        noise.resize(length);
    }
    bin_hz = rate / static_cast<double>(length);
}

void Fft_Analysis::Analyse(Segment& segment, std::size_t index) {
    const double width = segment.high_hz - segment.low_hz;
    const double seen = width + 2.0 * filter_reach * rbw_hz;
    const double middle = 0.5 * (segment.low_hz + segment.high_hz);
    double center = middle;
    if (segment.recorded) {
        if (!segment.zoomed) {
            segment.zoomed = Zoom(*front_end.input->recording, middle, seen);
            work_ns += 35.0 * static_cast<double>(front_end.input->recording->Size());
        }
        center = segment.zoomed->center_hz;
        Resize(segment.zoomed->rate_hz);
    } else {
        Resize(oversampling * seen);
    }

    const double total = point_width_hz * front_end.settings.points;
    const auto sweep_ns = static_cast<double>(front_end.settings.time_ns);
    const double start_ns = sweep_ns * (segment.low_hz - low_edge_hz) / total;
    const double dwell_ns = sweep_ns * width / total;
    const double most = std::clamp(static_cast<double>(longest_transform / fft->Length()), 1.0, 16.0);
    const int frames = static_cast<int>(std::clamp(std::floor(dwell_ns * 1e-9 * rbw_hz), 1.0, most));
    const double independent = std::max(1.0, dwell_ns * 1e-9 * independent_powers * rbw_hz / frames);
    const std::uint64_t sweep_seed = Combine_Seed(front_end.seed, static_cast<std::uint64_t>(sweep_start_ns));
    work_ns += frames * (50.0 * static_cast<double>(fft->Length()) + 15.0 * static_cast<double>(window.size()));
    for (int f = 0; f < frames; f++) {
        const auto time_ns = sweep_start_ns + static_cast<std::int64_t>(start_ns + dwell_ns * (f + 0.5) / frames);
        std::ranges::fill(signal, 0.0F);
        if (segment.recorded) {
            Add_Recording(*segment.zoomed, time_ns);
        }
        Add_Lines(center, segment, time_ns);
        Make_Noise(Combine_Seed(sweep_seed, index * 64 + static_cast<std::size_t>(f)));
        Detect(segment, center, independent);
    }
    if (segment.recorded && front_end.input->recording->Size() > most_kept_samples && segments.size() > 1) {
        segment.zoomed.reset();
    }
}

void Fft_Analysis::Add_Recording(const Iq_Loop& loop, std::int64_t time_ns) {
    const auto size = static_cast<std::int64_t>(loop.Size());
    const auto half = static_cast<std::int64_t>(window.size() / 2);
    auto at = static_cast<std::size_t>((((std::llround(Loop_Position(loop, time_ns)) - half) % size) + size) % size);
    std::ranges::fill(frame, 0.0F);
    float sum = 0.0F;
    for (std::size_t n = 0; n < window.size(); n++) {
        frame[n] = {loop.re[at] * window[n], loop.im[at] * window[n]};
        sum += window[n];
        at = at + 1 < loop.Size() ? at + 1 : 0;
    }
    fft->Transform(frame, signal);
    const float scale = static_cast<float>(front_end.gain) / sum;
    for (std::complex<float>& bin : signal) {
        bin *= scale;
    }
}

void Fft_Analysis::Add_Lines(double center_hz, const Segment& segment, std::int64_t time_ns) {
    const double reach = filter_reach * rbw_hz;
    const auto length = static_cast<std::int64_t>(fft->Length());
    const auto add = [&](double frequency_hz, std::complex<double> value) {
        const double offset = frequency_hz - center_hz;
        const auto first = std::max(-length / 2, static_cast<std::int64_t>(std::ceil((offset - reach) / bin_hz)));
        const auto last = std::min(length / 2 - 1, static_cast<std::int64_t>(std::floor((offset + reach) / bin_hz)));
        for (std::int64_t bin = first; bin <= last; bin++) {
            const double response = Filter_Response(static_cast<double>(bin) * bin_hz - offset, rbw_hz);
            signal[static_cast<std::size_t>((bin + length) % length)] += std::complex<float>(value * response);
        }
    };
    const double low = segment.low_hz - reach;
    const double high = segment.high_hz + reach;
    for (const Line& line : Lines_Between(front_end.input->lines, low, high)) {
        add(line.frequency_hz, front_end.gain * line.At(time_ns));
    }
    for (const Line& line : Lines_Between(front_end.own_lines, low, high)) {
        add(line.frequency_hz, line.At(time_ns));
    }
    for (const Drifting_Line& line : front_end.input->drifting) {
        const double frequency = line.Frequency(time_ns);
        if (frequency > low && frequency < high) {
            add(frequency, front_end.gain * line.At(time_ns));
        }
    }
}

/// White noise through the window, of mean power 1 in every bin.
void Fft_Analysis::Make_Noise(std::uint64_t seed) {
    Random random(seed);
    double square = 0.0;
    for (const float w : window) {
        square += static_cast<double>(w) * w;
    }
    const double scale = 1.0 / std::sqrt(square);
    std::ranges::fill(frame, 0.0F);
    for (std::size_t n = 0; n < window.size(); n++) {
        frame[n] = std::complex<float>(random.Complex_Normal() * (window[n] * scale));
    }
    fft->Transform(frame, noise);
}

/// Hands the bins of the segment to the points that they lie in.
void Fft_Analysis::Detect(const Segment& segment, double center_hz, double independent) {
    const auto length = static_cast<std::int64_t>(fft->Length());
    const auto count = static_cast<int>(points.size());
    const auto point_at = [&](double frequency) {
        return std::clamp(static_cast<int>(std::floor((frequency - low_edge_hz) / point_width_hz)), 0, count - 1);
    };
    const int last_point = point_at(segment.high_hz);
    for (int p = point_at(segment.low_hz); p <= last_point; p++) {
        const double low = low_edge_hz + point_width_hz * p;
        const double from = std::max(low, segment.low_hz) - center_hz;
        const double to = std::min(low + point_width_hz, segment.high_hz) - center_hz;
        if (to <= from) {
            continue;
        }
        auto first = static_cast<std::int64_t>(std::ceil(from / bin_hz));
        auto last = static_cast<std::int64_t>(std::ceil(to / bin_hz)) - 1;
        if (last < first) {
            // A point without a bin takes the one nearest to it, unless its larger part lies in another segment.
            if (to - from < 0.5 * point_width_hz) {
                continue;
            }
            first = last = std::llround(0.5 * (from + to) / bin_hz);
        }
        double noise_power = 0.0;
        float amplitude = 0.0F;
        for (std::int64_t bin = first; bin <= last; bin++) {
            if ((bin - first) % bins_per_noise_step == 0) {
                noise_power = noise_scale * front_end.Noise_Power(center_hz + static_cast<double>(bin) * bin_hz);
                amplitude = static_cast<float>(std::sqrt(noise_power));
            }
            const auto at = static_cast<std::size_t>((bin + length) % length);
            const std::complex<float> sum = signal[at] + amplitude * noise[at];
            const Envelope_Value value{static_cast<double>(std::norm(sum)), static_cast<double>(std::norm(signal[at])),
                                       noise_power};
            if (video_values > 1.0) {
                points[static_cast<std::size_t>(p)].Add_Filtered(value, independent, Quieted_Dbm(value, video_values));
            } else {
                points[static_cast<std::size_t>(p)].Add(value, independent, video_map);
            }
        }
    }
}

}  // namespace virtual_board
