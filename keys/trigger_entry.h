#pragma once
#include <span>

/// What entry field and soft keys show of trigger and gate.

enum class Trigger_Entry { delay, level, frequency, gate_delay, gate_length };

/// "1.5 ms", "-50.00 dBm" in the amplitude unit, "1.625 GHz"
void Format_Trigger_Entry(Trigger_Entry entry, std::span<char> text);

/// Shows a setting with its name in the entry field, for whoever has set it.
void Show_Trigger_Entry(Trigger_Entry entry);
