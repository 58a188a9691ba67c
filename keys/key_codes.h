#pragma once
#include <cstdint>

/// Codes of the key pad, one byte a key.
enum Key_Code : std::int32_t {
    key_frequency = 0, key_span, key_amplitude, key_autoset, key_bw, key_measure, key_trace, key_display, key_sweep,
    key_emc, key_limit_line, key_trigger, key_sweep_mode, key_file, key_save, key_recall, key_marker, key_marker_to,
    key_peak_search, key_sequence, key_mode, key_system, key_preset, key_quick_save,
    hard_keys = 24,
    key_soft_first = 32, key_soft_last = 38,
    key_minus = '-', key_point = '.', key_digit_first = '0', key_digit_last = '9',
    key_backspace = 'B', key_enter = 'G',
    key_down = 'd', key_left = 'l', key_right = 'r', key_up = 'u',
    key_knob_left_first = 119, key_knob_left_last = 121,    ///< three speeds
    key_knob_right_first = 122, key_knob_right_last = 124,
};
