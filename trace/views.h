#pragma once
/// Spectrogram and topographic views: their stores start empty.
void Init_Spectrogram();
void Init_TopographicData();
