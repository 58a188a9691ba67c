#pragma once
#include "records/channel.h"

/// Steps from channel to channel.
/// source: 0 a knob step, 1 an arrow step (direction and count in AllKeyVar), 2 a typed or remote value.

/// Default spacings and bandwidth.
void Channel_Init();

/// The spacing (Hz, 0 to full span) by which a measurement steps. Arrows and knob go along 1, 2, 5.
int Set_Channel_Spacing(double Channel_Record::*spacing, int source, double hertz);

/// The spacing of the measurement that runs; null while none with channels does.
const double* Running_Channel_Spacing();

/// Moves the centre to the next channel, up (1) or down (-1), held to 0 and the highest frequency. False, and nothing
/// happens, while no measurement with channels runs.
bool Step_Channel(int direction);
