#pragma once

/// Sets every setting that exists to its factory value and sends it to the core.
void Preset_Instrument();
