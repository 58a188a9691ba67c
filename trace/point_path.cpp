#include "trace/point_path.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/sample_memory.h"
#include "records/amp.h"
#include "records/bw.h"
#include "records/freqs.h"
#include "records/function.h"
#include "trace/acquisition.h"
#include "trace/sweep_points.h"

namespace {

using namespace platform;

constexpr double bottom_level = -180, top_level = 30, most_decibels = 1000;
constexpr int detectors = detector_emi_average + 1;
const double octave_of_voltage = 20 * std::log10(2.0), octave_of_power = 10 * std::log10(2.0);

/// Traces in the order of processing: the active one comes last.
constexpr std::array<std::array<int, traces>, traces> processing_order{
    {{3, 2, 1, 0}, {0, 3, 2, 1}, {1, 0, 3, 2}, {2, 1, 0, 3}}};

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

struct Blocks {
    std::size_t even, odd;  ///< sample blocks of even and odd points
};

constexpr Blocks Blocks_Of(int detector) {
    switch (detector) {
        case detector_normal: return {negative_peak_samples, positive_peak_samples};
        case detector_negative: return {negative_peak_samples, negative_peak_samples};
        case detector_sample: return {sample_samples, sample_samples};
        case detector_average: return {average_samples, average_samples};
        case detector_quasi_peak: return {quasi_peak_samples, quasi_peak_samples};
        case detector_emi_average: return {emi_average_samples, emi_average_samples};
        default: return {positive_peak_samples, positive_peak_samples};
    }
}

/// What is no level, NaN and the infinities among it, is the bottom.
double Swept_Level(double dbm) { return std::fabs(dbm) <= most_decibels ? dbm : bottom_level; }

/// Zero span gives volts: 20 lg of them + 10, held to the range. The logarithm is taken inside it alone.
double Zero_Span_Level(double volts) {
    constexpr double least = 3.1622776601683794e-10, most = 10;  // of -180 and 30 dBm
    if (!(volts > least)) return bottom_level;
    if (volts >= most) return top_level;
    return octave_of_voltage * std::log2(volts) + 10;
}

template <class Level>
void Fetch(const Trace_Record& record, Blocks blocks, int first, std::span<double> levels, Level level) {
    if (record.points != trace_points) {
        for (int position = first; double& to : levels) {
            const std::size_t block = position % 2 == 0 ? blocks.even : blocks.odd;
            to = level(TraceValueAddpoint(block, record.sweep_start, record.points, position++));
        }
        return;
    }
    const double* const at = DSP_Trace_Data + record.processed % sample_block;
    if (blocks.even == blocks.odd) {
        const double* const samples = at + blocks.even;
        for (std::size_t i = 0; i < levels.size(); ++i) levels[i] = level(samples[i]);
        return;
    }
    const bool odd = first % 2 != 0;
    const double *const here = at + (odd ? blocks.odd : blocks.even), *const there =
                                                                          at + (odd ? blocks.even : blocks.odd);
    for (std::size_t i = 0; i < levels.size(); i += 2) levels[i] = level(here[i]);
    for (std::size_t i = 1; i < levels.size(); i += 2) levels[i] = level(there[i]);
}

/// In the modes that don't use the sample detector, the positive peak takes its place.
int Detector_Used(int detector) {
    if (detector == detector_sample && !Spectrum_Mode() && !Emi_Mode()) return detector_positive;
    return detector >= 0 && detector < detectors ? detector : static_cast<int>(detector_auto);
}

/// Levels of the points in hand, each detector's worked out once.
class Levels {
public:
    Levels(const Trace_Record& record, int first, int count) : record_(record), first_(first), count_(count) {}

