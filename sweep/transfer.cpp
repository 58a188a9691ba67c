#include "sweep/transfer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "keys/status_blocks.h"
#include "platform/dsp_message.h"
#include "platform/fpga_int.h"
#include "platform/sample_memory.h"
#include "records/amp.h"
#include "records/analysis.h"
#include "records/bw.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/measurement.h"
#include "records/preamplifier.h"
#include "records/recording.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "records/trace.h"
#include "records/trigger.h"
#include "scpi/status.h"
#include "sweep/bandwidth.h"
#include "sweep/trigger.h"

namespace {

using platform::DSP_STATUS;
using platform::DSP_SUCCEEDED;

constexpr unsigned long most_iterations = 65535;
constexpr std::int32_t most_steps = 760'000;

std::uint32_t buffer_size = 0;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

bool Succeeded(DSP_STATUS status, const char* failure) {
    if (DSP_SUCCEEDED(status)) return true;
    std::fputs(failure, stdout);
    std::fflush(stdout);
    return false;
}

void Restart_Counters(Trace_Record& trace) {
    trace.processed = 0;
    trace.sweeps = 0;
    trace.point = 0;
    trace.sweep_start = 0;
}

/// The gain that the tables in use leave in their one element, dB; each is what a walk through its table ends with.
double Preamplifier_Gain() {
    const auto& calibration = Preamplifier_Calibration;
    switch (calibration.state) {
        case 1: return static_cast<double>(calibration.gain.back().back() + calibration.gain_offset);
        case 2: case 3: return static_cast<double>(calibration.second_gain.back() + calibration.second_gain_offset);
        default: return 0;
    }
}

void Compose_Sweep(platform::Message_Code code) {
    using namespace platform;
    std::fill(LOOP_Buffers, LOOP_Buffers + message_elements, 0.0);
    double* m = LOOP_Buffers;
    m[0] = code;
    m[sweep_center] = Freqs.center[Screen()];
    m[sweep_start] = Freqs.start[Screen()];
    m[sweep_stop] = Freqs.stop[Screen()];
    m[sweep_span] = Freqs.span[Screen()];
    m[sweep_rbw_index] = BW_Data.rbw[Screen()];
    m[sweep_vbw_index] = BW_Data.vbw[Screen()];
    m[sweep_time] = Sweep_Data.time[Screen()];
    m[sweep_reference] = Amp.reference[Screen()];
    m[sweep_attenuation] = Amp.attenuation[Screen()];
    m[sweep_bandwidth_setting] = BW_RBW_Mode[Screen()];
    m[sweep_fft] = Sweep_Data.fft;
    m[sweep_points] = Trace_Data[Screen()].points;
    m[sweep_impedance] = Amp.impedance[Screen()];
    m[sweep_steps] = std::min(Sweep_Data.steps[Screen()], most_steps);
    m[sweep_rbw_code] = BW_RBW_Code();
    m[sweep_preamplifier] = Amp.preamplifier_in[Screen()];
    m[sweep_emi] = BW_Data.emi;
    m[sweep_trigger_frequency] = Trigger_Data.video_frequency[Screen()];
    m[sweep_preamplifier_gain] = Preamplifier_Gain();
    m[sweep_calibration] = Sys_Data.sweep_setting_working;
    m[sweep_emc_correction] = EMC_Data.correction_off ? 0.0 : 1.0;
    m[sweep_emc_mode] = EMC_Data.mode;
    if (EMC_Data.quasi_peak_running) {  // stands at the marker
        m[sweep_center] = Marker_Data.frequency[static_cast<std::size_t>(Marker_Data.active[Screen()])][Screen()];
        m[sweep_span] = 0;
    }
}

void Compose_Measurement() {
    using namespace platform;
    Compose_Sweep(code_measurement);
    double* m = LOOP_Buffers;
    std::copy_n(m + sweep_center, 4, m + measurement_center);
    std::fill(m + measurement_value, m + measurement_lock_order + 1, 0.0);
    m[measurement_value] = Measurement_Data.value;
    if (!Measurement_Data.double_channel) return;
    const std::size_t other = 1 - Screen();
    m[measurement_double_channel] = 1;
    m[measurement_detector_order] = Measurement_Data.detector_order[other];
    m[measurement_lock_order] = Measurement_Data.lock_order[other];
}

void Compose_By_Mode() {
    constexpr int measurement_mode = 6;
    switch (FunctionMode_Flag) {
        case mode_emission_mask:
            if (Measurement_Data.mask_setup_pending) return get_SEM_Setup();
            return Compose_Sweep(platform::code_emission_mask);
        case measurement_mode: return Compose_Measurement();
        default: return Compose_Sweep(platform::code_sweep);
    }
}

/// Whole counts of the timing clock.
double Timing_Counts(double seconds) { return std::round(seconds * platform::timing_clock_hz); }

void Compose_Trigger() {
    using namespace platform;
    double* m = LOOP_Buffers;
    m[0] = code_trigger;
    m[trigger_level] = Trigger_Data.video_level;
    m[trigger_source] = Trigger_Data.source;
    m[trigger_delay] = Timing_Counts(Trigger_Data.delay);
    m[trigger_slope] = Trigger_Data.video_falling;
    m[trigger_frequency] = Trigger_Data.video_frequency[Screen()];
    m[trigger_external_slope] = Trigger_Data.input_falling;
    m[trigger_automatic] = Trigger_Data.automatic;
}

void Compose_Gate() {
    using namespace platform;
    double* m = LOOP_Buffers;
    m[0] = code_gate;
    m[gate_on] = Trigger_Data.gate;
    m[gate_delay] = Timing_Counts(Trigger_Data.gate_delay);
    m[gate_length] = Timing_Counts(Trigger_Data.gate_length);
}

/// Sends what has been composed; the core starts a sweep at its first point, or waits for its trigger. Under the
/// transfer lock.
void Send_And_Restart() {
    LOOP_Execute(LOOP_NumIterations);
    Restart_Counters(Trace_Data[Screen()]);
    Rearm_FPGA_Interrupt();
}

/// Hands a pending change of the external trigger to the core and to the interrupt driver.
void Hand_Over_Trigger() {
    const std::lock_guard trigger(Trigger_Mutex);
    Sweep_Data.external_trigger_pending = 0;
    Restart_Counters(Trace_Data[Screen()]);
    LOOP_SetTrans_Trigger_External();
    const int armed = Trigger_Data.source == trigger_by_none ? 0 : 1;
    DSP_Trigger_Flag.store(0, std::memory_order_release);
    if (platform::Fpga_Int_Request(FPGA_Int_Fd, 0, armed) < 0) std::printf("set failed\n");
    Draw_Sweep_State();
    SCPI_RegClearBits(scpi_context, reg_operation + set_condition, operation_waiting_for_trigger);
}

/// Sends a message with the elements of a sweep.
void Send_Sweep(void (*compose)()) {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (Sweep_Data.external_trigger_pending) Hand_Over_Trigger();
    Ext_Sweep_Time_Auto();
    Hold_Video_Frequency();
    Marker_Data.steps = Sweep_Data.steps[Screen()];
    Screen_Swept = ScreenActive;
    if (!LOOP_Buffers) return;
    compose();
    Send_And_Restart();
}

void Compose_Demodulator() {
    Compose_Sweep(platform::code_demodulator);
    LOOP_Buffers[platform::demodulator_mode] = FunctionMode_Flag;
}

void Compose_Record() {
    Compose_Sweep(platform::code_record);
    const Recording_Record& recording = FunctionMode_Flag == mode_r_phi ? RecordData_RPhi : RecordData_IQ;
    LOOP_Buffers[platform::record_mode] = FunctionMode_Flag;
    LOOP_Buffers[platform::record_running] = recording.running;
    LOOP_Buffers[platform::record_armed] = recording.armed;
}

/// One pass over one channel: the buffer goes out to the core, or is asked for.
bool Pass(unsigned channel, const char* issue_failed, const char* reclaim_failed, DSP_STATUS& status) {
    status = platform::CHNL_issue(platform::dsp_processor, channel, LOOP_Buffers, buffer_size);
    if (!Succeeded(status, issue_failed)) return false;
    void* buffer = LOOP_Buffers;
    status = platform::CHNL_reclaim(platform::dsp_processor, channel, &buffer);
    return Succeeded(status, reclaim_failed);
}

}  // namespace

