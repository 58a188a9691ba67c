#pragma once
#include <span>

/// What entry field, soft keys and status blocks show of bandwidths and sweep time of the active screen.

enum class Bandwidth_Entry { rbw, vbw, ratio, sweep_time };

/// "100 kHz", "0.3", "377.5 ms"
void Format_Bandwidth_Entry(Bandwidth_Entry entry, std::span<char> text);

/// Shows a setting with its name in the entry field, for whoever has set it.
void Show_Bandwidth_Entry(Bandwidth_Entry entry);
