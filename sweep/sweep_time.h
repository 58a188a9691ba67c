#pragma once
#include "records/sweep.h"

/// Step count and sweep time of the active screen, and whether it sweeps in FFT mode. Sources and answers of the setters
/// are those of sweep/bandwidth.h.

constexpr double longest_sweep_time = 1000;  ///< s; bandwidths and spans that need as long or longer are refused

/// 1 when the present settings are swept in FFT mode (3 kHz and narrower).
int JUDGE_FFT_MODE();

/// True while the active trace is measured with an EMI detector.
bool EMI_Detector();

/// Width in Hz that one FFT of an RBW index covers.
double FFT_Width(int rbw);

/// Shortest sweep time in s of indexes within their tables, and a span in Hz.
double Shortest_Sweep_Time(int rbw, int vbw, double span);

/// Step count and shortest sweep time (s) of the active screen, and with automatic sweep time the time in force. Settings
/// that were not refused but need longer than the longest sweep time are uncalibrated, which is said once.
void Ext_Sweep_Time_Auto();

/// 1 when the settings could not be swept in less than 1000 s. While the RBW is automatic the one that the new span (Hz)
/// would get is taken, and the VBW that it would take along. Records the step count it computed.
int Ext_Sweep_Time_Check(int rbw, int vbw, Sweep_Record& sweep, double span);

/// Sweep time in s, switched to manual, held between the shortest and 1000 s with the error that says so. The knob
/// changes the second digit, an arrow goes along 1-2-5. Cal_Sweep_Time returns the error, 0 for none.
int Set_Sweep_Time(int source, double value);
int Cal_Sweep_Time(int source, double value);

/// A manual sweep time keeps its value as long as it is not too short, an automatic one is the shortest.
int Set_Sweep_Time_Mode(bool manual);

/// Fast or accurate: which settling of the filters a swept step waits for.
int Set_Sweep_Rule(bool accurate);

/// A Sweep_Mode; -1 where it doesn't suit the RBW, or would take 1000 s or more. An RBW that doesn't suit it later
/// returns it to automatic.
int Set_Sweep_Mode(int mode);
bool Sweep_Mode_Suits(int mode, int rbw);

/// Preset values.
void Sweep_Init();