DSP_STATUS LOOP_Main(const char* image, const char* size_text, const char* iterations_text) {
    const unsigned long iterations = std::strtoul(iterations_text, nullptr, 10);
    const auto size = static_cast<std::uint32_t>((std::strtoul(size_text, nullptr, 10) + 127) & ~127ul);
    if (iterations > most_iterations || size == 0) {
        std::printf("ERROR! Invalid arguments specified for  loop application.\n     Max iterations = %lu\n",
                    most_iterations);
        return 0;
    }
    LOOP_NumIterations = static_cast<std::uint32_t>(iterations);
    buffer_size = size;
    return LOOP_Create(image, size_text, iterations_text);
}

DSP_STATUS LOOP_Create(const char* image, const char* size_text, const char* iterations_text) {
    using namespace platform;
    LOOP_Buffers = nullptr;
    DSP_STATUS status = PROC_setup();
    if (!Succeeded(status, "PROC_setup failed.\n")) return status;
    status = PROC_attach(dsp_processor);
    if (!Succeeded(status, "PROC_attach failed.\n")) return status;
    status = POOL_open(0, buffer_size);
    if (!Succeeded(status, "POOL_open () failed.\n")) return status;
    status = PROC_load(dsp_processor, image, size_text, iterations_text);
    if (!Succeeded(status, "PROC_load failed.\n")) return status;
    status = CHNL_create(dsp_processor, dsp_channel_out, Channel_Mode::output);
    if (!Succeeded(status, "CHNL_create failed (output).\n")) return status;
    status = CHNL_create(dsp_processor, dsp_channel_in, Channel_Mode::input);
    if (!Succeeded(status, "CHNL_create failed (input).\n")) return status;
    void* buffer = nullptr;
    status = CHNL_allocateBuffer(dsp_processor, dsp_channel_out, &buffer, buffer_size);
    if (!Succeeded(status, "CHNL_allocateBuffer failed (output).\n")) return status;
    LOOP_Buffers = static_cast<double*>(buffer);
    status = PROC_start(dsp_processor);
    Succeeded(status, "PROC_start failed.\n");
    return status;
}

