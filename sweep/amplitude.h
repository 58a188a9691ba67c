#pragma once

/// Preset amplitude settings of both screens: reference 0 dBm, attenuation automatic (10 dB), 10 dB per division.
void Amp_ArrayInit();
