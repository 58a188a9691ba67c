#include "trace/acquisition.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <mutex>

#include "keys/status_blocks.h"
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
#include "trace/icons.h"
#include "trace/limit_lines.h"
#include "trace/markers.h"
#include "trace/plot.h"
#include "trace/point_path.h"
#include "trace/scale.h"
#include "trace/split.h"
#include "trace/sweep_points.h"
#include "trace/trigger_wait.h"
#include "trace/views.h"

namespace {

using namespace platform;

constexpr float bottom_level = -180, restart_max = -200;
constexpr int sweeps_to_catch_up = 2;
constexpr int mode_of_one_block = 6;  ///< the measurement mode whose counters end with the first block

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
Trace_Record& Active_Record() { return Trace_Data[Screen()]; }

/// Samples after which the counters start again.
int Ring_End() {
    return FunctionMode_Flag == mode_of_one_block ? sample_block : sample_counter_end;
}

int Non_Negative_Modulo(int value, int modulus) { return (value % modulus + modulus) % modulus; }

/// The core's count of written samples, which anything may have torn: held to the range the ring has.
int Written_Samples() {
    const double written = Load_Element(DSP_Trace_Data, written_count);
    if (!(written >= 0) || written >= sample_counter_end) return 0;
    return static_cast<int>(written);
}

/// More than two sweeps behind, the sweeps between are left out: on with the one before the newest.
void Skip_Ahead(Trace_Record& record, int target) {
    const int distance = Non_Negative_Modulo(target - record.processed, sample_block);
    if (distance / trace_points <= sweeps_to_catch_up) return;
    record.processed = std::max(0, target / trace_points * trace_points - trace_points);
}

/// The counter at which all that is written is processed.
int Target(Trace_Record& record) {
    const int target = Written_Samples() % Ring_End();
    Skip_Ahead(record, target);
    return target;
}

/// The same for sweeps of another count of samples, whose display positions count.
int Target_Of_Positions(Trace_Record& record) {
    const int points = record.points;
    const int behind = Non_Negative_Modulo(Written_Samples() - record.sweep_start, sample_counter_end);
    int sweeps = behind / points;
    if (sweeps > sweeps_to_catch_up) {
        record.sweep_start = (record.sweep_start + (sweeps - 1) * points) % sample_counter_end;
        record.processed = (record.processed / trace_points + sweeps - 1) * trace_points % Ring_End();
        sweeps = 1;
    }
    const int whole = (record.processed / trace_points + sweeps) * trace_points;
    const int target = (whole + TraceIndexAddpoint(behind % points, points)) % Ring_End();
    // Positions of a sweep are known one after the other; a count that went back has none for what is processed.
    const bool back = sweeps == 0 && Non_Negative_Modulo(target - record.processed, Ring_End()) > trace_points;
    return back ? record.processed : target;
}

/// Counters that nothing has set by themselves start at 0.
void Check_Counters(Trace_Record& record) {
    if (record.processed < 0 || record.processed >= Ring_End()) record.processed = record.sweeps = 0;
    if (record.points < 2 || record.points > sample_block) record.points = trace_points;
    if (record.sweep_start < 0 || record.sweep_start >= sample_counter_end) record.sweep_start = 0;
}

/// Tables that cover the graticule; a sequence's calibration is drawn regardless.
bool Drawing_Enabled() {
    if (SEQCAL_Flag) return true;
    return FunctionMode_Flag != mode_spectrum_list && !(Global_Table & table_sequence);
}

void Set_Opc() {
    if (Operation_Pending() || !Command_Opc_Flag.exchange(0)) return;
    SCPI_RegSetBits(scpi_context, reg_esr, esr_operation_complete);
}

void Stop_Single_Sweep() {
    SweepSingle_Data.store(1, std::memory_order_release);
    if (Fpga_Int_Request(FPGA_Int_Fd.load(std::memory_order_acquire), 0, 1) < 0) std::printf("set failed\n");
}

void Show_Average_Count(const Trace_Record& record) {
    const std::size_t active = record.active & 3;
    if (record.average_on[active] && !AVERLAG) Draw_Average_Count(record.average_counter[active]);
}

/// The active trace's counter alone goes on; the others keep theirs.
void Count_Average(Trace_Record& record) {
    const std::size_t active = record.active & 3;
    if (!record.average_on[active]) return;
    const bool complete = ++record.average_counter[active] > record.average_number[active];
    if (complete) record.average_counter[active] = record.average_number[active];
    AVERLAG = complete;
}

void Half_Screen_Action(Trace_Record& record) {
    Limits_End_Of_Sweep();
    Count_Average(record);
}

/// A single sweep has one half of the split screen after the other. True when the core has started at an empty ring.
bool Go_On_After_Single_Sweep() {
    if (Swept_In_Turn() && Sweep_Data.single_left > 1) {
        --Sweep_Data.single_left;
        Sweep_Other_Half();
        return true;
    }
    Sweep_Data.single_left = 0;
    if (!Run_AuotSet_flag) Complete_Operations();
    Stop_Single_Sweep();
    return false;
}

/// True when the core has started at an empty ring.
bool End_Of_Sweep(Trace_Record& record) {
    Show_Average_Count(record);
    if (!SEQCAL_Flag) Half_Screen_Action(record);
    TraceEnvelope();
    record.point = 0;
    record.sweep_complete = 1;
    Markers_End_Of_Sweep();
    DetectionAutoFunc();
    if (Sweep_Data.single) return Go_On_After_Single_Sweep();
    if (!Run_AuotSet_flag) Complete_Operations();
    if (Swept_In_Turn()) {
        Sweep_Other_Half();
        return true;
    }
    return Start_Triggered_Sweep();
}

void Count_Points(Trace_Record& record, int count, bool sweep_ends) {
    record.processed += count;
    if (sweep_ends) {
        ++record.sweeps;
        record.sweep_start = (record.sweep_start + record.points) % sample_counter_end;
    }
    if (record.processed >= Ring_End()) record.processed = record.sweeps = 0;
}

void Show_Points(Trace_Record& record, int first, int count) {
    for (int point = first; Topographic_Shown && point < first + count; ++point) Topographic_Take_Point(record, point);
    if (Drawing_Enabled()) Trace_plot_line(record, first, count);
}

void Process_Samples(Trace_Record& record, int target) {
    const Row_Scale scale = Active_Scale();
    while (record.processed != target && SweepSingle_Data.load(std::memory_order_relaxed) == 0 &&
           DSP_Trigger_Flag.load(std::memory_order_relaxed) != 1 && Sweep_Data.hold == 0) {
        const int point = record.processed % trace_points;
        const int written = (target > record.processed ? target : Ring_End()) - record.processed;
        const int count = std::min({written, trace_points - point, most_points_at_once});
        const bool sweep_ends = point + count == trace_points;
        Process_Points(record, point, count, scale);
        Count_Points(record, count, sweep_ends);
        record.point = static_cast<std::uint16_t>(point + count);
        Show_Points(record, point, count);
        if (sweep_ends && End_Of_Sweep(record)) break;
    }
}

/// Traces that the end of a sweep has changed as a whole.
void Redraw_Marked_Traces(Trace_Record& record) {
    if (!record.redraw_mask) return;
    for (std::size_t trace = 0; trace < traces; ++trace) {
        if (record.redraw_mask & 1u << trace) Update_Rows(record, trace);
    }
    record.redraw_mask = 0;
    if (Drawing_Enabled()) Redraw_Traces(record);
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

void DetectionAutoFunc() {
    Trace_Record& record = Active_Record();
    const auto holds = [&](Trace_Mode mode) {
        return std::find(record.mode.begin(), record.mode.end(), mode) != record.mode.end();
    };
    const bool spectrum = Spectrum_Mode();
    const bool averaging = record.average_on[record.active & 3] != 0;
    const std::uint16_t of_mode = Emi_Mode() ? detector_sample : detector_positive;
    const std::uint16_t automatic = Global_Table & table_peak     ? detector_positive
                                    : Global_Table & table_jitter ? detector_sample
                                    : averaging                   ? AvgType == average_power ? detector_average
                                                                                             : detector_sample
                                    : holds(trace_max_hold)       ? detector_positive
                                    : holds(trace_min_hold)       ? detector_negative
                                                                  : detector_normal;
    for (std::size_t trace = 0; trace < traces; ++trace) {
        if (!spectrum) {
            record.detector[trace] = of_mode;
        } else if (record.detector_choice[trace] != detector_auto) {
            record.detector[trace] = record.detector_choice[trace];
        } else if (record.mode[trace] != trace_view) {
            record.detector[trace] = automatic;
        }
    }
    if (Trace_Second_Flag) Check_Trace_Icons();
}

void TraceEnvelope() {
    Trace_Record& record = Active_Record();
    for (std::size_t trace = 0; trace < traces; ++trace) {
        if (Max_Hold_Restart && record.mode[trace] == trace_max_hold && !record.level_exceeded[trace]) {
            record.value[trace].fill(restart_max);
            record.redraw_mask = static_cast<std::uint8_t>(record.redraw_mask | 1u << record.active);
        }
        record.level_exceeded[trace] = 0;
    }
}

void Init_Trace_Data() {
    ScreenInf = Geometry_Of(ScreenActive);
    for (std::size_t i = 0; i < Trace_Data.size(); ++i) {
        Trace_Record& record = Trace_Data[i];
        record = {};
        const std::uint16_t row = i == 0 ? 508 : 532;
        for (auto* rows : {&record.rows, &record.drawn_rows, &record.stored_rows}) {
            for (auto& trace : *rows) trace.fill(row);
        }
        for (auto* values : {&record.value, &record.stored}) {
            for (auto& trace : *values) trace.fill(bottom_level);
        }
    }
    AvgType = average_log;
    AVERLAG = Hold_Level_Shown = 0;
    Max_Hold_Restart = 1;
    MATHFLAG = math_off;
    TraceMath = {};
    Log_Ref = -50;
    Draw_Average_Count(0);
    DetectionAutoFunc();
    Plot_Reset();
}

void readadc() {
    if (DSP_Trace_Data) {
        const std::lock_guard records(Command_Main_Mutex);
        {
            const Half_In_Hand half(Half_Of_Samples());
            Trace_Record& record = Active_Record();
            Check_Counters(record);
            Process_Samples(record, record.points == trace_points ? Target(record) : Target_Of_Positions(record));
            Redraw_Marked_Traces(record);
        }
        Show_Trigger_Wait();
        if (Sweep_Data.single && !Run_AuotSet_flag) Pending_Operation_Flag.store(0, std::memory_order_release);
        Set_Opc();
    }
    platform::Sleep_For(std::chrono::microseconds(10));
}
