#include "trace/acquisition.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <mutex>

#include "platform/clock.h"
#include "platform/fpga_int.h"
#include "platform/sample_memory.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/sweep.h"
#include "records/trace.h"
#include "scpi/status.h"
#include "sweep/transfer.h"
#include "trace/markers.h"
#include "trace/plot.h"
#include "trace/scale.h"
#include "trace/trigger_wait.h"

namespace {

using namespace platform;

constexpr float bottom_level = -180, top_level = 30, restart_max = -200;
constexpr int last_point = trace_points - 1;

/// Traces in the order of processing: the active one comes last.
constexpr std::array<std::array<int, traces>, traces> processing_order{
    {{3, 2, 1, 0}, {0, 3, 2, 1}, {1, 0, 3, 2}, {2, 1, 0, 3}}};

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
Trace_Record& Active_Record() { return Trace_Data[Screen()]; }
bool Zero_Span() { return Freqs.span[Screen()] == 0; }

/// Zero span gives volts, whose level is held to the range. NaN, which is no level, is the bottom of it.
double Level(double sample) {
    if (!Zero_Span()) return std::isnan(sample) ? bottom_level : sample;
    const double level = 20 * std::log10(sample) + 10;
    return level >= bottom_level ? std::min<double>(level, top_level) : bottom_level;
}

double Sample(std::size_t block, int ring) { return Level(DSP_Trace_Data[block + static_cast<std::size_t>(ring)]); }

void Apply_Mode(Trace_Record& record, std::size_t trace, std::size_t point, float x) {
    float& t = record.value[trace][point];
    switch (record.mode[trace]) {
        case trace_clear_write: t = x; break;
        case trace_max_hold:
            if (t < x) t = x;
            if (t > record.max_hold_level[trace]) record.level_exceeded[trace] = 1;
            break;
        case trace_min_hold:
            if (t > x) t = x;
            break;
        default: break;
    }
}

void Process_Point(Trace_Record& record, int point, const Row_Scale& scale) {
    const int ring = record.processed % sample_block;
    const auto column = static_cast<std::size_t>(point);
    for (const int order : processing_order[record.active & 3]) {
        const auto trace = static_cast<std::size_t>(order);
        if (record.mode[trace] == trace_blank) continue;
        const double value = Detection_Trace_Select(record.detector[trace], point, ring);
        if (record.mode[trace] != trace_view) {
            Apply_Mode(record, trace, column, static_cast<float>(value));
            record.rows[trace][column] =
                static_cast<std::uint16_t>(dBmTOpixel(static_cast<double>(record.value[trace][column]), scale, true));
        }
        Single_Trace_DBM[trace][column] = record.value[trace][column];
    }
}

/// The core's count of written samples, which anything may have torn: held to the range the ring has.
int Target() {
    const double written = Load_Element(DSP_Trace_Data, written_count);
    if (!(written >= 0) || written >= sample_counter_end) return 0;
    return static_cast<int>(written);
}

/// More than two sweeps behind, the sweeps between are left out.
void Skip_Ahead(Trace_Record& record, int target) {
    const int distance = ((target - record.processed) % sample_block + sample_block) % sample_block;
    if (distance / trace_points <= 2) return;
    record.processed = std::max(0, target / trace_points * trace_points - trace_points);
}

void Set_Opc() {
    if (Operation_Pending() || !Command_Opc_Flag.exchange(0)) return;
    SCPI_RegSetBits(scpi_context, reg_esr, esr_operation_complete);
}

void Stop_Single_Sweep() {
    SweepSingle_Data.store(1, std::memory_order_release);
    if (Fpga_Int_Request(FPGA_Int_Fd.load(std::memory_order_acquire), 0, 1) < 0) std::printf("set failed\n");
}

/// True when the core has started at an empty ring.
bool End_Of_Sweep(Trace_Record& record) {
    TraceEnvelope();
    record.point = 0;
    ++record.sweeps;
    record.sweep_complete = 1;
    Markers_End_Of_Sweep();
    DetectionAutoFunc();
    if (!Run_AuotSet_flag) Complete_Operations();
    if (!Sweep_Data.single) return Start_Triggered_Sweep();
    Stop_Single_Sweep();
    return false;
}

void Process_Samples(Trace_Record& record, int target) {
    const Row_Scale scale = Active_Scale();
    while (record.processed != target && SweepSingle_Data.load(std::memory_order_relaxed) == 0 &&
           DSP_Trigger_Flag.load(std::memory_order_relaxed) != 1 && Sweep_Data.hold == 0) {
        const int point = record.processed % trace_points;
        Process_Point(record, point, scale);
        ++record.processed;
        record.point = static_cast<std::uint16_t>(point + 1);
        Trace_plot_line(record, point);
        if (record.processed == sample_counter_end) record.processed = record.sweeps = 0;
        if (point == last_point && End_Of_Sweep(record)) break;
    }
}

}  // namespace

