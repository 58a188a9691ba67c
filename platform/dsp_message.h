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
    code_trigger = 8,
    code_gate = 11,
    code_peripheral = 12,    ///< 1: screen on (0 or 1), 2: brightness in percent
    code_single_sweep = 14,  ///< 1: 1 single, 0 continuous
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
    sweep_preamplifier = 17, ///< 1: switched in
    sweep_emi = 18,          ///< 1: EMI (6 dB) filters
    sweep_calibration = 27,
    sweep_emc_correction = 55,
    sweep_emc_mode = 56,
};

/// Element of the corrections message at which the full span follows the 17 values.
constexpr std::size_t corrections_values = 17;

/// Frequency counter: 1: on (0 or 1), 2: frequency (Hz) at which it counts, 3: resolution (Hz), the gate being open for
/// one divided by it. A sweep pauses while the gate is open. The message empties the counter's cells before the answer.
constexpr int code_counter = 20;

/// A sweep message resets the count of written samples to 0 and starts a new sweep at its first point before the
/// answer is given, so whoever has the answer never reads samples of older settings.

}  // namespace platform
