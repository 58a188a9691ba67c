#pragma once
#include <cstdint>

#include "records/bw.h"
#include "sweep/sweep_time.h"

/// Resolution and video bandwidth of the active screen and their couplings to the span.
/// source: 0 a knob step, 1 an arrow step (direction in AllKeyVar), each to the neighbouring entry of the table; 2 a
/// typed or remote value. Setters return 0, or -1 where the value is refused and nothing has changed: silently for a
/// value that is no finite number, else with its error. A bandwidth that would need 1000 s or more is refused.

enum RBW_Index : int {
    rbw_1mhz = 0, rbw_10khz = 4, rbw_3khz = 5, rbw_1khz = 6, rbw_1hz = 12, rbw_emi_200hz, rbw_emi_120khz, rbw_emi_9khz
};

/// RBW of an index in Hz (3 dB width; 6 dB width of the EMI filters while the EMI flag is set). An index outside the
/// table gives 300 kHz.
double Int_RBW_Transfer(int index);
/// The 3 dB width in Hz, whatever the EMI flag.
double RBW_3dB_Width(int index);
/// True for an EMI width whose marker the EMI display shows.
bool EMI_Bandwidth(int index);
/// VBW of an index in Hz; an index outside the table gives 1 MHz.
double Int_VBW_Transfer(int index);
/// VBW / RBW of the active screen.
double Int_BW_Transfer_Ratio();

/// RBW in Hz, switched to manual: the entry that is nearest as a ratio, of two as near the wider one; with the EMI
/// filters only theirs. Narrower than 10 kHz in zero span is refused.
int Set_BW_RBW(int source, double value);
int Cal_BW_RBW(int source, double value);
/// VBW in Hz likewise.
int Set_BW_VBW(int source, double value);
int Cal_BW_VBW(int source, double value);
/// VBW / RBW, 1e-6 to 1e6: makes the VBW manual and keeps it there while the RBW changes, until a VBW is set. A step
/// moves the VBW.
int Set_BW_Ratio(int source, double value);
int Cal_BW_Ratio(int source, double value);

/// Manual bandwidths keep their value, automatic ones follow span and RBW.
int Set_RBW_Mode(bool manual);
int Set_VBW_Mode(bool manual);

/// The EMI filters (6 dB widths) instead of the ordinary ones, on both screens; RBW and VBW become automatic. Off takes
/// the EMI detectors back to automatic.
int Set_EMI_Filter(bool on);

/// Automatic RBW of the active screen from its span, then the automatic VBW and the automatic choice of detectors.
void Ext_BW_Auto_RBW();
/// Automatic VBW, or the one that keeps its ratio to the RBW.
void Ext_BW_Auto_VBW();

/// What an automatic RBW and the VBW in force would be for a span (Hz), or for an RBW index.
int RBW_For_Span(int rbw, double span);
int VBW_For_RBW(int rbw, int vbw);

/// Code of the filter before the detector, an RBW index: that of the RBW, in FFT mode the narrowest one that lets a
/// whole FFT through.
int BW_RBW_Code();

/// Preset values.
void BW_Init();
