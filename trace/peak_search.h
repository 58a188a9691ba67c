#pragma once
/// Preset values of threshold and excursion.
void PeakSearch_Init();
