#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
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
#include "trace/marker_display.h"
#include "trace/markers.h"
#include "trace/peak_search.h"
#include "trace/plot.h"
#include "virtual_board/devices.h"

/// Points through readadc, beside the bare arithmetic of the same points in the same run.
namespace {

using namespace platform;

std::vector<double> Samples() {
    std::vector<double> memory(sample_memory_elements);
    std::mt19937 random(1);
    std::normal_distribution<double> noise(-70, 8);
    for (std::size_t i = 0; i < quasi_peak_samples; ++i) memory[i] = noise(random);
    return memory;
}

/// What a point needs at the least: its sample, its row, both stored.
void Bare_Arithmetic(benchmark::State& state) {
    const std::vector<double> memory = Samples();
    std::vector<float> values(trace_points);
    std::vector<std::uint16_t> rows(trace_points);
    std::size_t ring = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < trace_points; ++i) {
            const double x = memory[(i & 1 ? positive_peak_samples : negative_peak_samples) + ring + i];
            values[i] = static_cast<float>(x);
            const int row = 58 + static_cast<int>(45 * (0.0 - x) / 10);
            rows[i] = static_cast<std::uint16_t>(row < 58 ? 58 : row > 508 ? 508 : row);
        }
        ring = (ring + trace_points) % sample_block;
        benchmark::DoNotOptimize(values.data());
        benchmark::DoNotOptimize(rows.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * trace_points);
}
BENCHMARK(Bare_Arithmetic);

void Sweep_Through_Readadc(benchmark::State& state, int shown_traces, bool draw, bool linear = false) {
    Bench_Root root;
    Request_Stop();  // the pause at the end of each call returns at once
    std::vector<double> memory = Samples();
    DSP_Trace_Data = memory.data();
    if (draw) {
        virtual_board::Make_Frame_Devices();
        fb_init(fbVid0, "/dev/fb/1", screen_width, screen_height, 24);
    }
    Freqs_ArrayInit();
    Amp_ArrayInit();
    Amp.scale_type[0] = linear ? 1 : 0;
    if (linear) Amp.reference[0] = -60;
    Init_Trace_Data();
    Ext_Frame();
    for (int i = 0; i < shown_traces; ++i) Trace_Data[0].mode[static_cast<std::size_t>(i)] = trace_clear_write;
    int count = 0;
    for (auto _ : state) {
        count = (count + trace_points) % sample_counter_end;
        memory[written_count] = count;
        readadc();
    }
    state.SetItemsProcessed(state.iterations() * trace_points);
    fb_free(fbVid0);
    DSP_Trace_Data = nullptr;
    Reset_Stop();
}
BENCHMARK_CAPTURE(Sweep_Through_Readadc, one_trace_unseen, 1, false);
BENCHMARK_CAPTURE(Sweep_Through_Readadc, four_traces_unseen, 4, false);
BENCHMARK_CAPTURE(Sweep_Through_Readadc, one_linear_trace_unseen, 1, false, true);
BENCHMARK_CAPTURE(Sweep_Through_Readadc, one_trace_drawn, 1, true);
BENCHMARK_CAPTURE(Sweep_Through_Readadc, four_traces_drawn, 4, true);

/// What a search needs at the least: each of the 601 values looked at once.
void Bare_Pass_Over_A_Trace(benchmark::State& state) {
    const std::vector<double> memory = Samples();
    std::array<float, trace_points> values{};
    std::copy_n(memory.begin(), trace_points, values.begin());
    for (auto _ : state) {
        benchmark::DoNotOptimize(values.data());
        benchmark::DoNotOptimize(Ext_Peak_Max(values));
    }
}
BENCHMARK(Bare_Pass_Over_A_Trace);

/// shape: noise with an excursion of 3 dB, noise in which every second point is a peak, a few peaks on a quiet floor.
void Peak_Search(benchmark::State& state) {
    const std::vector<double> memory = Samples();
    Freqs_ArrayInit();
    PeakSearch_Init();
    std::array<float, trace_points> values{};
    for (std::size_t i = 0; i < trace_points; ++i) {
        const bool peak = i % 60 == 30;
        values[i] = state.range(0) == 2 ? (peak ? -30.0f : -90.0f) : static_cast<float>(memory[i]);
    }
    Peak_Data.excursion = state.range(0) == 1 ? 0.0f : 3.0f;
    for (auto _ : state) {
        benchmark::DoNotOptimize(values.data());
        Cal_Peak_Search(values);
        benchmark::DoNotOptimize(Peak_Data.count);
    }
    state.counters["peaks"] = Peak_Data.count;
}
BENCHMARK(Peak_Search)->ArgName("shape")->Arg(0)->Arg(1)->Arg(2);

/// The end of a sweep with ten markers on, their levels new each time; texts are drawn where there are fonts.
void Markers_At_The_End_Of_A_Sweep(benchmark::State& state) {
    Bench_Root root;
    virtual_board::Make_Frame_Devices();
    fb_init(fbOsd0, "/dev/fb/0", screen_width, screen_height, 16);
    const std::vector<double> memory = Samples();
    Freqs_ArrayInit();
    Init_Trace_Data();
    Marker_Init();
    for (int marker = 0; marker < markers; ++marker) Set_Marker_Place(marker, 3.2e9 * marker / markers);
    std::size_t sweep = 0;
    for (auto _ : state) {
        sweep = (sweep + 1) % 40;
        for (std::size_t i = 0; i < trace_points; ++i) {
            Trace_Data[0].value[0][i] = static_cast<float>(memory[sweep * trace_points + i]);
            Trace_Data[0].rows[0][i] = static_cast<std::uint16_t>(300 + sweep);
        }
        Markers_End_Of_Sweep();
    }
    Marker_All_Off();
    fb_free(fbOsd0);
}
BENCHMARK(Markers_At_The_End_Of_A_Sweep);

}  // namespace
