#pragma once
#include <cstdint>

/// Executes one key code, of the panel or of the web page. Main loop only, with Command_Main_Mutex held.
void Keypad_Exe(std::int32_t code);

/// Hard keys by mode: what a mode can't use is refused, and some keys show a page of the mode's own. Codes 0 to 23.
void Keypad_Exe_SPECTRUM_MODE(std::int32_t code);
void Keypad_Exe_SEM_MODE(std::int32_t code);
void Keypad_Exe_POWERMETER_MODE(std::int32_t code);
void Keypad_Exe_FM_AM_MODE(std::int32_t code);
void Keypad_Exe_IQRP_MODE(std::int32_t code);
void Keypad_Exe_FSK_ASK_MODE(std::int32_t code);
