#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "bench/bench_root.h"
#include "display/layers.h"
#include "platform/sample_memory.h"
#include "platform/stop.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "sweep/amplitude.h"
#include "sweep/frequency.h"
#include "trace/acquisition.h"
#include "trace/plot.h"
#include "virtual_board/devices.h"

/// What a point costs with each mode, average and math, beside the bare arithmetic of the same work: the definition's
/// formulas over plain arrays, one trace after the other, with the same copies.
namespace {

using namespace platform;

std::vector<double> Samples(bool volts) {
    std::vector<double> memory(sample_memory_elements);
    std::mt19937 random(1);
    std::normal_distribution<double> noise(-70, 8);
    for (std::size_t i = 0; i < 4 * sample_block; ++i) {
        const double level = noise(random);
        memory[i] = volts ? std::pow(10, (level - 10) / 20) : level;
    }
    return memory;
}

enum class Work {
    write,
    max_hold,
    min_hold,
    log_average,
    voltage_average,
    power_average,
    power_difference,
    log_difference,
    log_offset,
    zero_span
};

struct Bare {
    Work work;
    int shown;
    Trace_Values value{}, copy{}, second_copy{};
    Trace_Rows rows{};
    double k = 20;
    int exceeded = 0;

    float Value(float t, double x) {
        const auto old = static_cast<double>(t);
        switch (work) {
            case Work::max_hold: return old < x ? static_cast<float>(x) : t;
            case Work::min_hold: return old > x ? static_cast<float>(x) : t;
            case Work::log_average: return static_cast<float>(((k - 1) * old + x) / k);
            case Work::voltage_average: return Averaged(old, x, 20);
            case Work::power_average: return Averaged(old, x, 10);
            case Work::zero_span: return static_cast<float>(std::clamp(20 * std::log10(x) + 10, -180.0, 30.0));
            default: return static_cast<float>(x);
        }
    }
    float Averaged(double t, double x, double q) const {
        const double old = std::pow(10, t / q);
        return static_cast<float>(q * std::log10(old + (std::pow(10, x / q) - old) / k));
    }
    float Math(std::size_t i) const {
        const auto s1 = static_cast<double>(value[1][i]), s2 = static_cast<double>(value[2][i]);
        switch (work) {
            case Work::power_difference: {
                const double d = std::pow(10, s1 / 10) - std::pow(10, s2 / 10);
                return static_cast<float>(d != 0 ? 10 * std::log10(std::fabs(d)) : -100);
            }
            case Work::log_difference: return static_cast<float>(s1 - s2 - 50);
            case Work::log_offset: return static_cast<float>(s1 + 3);
            default: return value[0][i];
        }
    }
    void Sweep(const double* samples) {
        for (std::size_t trace = static_cast<std::size_t>(shown); trace-- > 0;) {
            for (std::size_t i = 0; i < trace_points; ++i) {
                const double x = samples[(i % 2 ? positive_peak_samples : negative_peak_samples) + i];
                value[trace][i] = Value(value[trace][i], x);
                if (work == Work::max_hold && value[trace][i] > -130) exceeded = 1;
            }
            if (trace == 0 && work >= Work::power_difference && work <= Work::log_offset) {
                for (std::size_t i = 0; i < trace_points; ++i) value[0][i] = Math(i);
            }
            for (std::size_t i = 0; i < trace_points; ++i) {
                const int row = 58 + static_cast<int>(45 * (0.0 - static_cast<double>(value[trace][i])) / 10);
                rows[trace][i] = static_cast<std::uint16_t>(std::clamp(row, 58, 508));
            }
            copy[trace] = value[trace];
            second_copy[trace] = value[trace];
        }
    }
};

void Bare_Sweep(benchmark::State& state, Work work, int shown) {
    const std::vector<double> memory = Samples(work == Work::zero_span);
    Bare bare{work, shown};
    std::size_t ring = 0;
    for (auto _ : state) {
        bare.Sweep(memory.data() + ring);
        ring = (ring + trace_points) % sample_block;
        benchmark::DoNotOptimize(bare);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * trace_points);
}

void Set_Up(Work work, int shown) {
    Freqs_ArrayInit();
    Amp_ArrayInit();
    if (work == Work::zero_span) Freqs.span[0] = 0;
    Init_Trace_Data();
    Trace_Record& record = Trace_Data[0];
    const auto mode = work == Work::max_hold   ? trace_max_hold
                      : work == Work::min_hold ? trace_min_hold
                                               : trace_clear_write;
    for (std::size_t i = 0; i < static_cast<std::size_t>(shown); ++i) record.mode[i] = mode;
    record.detector_choice.fill(detector_normal);
    if (work >= Work::log_average && work <= Work::power_average) {
        record.average_on.fill(1);
        record.average_counter.fill(20);
        AvgType = static_cast<std::uint8_t>(static_cast<int>(work) - static_cast<int>(Work::log_average));
    }
    TraceMath = {1, 2, 3};
    if (work >= Work::power_difference && work <= Work::log_offset) {
        MATHFLAG = static_cast<int>(work) - static_cast<int>(Work::power_difference) + math_power_difference;
    }
}

void Sweep_Of(benchmark::State& state, Work work, int shown, bool draw = false) {
    Bench_Root root;
    Request_Stop();  // the pause at the end of each call returns at once
    std::vector<double> memory = Samples(work == Work::zero_span);
    DSP_Trace_Data = memory.data();
    if (draw) {
        virtual_board::Make_Frame_Devices();
        fb_init(fbVid0, "/dev/fb/1", screen_width, screen_height, 24);
    }
    Set_Up(work, shown);
    Ext_Frame();
    int count = 0;
    for (auto _ : state) {
        count = (count + trace_points) % sample_counter_end;
        memory[written_count] = count;
        readadc();
    }
    state.SetItemsProcessed(state.iterations() * trace_points);
    fb_free(fbVid0);
    DSP_Trace_Data = nullptr;
    MATHFLAG = math_off;
    Reset_Stop();
}

void Point_By_Point(benchmark::State& state) {
    Bench_Root root;
    Request_Stop();
    std::vector<double> memory = Samples(false);
    DSP_Trace_Data = memory.data();
    Set_Up(Work::write, 4);
    int count = 0;
    for (auto _ : state) {
        count = (count + 1) % sample_counter_end;
        memory[written_count] = count;
        readadc();
    }
    state.SetItemsProcessed(state.iterations());
    DSP_Trace_Data = nullptr;
    Reset_Stop();
}

#define SWEEPS(work, shown)                                           \
    BENCHMARK_CAPTURE(Bare_Sweep, work##_##shown, Work::work, shown); \
    BENCHMARK_CAPTURE(Sweep_Of, work##_##shown, Work::work, shown)

SWEEPS(write, 1);
SWEEPS(write, 4);
SWEEPS(max_hold, 1);
SWEEPS(max_hold, 4);
SWEEPS(min_hold, 1);
SWEEPS(min_hold, 4);
SWEEPS(log_average, 1);
SWEEPS(log_average, 4);
SWEEPS(voltage_average, 1);
SWEEPS(voltage_average, 4);
SWEEPS(power_average, 1);
SWEEPS(power_average, 4);
SWEEPS(power_difference, 3);
SWEEPS(log_difference, 3);
SWEEPS(log_offset, 2);
SWEEPS(zero_span, 1);
SWEEPS(zero_span, 4);
BENCHMARK_CAPTURE(Sweep_Of, everything_drawn, Work::power_average, 4, true);
BENCHMARK(Point_By_Point);

}  // namespace
