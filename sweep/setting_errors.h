#pragma once

/// What the instrument says when a bandwidth or sweep time can't be had: an entry of the error queue and a warning on
/// the screen.

constexpr int error_uncal = 101, error_span_or_bandwidth = 110, error_zero_span_rbw = 111;
constexpr int error_sweep_time_long = 200, error_sweep_time_short = 210;

/// Raises one of the errors above. A step (source 0 or 1) that meets the warning that stands already adds no entry, so
/// that a knob at its end does not fill the queue.
void Raise_Setting_Error(int source, int code);

/// A setting was taken: its older warning goes.
void Setting_Taken();

/// Condition bit of the frequency set: the resolution bandwidth is not what was asked for, or not fit for zero span.
void Set_Bandwidth_Condition(bool invalid);
