#pragma once
#include <span>

/// What entry field, soft keys and status blocks show of the vertical settings of the active screen.

enum class Level_Entry { reference, attenuation, scale, offset, correction };

/// "-20.00 dBm" in the amplitude unit, "10 dB", and for the scale "10 dB/" or volts a division, "22.4 mV/".
void Format_Level_Entry(Level_Entry entry, std::span<char> text);

/// Shows a setting with its name in the entry field, for whoever has set it.
void Show_Level_Entry(Level_Entry entry);
void Show_Autoset_Floor();
