#pragma once

/// Values that the status blocks show and that the sweep room knows; defined there.
double Shown_RBW();  ///< Hz, active screen
double Shown_VBW();  ///< Hz
