#pragma once

/// The display line, a level of the user's own across the graticule. It stands at a level as shown, so it keeps its
/// figure when the reference level, its offset, the scale or the unit change, and moves to where that figure stands.

/// source: 0 a knob step (1 dB), 1 an arrow step (a division), 2 a level in dBm as shown; what is no number changes
/// nothing. Held to -200 to +100 dBm. Switches the line on. Returns 0.
int Set_Display_Line(int source, double level);
void Cal_Display_Line(int source, double level);

int Set_Display_Line_State(bool on);

/// Its level with its name in the entry field.
void Show_Display_Line();
