#pragma once
/// Looks for a USB power sensor and sets PowerSensor_Insert.
void Powermeter_InIt();
/// The sensor was pulled: back to the spectrum and its mode menu, with the settings sent again. From a page of files
/// only what that page returns to is the spectrum.
void Leave_Power_Meter();
/// Draws the power meter's screen afresh.
void Redraw_Power_Meter();