    const double* Of(int detector) {
        const auto index = static_cast<std::size_t>(Detector_Used(detector));
        double* const levels = store_[index].data();
        if (!(ready_ & 1u << index)) {
            const std::span points(levels, static_cast<std::size_t>(count_));
            Detection_Trace_Select(record_, static_cast<int>(index), first_, points);
            ready_ |= 1u << index;
        }
        return levels;
    }

private:
    const Trace_Record& record_;
    int first_, count_;
    unsigned ready_ = 0;
    static inline std::array<std::array<double, most_points_at_once>, detectors> store_;
};

/// The k-th value's part in an average of levels.
struct Level_Average {
    double k;
    double operator()(double t, double x) const { return ((k - 1) * t + x) / k; }
};

/// The same of voltages or powers: 10^(t/q) + (10^(x/q) - 10^(t/q)) / k, with 10^(t/q) taken out of the logarithm.
struct Ratio_Average {
    double k, octave;
    double operator()(double t, double x) const {
        return x == t ? t : t + octave * std::log2(1 + (std::exp2((x - t) / octave) - 1) / k);
    }
};

struct Take_New {
    double operator()(double, double x) const { return x; }
};

template <class Value>
void Apply_Mode(int mode, float* t, const double* x, int count, Value value) {
    switch (mode) {
        case trace_clear_write:
            for (int i = 0; i < count; ++i) t[i] = static_cast<float>(value(static_cast<double>(t[i]), x[i]));
            break;
        case trace_max_hold:
            for (int i = 0; i < count; ++i) {
                const auto old = static_cast<double>(t[i]);
                if (old < x[i]) t[i] = static_cast<float>(value(old, x[i]));
            }
            break;
        case trace_min_hold:
            for (int i = 0; i < count; ++i) {
                const auto old = static_cast<double>(t[i]);
                if (old > x[i]) t[i] = static_cast<float>(value(old, x[i]));
            }
            break;
        default: break;
    }
}

/// The mode of one trace. A first value of an average is taken as it is, also by a hold.
void Write_Trace(Trace_Record& record, std::size_t trace, int first, const double* x, int count) {
    float* const t = record.value[trace].data() + first;
    const bool averaging = record.average_on[trace] != 0;
    const double k = record.average_counter[trace];
    if (averaging && k <= 1) {
        Apply_Mode(trace_clear_write, t, x, count, Take_New{});
    } else if (!averaging) {
        Apply_Mode(record.mode[trace], t, x, count, Take_New{});
    } else if (AvgType == average_voltage) {
        Apply_Mode(record.mode[trace], t, x, count, Ratio_Average{k, octave_of_voltage});
    } else if (AvgType == average_power) {
        Apply_Mode(record.mode[trace], t, x, count, Ratio_Average{k, octave_of_power});
    } else {
        Apply_Mode(record.mode[trace], t, x, count, Level_Average{k});
    }
    if (record.mode[trace] != trace_max_hold || record.level_exceeded[trace]) return;
    const float level = record.max_hold_level[trace];
    record.level_exceeded[trace] = std::any_of(t, t + count, [level](float value) { return value > level; });
}

/// 10 lg of the difference of two powers: the larger level, less what the smaller one takes away.
double Power_Difference(double first, double second, double of_equals) {
    if (first == second) return of_equals;
    const double part = std::exp2(-std::fabs(first - second) / octave_of_power);
    return std::max(first, second) + octave_of_power * std::log2(1 - part);
}

float Held(double level) { return static_cast<float>(std::clamp(level, -most_decibels, most_decibels)); }

void Apply_Math(Trace_Record& record, std::size_t trace, int first, int count) {
    constexpr int divisions = 10;
    const auto source = [&](std::uint16_t number) { return record.value[number & 3u].data() + first; };
    const float *s1 = source(TraceMath.source_1), *s2 = source(TraceMath.source_2);
    float* const result = record.value[trace].data() + first;
    const double of_equals = Amp.reference[Screen()] - divisions * Db_Per_Division(Amp.scale_code[Screen()] & 3);
    switch (MATHFLAG) {
        case math_off: return;
        case math_power_difference:
            for (int i = 0; i < count; ++i) {
                result[i] = Held(Power_Difference(static_cast<double>(s1[i]), static_cast<double>(s2[i]), of_equals));
            }
            return;
        case math_log_difference:
            for (int i = 0; i < count; ++i) result[i] = Held(static_cast<double>(s1[i] - s2[i] + Log_Ref));
            return;
        case math_log_offset:
            for (int i = 0; i < count; ++i) result[i] = Held(static_cast<double>(s1[i]) + TraceMath.offset);
            return;
        default: MATHFLAG = math_off;
    }
}

/// The quasi-peak re-measurement: the rows of what it reads now and of what it has stored.
void Measure_Again(Trace_Record& record, std::size_t trace, int first, const double* x, int count,
                   const Row_Scale& scale) {
    for (int i = 0; i < count; ++i) {
        const auto column = static_cast<std::size_t>(first + i);
        record.rows[trace][column] = static_cast<std::uint16_t>(dBmTOpixel(x[i], scale, true));
        record.stored_rows[trace][column] =
            static_cast<std::uint16_t>(dBmTOpixel(static_cast<double>(record.stored[trace][column]), scale, true));
    }
}

}  // namespace

bool Spectrum_Mode() {
    const std::int32_t mode = FunctionMode_Flag;
    return (mode >= 0 && mode <= 6) || (mode >= 13 && mode <= 15);
}

bool Emi_Mode() { return BW_Data.emi != 0 || EMC_Data.mode != 0; }

double Detection_Trace_Select(int detector, int point, int ring) {
    if (detector == detector_auto) return 0;
    const Blocks blocks = Blocks_Of(detector);
    const double sample = DSP_Trace_Data[(point % 2 == 0 ? blocks.even : blocks.odd) + static_cast<std::size_t>(ring)];
    return Freqs.span[Screen()] == 0 ? Zero_Span_Level(sample) : Swept_Level(sample);
}

void Detection_Trace_Select(const Trace_Record& record, int detector, int point, std::span<double> levels) {
    if (detector == detector_auto) return void(std::fill(levels.begin(), levels.end(), 0.0));
    const Blocks blocks = Blocks_Of(detector);
    if (Freqs.span[Screen()] == 0) {
        Fetch(record, blocks, point, levels, Zero_Span_Level);
    } else {
        Fetch(record, blocks, point, levels, [](double sample) { return Swept_Level(sample); });
    }
}

void Process_Points(Trace_Record& record, int first, int count, const Row_Scale& scale) {
    Levels levels(record, first, count);
    const std::size_t active = record.active & 3;
    const auto column = static_cast<std::size_t>(first), points = static_cast<std::size_t>(count);
    for (const int order : processing_order[active]) {
        const auto trace = static_cast<std::size_t>(order);
        if (record.mode[trace] == trace_blank) continue;
        if (record.mode[trace] != trace_view) {
            Write_Trace(record, trace, first, levels.Of(record.detector[trace]), count);
            if (trace == active) Apply_Math(record, trace, first, count);
            dBmTOpixels({record.value[trace].data() + column, points}, scale, record.rows[trace].data() + column);
        } else if (EMC_Data.quasi_peak_running) {
            Measure_Again(record, trace, first, levels.Of(record.detector[trace]), count, scale);
        }
        const float* const values = record.value[trace].data() + column;
        std::copy_n(values, points, Single_Trace_DBM[trace].data() + column);
        std::copy_n(values, points, Spectrogram_NowLogValue[trace].data() + column);
    }
}

void Update_Rows(Trace_Record& record, std::size_t trace) {
    dBmTOpixels(record.value[trace], Active_Scale(), record.rows[trace].data());
}
