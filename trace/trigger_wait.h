#pragma once

/// Sweeps that wait for a trigger.

/// Starts the next sweep where sweeps wait for a trigger, since nothing else starts it; true where they do. After a sweep
/// of continuous sweeps, under Command_Main_Mutex.
bool Start_Triggered_Sweep();

/// Shows on the screen and in the operation status whether a sweep waits for its trigger. Called again and again by
/// readadc, under Command_Main_Mutex.
void Show_Trigger_Wait();

/// Takes an event of the FPGA interrupt device, where there is one.
void Take_FPGA_Event(int device);
