#pragma once

/// Single and continuous sweep. The caller holds Command_Main_Mutex.

/// The sweep stands still where it is, traces and all; released, sweeps start anew. Single and continuous sweep release
/// it, too.
void Set_Sweep_Hold(bool hold);

/// Starts one sweep and holds the traces after it; a viewed active trace is written again. Nothing while such a sweep
/// is under way.
void Start_Single_Sweep();

/// Continuous sweeps from now on, or the traces held after the sweep that is under way.
void Set_Continuous_Sweep(bool continuous);
