#pragma once

/// The screen that stands in place of the graticule (information, error list): sweeps rest while it is shown.
/// Defined with the menus. The caller holds Command_Main_Mutex.

void Enter_Information_Screen();

/// Back to the mode and its screen; nothing while another screen is shown.
void Leave_Information_Screen();

/// The same from any mode that the file menu enters: mode and table are as they were before.
void changeto_spectrumfd();
