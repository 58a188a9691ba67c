#pragma once

/// Trigger and gate. source: 0 a knob step, 1 an arrow step (direction and count in AllKeyVar), 2 a typed or remote value.
/// Setters hold values to the limits and send them; what is no number changes nothing. They return 0, or the error that
/// stands for a refusal.

constexpr int trigger_conflict = -221;

/// Preset: free run, normal mode, rising slopes, no delay; gate off, 1 ms long.
void Trigger_Init();

/// A Trigger_Choice. The video trigger is refused while the gate is on or the sweep is by FFT. Free run releases a sweep
/// that waits at once.
int Set_Trigger_Source(int choice);
/// Automatic: a sweep starts without trigger when none has come for 0.5 s.
int Set_Trigger_Mode(bool automatic);
/// From the trigger to the start of the sweep, 0 to 10 s in steps of 40 ns.
int Set_Trigger_Delay(int source, double seconds);
int Set_Input_Slope(bool falling);
int Set_Video_Slope(bool falling);
/// As shown, in dBm with the reference-level offset; -130 to +30 dBm at the input.
int Set_Video_Level(int source, double dbm);
/// As shown, in Hz with the frequency offset; from start to stop.
int Set_Video_Frequency(int source, double hertz);

/// Refused while the video trigger is chosen.
int Set_Gate(bool on);
/// 0 to 10 s and 1 us to 10 s, in steps of 40 ns.
int Set_Gate_Delay(int source, double seconds);
int Set_Gate_Length(int source, double seconds);

double Cal_Trigger_Time(int source, double seconds, double present, double shortest);
double Cal_Video_Level(int source, double dbm);
double Cal_Video_Frequency(int source, double hertz);

/// The frequency of the video trigger follows the centre in zero span and where it would lie outside the sweep.
void Hold_Video_Frequency();

/// True while sweeps of the present settings wait for a trigger or the gate. By FFT neither video trigger nor gate acts.
bool Trigger_Waits();
bool Gate_Acts();
