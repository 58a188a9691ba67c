#pragma once

/// The maximum-hold level of the active trace: a maximum hold none of whose points exceeds it starts again.

/// source: 0 a knob step (1 dB), 1 an arrow step (a division), 2 a typed level in dBm as displayed; a value that is no
/// number changes nothing. The stored level is held to -130 to +30 dBm. Shows it as a line, in the entry field and on
/// the keys. Returns 0.
int MaxHoldFun(int source, double level);
void Cal_MaxHoldFun(int source, double level);

/// The same for any trace, without the entry field; the line is that of the active trace.
int Set_Max_Hold_Level(int trace, double level);

/// The active trace's level with its name in the entry field.
void Show_Hold_Level();
