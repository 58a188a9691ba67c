#pragma once

/// The automatic setting: finds the strongest signal of full span and shows it. All need Command_Main_Mutex.
/// source: 0 a knob step, 1 an arrow step (direction and count in AllKeyVar), 2 a typed or remote value.

/// Level in dBm as shown, -100 to +20, which a signal needs to be found; switches the floor to manual.
int Set_Autoset_Floor(int source, double dbm);
/// Automatic: 15 dB above the noise.
void Set_Autoset_Floor_Mode(bool manual);

/// Span in Hz, 100 to full span, in which the signal is shown; switches it to manual.
int Set_Autoset_Span(int source, double hertz);
/// Automatic: by the width of the signal.
void Set_Autoset_Span_Mode(bool manual);

/// Starts the search; it runs in Autoset_Step while Run_AuotSet_flag is set. False, and nothing happens, outside the
/// swept spectrum, in the split screen, while something else has the instrument or where no sweep can come.
bool Start_Autoset();

/// Takes what has been swept since the last call, of which the main loop makes one after each round of sweeping.
void Autoset_Step();

/// Ends a search that runs; everything returns to what it was.
void Stop_Autoset();

/// Preset: floor and span automatic; a search that runs is forgotten.
void Autoset_Init();

/// The search has begun or ended: its key must be drawn anew. Defined with its page.
void Autoset_State_Changed();
