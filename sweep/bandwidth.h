#pragma once
#include <cstdint>

#include "records/bw.h"
#include "records/sweep.h"

/// Resolution and video bandwidth, their couplings to the span, FFT decision, step count and shortest sweep time.

constexpr double longest_sweep_time = 1000;  ///< s; a setting that needs as long or longer is refused

/// RBW of an index in Hz (3 dB width; 6 dB width of the EMI filters while the EMI flag is set). An index outside the
/// table gives 300 kHz.
double Int_RBW_Transfer(int index);
/// VBW of an index in Hz; an index outside the table gives 1 MHz.
double Int_VBW_Transfer(int index);
/// VBW / RBW of the active screen.
double Int_BW_Transfer_Ratio();

/// Automatic RBW of the active screen from its span, then the automatic VBW.
void Ext_BW_Auto_RBW();
void Ext_BW_Auto_VBW();

/// 1 when the present settings are swept in FFT mode (3 kHz and narrower).
int JUDGE_FFT_MODE();

/// Step count and shortest sweep time (s) of the active screen, and with automatic sweep time the time in force.
void Ext_Sweep_Time_Auto();

/// 1 when the settings could not be swept in less than 1000 s. While the RBW is automatic the one that the new span (Hz)
/// would get is taken. Records the step count it computed.
int Ext_Sweep_Time_Check(int rbw, int vbw, Sweep_Record& sweep, double span);

/// Preset values.
void BW_Init();
void Sweep_Init();
