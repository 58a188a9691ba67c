#pragma once

/// What follows a change of the frequency axis and lies in the rooms above; defined there.

/// Frequency-scale redraw, limit-line pass/fail, limit-edit table and trace-gain correction.
void Frequency_Axis_Changed();

/// Stretches or shifts the traces on screen from the old axis (Hz) to the present one, so that the old trace stands at
/// its new place until the next sweep.
void ExtendSpanWave(double old_start, double old_span);

/// Starts the active trace's hold buffer again: -200 dBm for maximum hold, 40 dBm for minimum hold.
void Restart_Hold_Buffer();

/// The level scale has changed: graticule and traces are drawn again.
void Level_Scale_Changed();

/// The automatic choice of detectors, after a change of the bandwidths.
void Choose_Detectors();

/// The line that shows the level of the video trigger has come, gone or moved.
void Trigger_Line_Changed();

/// Starts all maximum-hold traces again, when the level scale has changed.
void Restart_Max_Hold_Traces();
