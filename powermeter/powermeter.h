#pragma once
/// Looks for a USB power sensor and sets PowerSensor_Insert.
void Powermeter_InIt();
/// The sensor was pulled: back to the spectrum.
void Leave_Power_Meter();
