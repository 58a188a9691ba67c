#pragma once

/// Values that the status blocks show and that the sweep room knows; defined there.
double Shown_RBW();  ///< Hz, active screen
double Shown_VBW();  ///< Hz
double Shown_VBW_Ratio();  ///< VBW / RBW
bool Shown_FFT();          ///< the present settings sweep in FFT mode
