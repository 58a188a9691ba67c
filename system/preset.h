#pragma once

/// Presets of the preset key, SYSTem:PRESet and *RST. Status registers, error queue, language, interfaces and brightness
/// stay. The caller holds Command_Main_Mutex.

/// The preset of the chosen type, shown and sent to the core; a user preset that is missing or damaged is the factory's.
/// Shows the frequency page unless the instrument is under remote control.
void Preset_Instrument();

/// *RST: the factory preset in the spectrum mode, whatever type is chosen.
void Reset_Instrument();