bool Single_Sweep_Under_Way() {
    return Sweep_Data.single != 0 && SweepSingle_Data.load(std::memory_order_acquire) == 0;
}

bool Operation_Pending() {
    return Pending_Operation_Flag.load(std::memory_order_acquire) || Single_Sweep_Under_Way() || Run_AuotSet_flag != 0;
}

void Complete_Operations() {
    Command_Query_Opc_Flag.store(0, std::memory_order_release);
    Pending_Operation_Flag_check.store(0, std::memory_order_release);
    Pending_Operation_Flag.store(0, std::memory_order_release);
}

bool Sweep_Can_Come() {
    std::unique_lock records(Command_Main_Mutex, std::defer_lock);
    if (!Command_Main_Mutex.Held_Here()) records.lock();
    if (!LOOP_Buffers || !DSP_Trace_Data || Sweep_Data.hold) return false;
    switch (FunctionMode_Flag) {
        case mode_power_meter: case mode_file_view: case mode_recall_view: return false;
        default: return Sweep_Data.single == 0 || Single_Sweep_Under_Way();
    }
}

double Detection_Trace_Select(int detector, int point, int ring) {
    switch (detector) {
        case detector_normal: return Sample(point % 2 == 0 ? negative_peak_samples : positive_peak_samples, ring);
        case detector_positive: return Sample(positive_peak_samples, ring);
        case detector_negative: return Sample(negative_peak_samples, ring);
        case detector_sample: return Sample(sample_samples, ring);
        case detector_average: return Sample(average_samples, ring);
        case detector_quasi_peak: return Sample(quasi_peak_samples, ring);
        case detector_emi_average: return Sample(emi_average_samples, ring);
        default: return 0;
    }
}

void DetectionAutoFunc() {
    Trace_Record& record = Active_Record();
    const auto holds = [&](Trace_Mode mode) {
        return std::find(record.mode.begin(), record.mode.end(), mode) != record.mode.end();
    };
    for (std::size_t trace = 0; trace < traces; ++trace) {
        if (record.detector_choice[trace] != detector_auto) {
            record.detector[trace] = record.detector_choice[trace];
        } else if (record.mode[trace] != trace_view) {
            record.detector[trace] = Global_Table & table_peak     ? detector_positive
                                     : Global_Table & table_jitter ? detector_sample
                                     : holds(trace_max_hold)       ? detector_positive
                                     : holds(trace_min_hold)       ? detector_negative
                                                                   : detector_normal;
        }
    }
}

void TraceEnvelope() {
    Trace_Record& record = Active_Record();
    for (std::size_t trace = 0; trace < traces; ++trace) {
        if (record.mode[trace] == trace_max_hold && !record.level_exceeded[trace]) {
            record.value[trace].fill(restart_max);
            record.redraw_mask = static_cast<std::uint8_t>(record.redraw_mask | 1u << record.active);
        }
        record.level_exceeded[trace] = 0;
    }
}

void Init_Trace_Data() {
    ScreenInf = {};
    for (std::size_t i = 0; i < Trace_Data.size(); ++i) {
        Trace_Record& record = Trace_Data[i];
        record = {};
        const std::uint16_t row = i == 0 ? 508 : 532;
        for (auto* rows : {&record.rows, &record.drawn_rows}) {
            for (auto& trace : *rows) trace.fill(row);
        }
        for (auto* values : {&record.value, &record.stored}) {
            for (auto& trace : *values) trace.fill(bottom_level);
        }
    }
    AvgType = 0;
    DetectionAutoFunc();
    Plot_Reset();
}

void readadc() {
    if (DSP_Trace_Data) {
        const std::lock_guard records(Command_Main_Mutex);
        Trace_Record& record = Active_Record();
        const int target = Target();
        Skip_Ahead(record, target);
        Process_Samples(record, target);
        Show_Trigger_Wait();
        if (Sweep_Data.single && !Run_AuotSet_flag) Pending_Operation_Flag.store(0, std::memory_order_release);
        Set_Opc();
    }
    platform::Sleep_For(std::chrono::microseconds(10));
}