DSP_STATUS LOOP_Execute(std::uint32_t iterations) {
    DSP_STATUS status = 0;
    if (!LOOP_Buffers) return status;
    for (std::uint32_t i = 0; i < iterations; ++i) {
        if (!Pass(platform::dsp_channel_out, "CHNL_issue failed (output).\n", "CHNL_reclaim failed (output).\n", status)) {
            continue;
        }
        Pass(platform::dsp_channel_in, "CHNL_issue failed (input).\n", "CHNL_reclaim failed (input).", status);
    }
    return status;
}

void LOOP_Delete() {
    using namespace platform;
    Succeeded(CHNL_freeBuffer(dsp_processor, dsp_channel_out, LOOP_Buffers), "CHNL_freeBuffer failed (output).\n");
    LOOP_Buffers = nullptr;
    Succeeded(CHNL_delete(dsp_processor, dsp_channel_in), "CHNL_delete failed (input).\n");
    Succeeded(CHNL_delete(dsp_processor, dsp_channel_out), "CHNL_delete failed (output).\n");
    Succeeded(PROC_stop(dsp_processor), "PROC_stop failed.\n");
    Succeeded(POOL_close(0), "POOL_close failed.\n");
    Succeeded(PROC_detach(dsp_processor), "PROC_detach failed.\n");
    Succeeded(PROC_destroy(), "PROC_destroy failed.\n");
}

void CMEM_setup(DSP_STATUS link) {
    DSP_Trace_Data = nullptr;
    if (!DSP_SUCCEEDED(link)) return;
    DSP_Trace_Data = platform::Map_Sample_Memory();
    if (!DSP_Trace_Data) std::perror("CMEM_setup");
}

void Transfer_Settings() {
    switch (FunctionMode_Flag) {
        case mode_am_fm: case mode_am_fm_list: case mode_ask: case mode_fsk: return LOOP_SetTrans_Demodulator();
        case mode_iq: case mode_r_phi: return LOOP_SetTrans_Record_Data();
        default: break;
    }
    if (Global_Table & table_emission_mask) Measurement_Data.mask_setup_pending = 1;
    LOOP_SetTrans_Var();
}

void LOOP_SetTrans_Var() { Send_Sweep(Compose_By_Mode); }

void LOOP_SetTeans_Preamp() {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers) return;
    Compose_Sweep(platform::code_sweep);
    const auto& calibration = Preamplifier_Calibration;
    double& element = LOOP_Buffers[platform::sweep_preamplifier_gain];
    if (calibration.state == 1 || calibration.state == 3) {
        for (const auto& band : calibration.gain) {
            for (const float gain : band) element = static_cast<double>(gain + calibration.gain_offset);
        }
    }
    if (calibration.state == 2 || calibration.state == 3) {
        for (const float gain : calibration.second_gain) {
            element = static_cast<double>(gain + calibration.second_gain_offset);
        }
    }
    Send_And_Restart();
}

