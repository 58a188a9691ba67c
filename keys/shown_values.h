#pragma once

/// Values that the status blocks show and that the sweep room knows; defined there.
double Shown_RBW();  ///< Hz, active screen
double Shown_VBW();  ///< Hz
double Shown_VBW_Ratio();  ///< VBW / RBW
bool Shown_FFT();          ///< the present settings sweep in FFT mode
double Shown_Video_Level();      ///< dBm with the reference-level offset, of the video trigger
double Shown_Video_Frequency();  ///< Hz with the frequency offset
