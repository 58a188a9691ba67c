#pragma once

/// Vertical settings of the active screen: reference level, attenuation and their coupling, preamplifier, impedance,
/// unit and level scale. Setters return 0.
/// source: 0 a knob step, 1 an arrow step (direction and count in AllKeyVar), 2 a typed or remote value. A value that is
/// no finite number changes nothing, any other is held to the limits.

/// Preset of both screens: reference 0 dBm, attenuation automatic (10 dB), 10 dB per division.
void Amp_ArrayInit();

/// Displayed reference level in dBm, rounded to whole decibels; the level at the input stays within -120 to +30 dBm. An
/// arrow steps it by a division, the knob by 1 dB.
int Set_Reflevel(int source, double value);
void Cal_Ref_Level(int source, double value);

/// Attenuation in dB, 0 to 50 (10 with the preamplifier in); switches it to manual.
int Set_Attenuation(int source, double value);
void Cal_Attenuation(int source, double value);

/// Manual attenuation keeps its value, automatic follows the reference level.
int Set_Attenuation_Mode(bool manual);

/// Couples preamplifier, attenuation and reference level after a change of one.
void Cal_AttnRefl_rule();

/// Lets the preamplifier come in by itself at low reference levels, or keeps it out; of both screens.
int Set_Preamplifier(bool automatic);

/// Reference-level offset in dB (external gain or loss), -100 to +100. The level at the input stays.
int Set_ReflevelOffset(int source, double value);

/// Input impedance: 0 is 50 ohm, 1 is 75 ohm; others change nothing.
int Set_Impedance(int code);

/// Level in dB that the 75 ohm input adds to displayed levels, -100 to +100. The level at the input stays.
int Set_InputZcal(int source, double value);

/// Unit of shown, typed and answered levels, an Amplitude_Unit; others change nothing.
int Set_Amplitude_Unit(int unit);

/// Decibels per division: the nearest of 10, 5, 2 and 1; knob and arrows go round them. Nothing on the linear scale.
int display_scale(int source, double decibels);

/// Logarithmic or linear level axis; the linear one is in volts, the logarithmic one turns volts back into dBm.
int Set_Linear_Scale(bool linear);

/// Sets reference level and scale so that the active trace fills the upper half of the graticule, its peak in the top
/// division. Nothing on the linear scale and for a trace that is blank or holds no levels.
int Amp_Auto_Scale();

/// Levels written at the lines of the graticule: whether, and where (a Label_Position; others change nothing).
int Set_Level_Labels(bool shown);
int Set_Label_Position(int position);
