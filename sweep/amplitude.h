#pragma once

/// Vertical settings of the active screen: reference level, attenuation and their coupling, preamplifier, impedance.
/// source: 0 a knob step, 1 an arrow step (direction and count in AllKeyVar), 2 a typed or remote value.

/// Preset of both screens: reference 0 dBm, attenuation automatic (10 dB), 10 dB per division.
void Amp_ArrayInit();

/// Displayed reference level in dBm, rounded to whole decibels; the level at the input stays within -120 to +30 dBm.
int Set_Reflevel(int source, double value);
void Cal_Ref_Level(int source, double value);

/// Attenuation in dB, 0 to 50 (10 with the preamplifier in); switches it to manual.
int Set_Attenuation(int source, double value);
void Cal_Attenuation(int source, double value);

/// Couples preamplifier, attenuation and reference level after a change of one.
void Cal_AttnRefl_rule();

/// Reference-level offset in dB (external gain or loss).
int Set_ReflevelOffset(int source, double value);

/// Level in dB that the 75 ohm input adds to displayed levels.
int Set_InputZcal(int source, double value);
