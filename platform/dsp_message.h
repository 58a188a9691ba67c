#pragma once
#include <cstddef>

/// The messages to the signal-processing core: doubles, the command code in element 0. Written by the instrument,
/// read by the core; laid down here once for both.
namespace platform {

constexpr std::size_t message_bytes = 2048;
constexpr std::size_t message_elements = message_bytes / sizeof(double);

enum Message_Code : int {
    code_corrections = 1,    ///< 1: 17 correction values, then full span (Hz), then 1 for the extended model
    code_sweep = 3,
    code_emission_mask = 4,     ///< elements of the sweep message; those of the mask's setup where mask_setup is 1
    code_measurement = 6,       ///< the sweep message with its elements 1 to 4 moved, see Measurement_Element
    code_demodulator = 7,       ///< elements of the sweep message, then Demodulator_Element
    code_trigger = 8,           ///< see Trigger_Element
    code_trigger_external = 9,  ///< 1: trigger source in force, 2: slope of the trigger input (1 falling)
    code_timer = 10,            ///< 1: timer value
    code_gate = 11,             ///< see Gate_Element
    code_peripheral = 12,    ///< 1: screen on (0 or 1), 2: brightness in percent
    code_earphone = 13,      ///< 1: earphone on (0 or 1), 2: volume
    code_single_sweep = 14,  ///< 1: 1 single, 0 continuous
    code_record = 15,        ///< elements of the sweep message, then Record_Element
};

/// Elements of the sweep message.
enum Sweep_Element : std::size_t {
    sweep_center = 1,        ///< Hz
    sweep_start = 2,         ///< Hz
    sweep_stop = 3,          ///< Hz
    sweep_span = 4,          ///< Hz; 0 is zero span
    sweep_rbw_index = 5,     ///< 0 (1 MHz) to 15, see rbw_hertz
    sweep_vbw_index = 6,     ///< 0 (1 MHz) to 12
    sweep_time = 7,          ///< s
    sweep_reference = 8,     ///< dBm at the input
    sweep_attenuation = 9,   ///< dB
    sweep_bandwidth_setting = 10,  ///< filter mode column, 0 to 2
    sweep_fft = 11,          ///< 1 FFT, 0 swept
    sweep_points = 12,       ///< points of the sweep, 601
    sweep_impedance = 13,    ///< 0: 50 ohm, 1: 75 ohm
    sweep_steps = 14,        ///< measurement steps, at most 760 000
    sweep_rbw_code = 16,     ///< RBW index of the filter before the detector; in FFT mode one that lets a whole FFT through
    sweep_preamplifier = 17, ///< 1: switched in
    sweep_emi = 18,          ///< 1: EMI (6 dB) filters
    sweep_trigger_frequency = 19,   ///< Hz, whose level the video trigger watches
    sweep_preamplifier_gain = 22,   ///< dB, added to levels while the preamplifier is in
    sweep_calibration = 27,
    sweep_emc_correction = 55,
    sweep_emc_mode = 56,
};

/// Elements behind those of the sweep message.
constexpr std::size_t mask_setup = 57;  ///< emission mask: 1 in the setup message of the mask

/// Measurement message: 5 to 56 as in the sweep message.
enum Measurement_Element : std::size_t {
    measurement_value = 1,
    measurement_double_channel = 2,  ///< 1: both channels are shown; else this and the next two are 0
    measurement_detector_order = 3,  ///< of the remaining channel
    measurement_lock_order = 4,
    measurement_center = 57,  ///< elements 1 to 4 of the sweep message
    measurement_start = 58,
    measurement_stop = 59,
    measurement_span = 60,
};

enum Demodulator_Element : std::size_t { demodulator_mode = 57 };  ///< 7, 8 AM and FM, 16 ASK, 17 FSK

enum Record_Element : std::size_t {
    record_mode = 57,  ///< 10 I and Q, 11 magnitude and phase
    record_running = 58,
    record_armed = 59,
};

/// Times of trigger and gate are counts of this clock.
constexpr double timing_clock_hz = 25e6;

enum Trigger_Source : int { trigger_free_run = 0, trigger_video, trigger_external };

enum Trigger_Element : std::size_t {
    trigger_level = 1,       ///< dBm at the input, of the video trigger
    trigger_source = 2,      ///< a Trigger_Source
    trigger_delay = 3,       ///< counts from the trigger to the start of the sweep
    trigger_slope = 4,       ///< of the video trigger, 1 falling
    trigger_frequency = 5,   ///< Hz, as sweep_trigger_frequency
    trigger_external_slope = 6,  ///< of the trigger input, 1 falling
    trigger_automatic = 7,   ///< 1: a sweep starts without trigger when none has come for 0.5 s
};

enum Gate_Element : std::size_t {
    gate_on = 1,
    gate_delay = 2,   ///< counts from an edge of the trigger input to the opening of the gate
    gate_length = 3,  ///< counts
};

/// A sweep that waits for a trigger (a source other than free run, or the gate) starts with it, then rests until the next
/// trigger message. The core starts to wait with every message that starts a sweep. The re-armed FPGA interrupt reports
/// one trigger of the present wait, also one that has come already. FFT sweeps know neither video trigger nor gate.

/// Element of the corrections message at which the full span follows the 17 values.
constexpr std::size_t corrections_values = 17;

/// Frequency counter: 1: on (0 or 1), 2: frequency (Hz) at which it counts, 3: resolution (Hz); a count takes one divided
/// by it, and a sweep waits for it at that frequency. The message empties the counter's cells before the answer.
constexpr int code_counter = 20;

/// A sweep message resets the count of written samples to 0 and starts a new sweep at its first point before the
/// answer is given, so whoever has the answer never reads samples of older settings.

}  // namespace platform
