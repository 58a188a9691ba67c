#include <benchmark/benchmark.h>

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

}  // namespace
