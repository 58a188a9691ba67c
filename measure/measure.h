#pragma once

/// Measurements and analysis modes. While no measurement can be switched on, a mode's step is the sweep itself.
void meas_init();

void SEM_DrawTrace();
void Demod_DrawTrace();
void Record_data_Loop();
void FSK_Demod_Loop();

/// Ends a recall into a demodulation or emission-mask mode that a remote command asked for.
void CommandForDemodAndSEM();
