// Sweeps through readadc and nothing else, for programs that count instructions: points TRACES SWEEPS [MODE]. MODE is
// write, max, min, log, voltage, power (averages) or math; by default write. Nothing is drawn.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "bench/bench_root.h"
#include "platform/sample_memory.h"
#include "platform/stop.h"
#include "records/trace.h"
#include "sweep/amplitude.h"
#include "sweep/frequency.h"
#include "trace/acquisition.h"

namespace {

using namespace platform;

/// Levels around -70 dBm, made with few instructions.
std::vector<double> Samples() {
    std::vector<double> memory(sample_memory_elements);
    std::uint32_t random = 1;
    for (std::size_t i = 0; i < quasi_peak_samples; ++i) {
        random = random * 1664525 + 1013904223;
        memory[i] = -84 + static_cast<double>(random >> 16) * (28.0 / 65536);
    }
    return memory;
}

bool Take_Mode(std::string_view mode, std::size_t shown) {
    Trace_Record& record = Trace_Data[0];
    const bool average = mode == "log" || mode == "voltage" || mode == "power";
    const auto of_trace = mode == "max" ? trace_max_hold : mode == "min" ? trace_min_hold : trace_clear_write;
    for (std::size_t trace = 0; trace < shown; ++trace) {
        record.mode[trace] = of_trace;
        record.average_on[trace] = average;
        record.average_counter[trace] = 2;
    }
    if (average) AvgType = mode == "log" ? average_log : mode == "voltage" ? average_voltage : average_power;
    if (mode == "math") MATHFLAG = math_power_difference;
    return average || mode == "math" || mode == "max" || mode == "min" || mode == "write";
}

}  // namespace

int main(int argc, char** argv) {
    const int shown = argc > 1 ? std::atoi(argv[1]) : 0, sweeps = argc > 2 ? std::atoi(argv[2]) : 0;
    const Bench_Root root;
    Request_Stop();  // the pause at the end of each call returns at once
    std::vector<double> memory = Samples();
    DSP_Trace_Data = memory.data();
    Freqs_ArrayInit();
    Amp_ArrayInit();
    Init_Trace_Data();
    const bool counts = shown >= 1 && shown <= traces && sweeps >= 0;
    if (!counts || !Take_Mode(argc > 3 ? argv[3] : "write", static_cast<std::size_t>(shown))) {
        std::fprintf(stderr, "points TRACES SWEEPS [write|max|min|log|voltage|power|math]\n");
        return 2;
    }
    for (int i = 1; i <= sweeps; ++i) {
        memory[written_count] = i * trace_points % sample_counter_end;
        readadc();
    }
    std::printf("%d points\n", sweeps * trace_points);
    return 0;
}
