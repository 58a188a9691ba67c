#pragma once
#include <cstdint>

/// Executes one key code, of the panel or of the web page. Main loop only, with Command_Main_Mutex held.
void Keypad_Exe(std::int32_t code);

/// Hard keys by mode.
void Keypad_Exe_SPECTRUM_MODE(std::int32_t code);