void get_SEM_Setup() {
    Compose_Sweep(platform::code_emission_mask);
    LOOP_Buffers[platform::mask_setup] = 1;
    Measurement_Data.mask_setup_pending = 0;
}

void LOOP_SetTrans_Trigger() {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers) return;
    Hold_Video_Frequency();
    Compose_Trigger();
    Send_And_Restart();
}

void LOOP_SetTrans_Gate_Sweep() {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers) return;
    Compose_Gate();
    Send_And_Restart();
}

void Send_Trigger_Settings() {
    LOOP_SetTrans_Gate_Sweep();
    LOOP_SetTrans_Trigger();
}

void Rearm_FPGA_Interrupt() {
    const std::lock_guard trigger(Trigger_Mutex);
    const bool stopped = Sweep_Data.single && SweepSingle_Data.load(std::memory_order_acquire);
    const bool waits = LOOP_Buffers && Trigger_Waits() && !stopped;
    if (!waits) SCPI_RegClearBits(scpi_context, reg_operation + set_condition, operation_waiting_for_trigger);
    if (!waits && DSP_Trigger_Flag.load(std::memory_order_relaxed) == 0) return;
    DSP_Trigger_Flag.store(waits ? 1 : 0, std::memory_order_release);
    const int device = FPGA_Int_Fd.load(std::memory_order_acquire);
    if (platform::Fpga_Int_Request(device, 0, waits ? 1 : 0) >= 0) {
        if (waits) SCPI_RegSetBits(scpi_context, reg_operation + set_condition, operation_waiting_for_trigger);
        return;
    }
    // Nobody will report the trigger: the samples are taken as they come.
    DSP_Trigger_Flag.store(0, std::memory_order_release);
    if (device >= 0) std::printf("set failed\n");
}

void LOOP_SetTrans_Timer_Control(float value) {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers || !std::isfinite(value)) return;
    LOOP_Buffers[0] = platform::code_timer;
    LOOP_Buffers[1] = static_cast<double>(value);
    LOOP_Execute(LOOP_NumIterations);
}

void LOOP_SetTrans_Earphon() {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers) return;
    LOOP_Buffers[0] = platform::code_earphone;
    LOOP_Buffers[1] = Demodulation_Data.earphone;
    LOOP_Buffers[2] = Demodulation_Data.volume;
    LOOP_Execute(LOOP_NumIterations);
}

void LOOP_SetTrans_Demodulator() { Send_Sweep(Compose_Demodulator); }

void LOOP_SetTrans_Record_Data() { Send_Sweep(Compose_Record); }

void LOOP_SetTrans_Peripheral() {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers) return;
    LOOP_Buffers[0] = platform::code_peripheral;
    LOOP_Buffers[1] = Display_Data.active;
    LOOP_Buffers[2] = Display_Data.brightness;
    LOOP_Execute(LOOP_NumIterations);
}

void LOOP_SetTrans_Trigger_External() {
    if (!LOOP_Buffers) return;
    LOOP_Buffers[0] = platform::code_trigger_external;
    LOOP_Buffers[1] = Trigger_Data.source;
    LOOP_Buffers[2] = Trigger_Data.input_falling;
    LOOP_Execute(LOOP_NumIterations);
}

void LOOP_SetTrans_Single_Sweep() {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (LOOP_Buffers) {
        LOOP_Buffers[0] = platform::code_single_sweep;
        LOOP_Buffers[1] = Sweep_Data.single;
        LOOP_Execute(LOOP_NumIterations);
    }
    for (auto& trace : Trace_Data) Restart_Counters(trace);
    Sweep_Data.single_started = 1;
    Rearm_FPGA_Interrupt();
}

void LOOP_Send_Corrections(const double* values) {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers) return;
    if (values) {
        double* m = LOOP_Buffers;
        m[0] = platform::code_corrections;
        std::copy_n(values, platform::corrections_values, m + 1);
        m[1 + platform::corrections_values] = MAXSPAN;
        m[2 + platform::corrections_values] = KVA720_ATTR_INST_MODEL == 1 ? 1.0 : 0.0;
        LOOP_Execute(LOOP_NumIterations);
    }
    LOOP_Buffers[0] = LOOP_Buffers[1] = 0;
}
