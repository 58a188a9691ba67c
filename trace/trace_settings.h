#pragma once
#include "records/trace.h"

/// Settings of the traces of the active screen. Setters return 0, or the code of the error with which a remote command
/// is refused (-221); numbers out of range are held, numbers that name nothing change nothing. The caller holds
/// Command_Main_Mutex.
/// source: 0 a knob step, 1 an arrow step, 2 a typed value.

/// The trace (0 to 3) that keys, averaging, math and the maximum-hold level act on.
int Set_Active_Trace(int trace);

/// What a trace does with new sweeps, a Trace_Mode; it becomes the active one. Holds start again.
int Set_Trace_Mode(int trace, int mode);

/// A Detector of the active trace. Quasi-peak and EMI average need the EMI filters or an EMC test, else -221.
int Set_Detector(int detector);
bool Detector_Allowed(int detector);
/// Lets averages, holds and measurements choose it; off keeps the one in force.
int Set_Detector_Auto(bool automatic);

/// Averaging of the active trace; -221 for a viewed one.
int Set_Average(bool on);
/// Sweeps averaged on the active trace, 1 to 999; the average starts again.
int Set_Average_Number(int source, double value);
/// An Average_Type, of all traces; averages start again.
int Set_Average_Type(int type);
int Restart_Average();

/// A Trace_Math_Kind of the active trace, and its sources (which: 0 or 1, trace: 0 to 3).
int Set_Trace_Math(int kind);
int Set_Math_Source(int which, int trace);
/// dB, -200 to 200: what the log difference and the log offset add.
int Set_Log_Reference(int source, double decibels);
int Set_Log_Offset(int source, double decibels);

/// Whether a maximum hold none of whose points exceeds its level starts again.
int Set_Hold_Restart(bool on);

/// A hold of a trace starts again: -200 dBm for a maximum, 40 dBm for a minimum.
void Restart_Hold(Trace_Record& record, std::size_t trace);

/// All averages of a screen start with the next sweep.
void Forget_Averages(Trace_Record& record);

/// Holds and averages start again, detectors are chosen, rows follow: after a recall.
void Traces_Recalled();
