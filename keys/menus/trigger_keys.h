#pragma once
#include "keys/page.h"

/// What the pages of trigger and sweep share: the gate is on both.
namespace menus {

int Toggle_Gate(int mode, double value);
void Face_Of_Gate(Key_Face& face);

/// The gate has no effect by FFT, and does not go with the video trigger.
bool Gate_Greyed();

}  // namespace menus
