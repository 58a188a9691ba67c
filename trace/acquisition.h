#pragma once

/// Swept samples become traces.

/// Consumes every sample that the core has written since the last call, under Command_Main_Mutex, then sleeps 10 us.
void readadc();

/// True while a single sweep still has to end. The caller holds Command_Main_Mutex.
bool Single_Sweep_Under_Way();

/// True while something is pending that the end of a sweep completes. The caller holds Command_Main_Mutex.
bool Operation_Pending();

/// What waits for the end of a sweep, or of the automatic setting, is complete.
void Complete_Operations();

/// False when no sweep will end as things are: a single sweep has stopped, a mode that doesn't sweep, or no link to the
/// core. With or without Command_Main_Mutex.
bool Sweep_Can_Come();

/// The three trace records and the geometry to their initial values: trace A clear/write, the others blank.
void Init_Trace_Data();

/// Level in dBm of one sample for a detector. point decides between the peaks of the normal detector; ring is the place
/// in the sample block.
double Detection_Trace_Select(int detector, int point, int ring);

/// The detector in force of every trace of the active screen from its choice, and its icon.
void DetectionAutoFunc();

/// End of a sweep: maximum-hold traces none of whose points exceeded their level start again.
void TraceEnvelope();
