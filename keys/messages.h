#pragma once

/// Attention messages and warnings, by number, in the message area right of the entry field, in the chosen language.

constexpr int attention_no_words = 26;  ///< a language was chosen whose word list is not there
enum Warning {
    warning_limited = 1, warning_not_now, warning_not_fitted, warning_span_or_bandwidth, warning_zero_span_rbw,
    warning_sweep_time_long, warning_sweep_time_short, warning_uncal
};

/// Shows an attention message; it stands until the next key. An unknown number shows nothing.
void ThirdAttentionwords(int number);

/// Shows a warning, which a digit takes away as well, and takes it away.
void display_warning(int number);
void clear_warning();

/// Takes the message away.
void Clear_Attention();

/// Draws the message that stands again, after a change of the language.
void Redraw_Message();
