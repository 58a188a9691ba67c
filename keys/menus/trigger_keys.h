#pragma once
#include "keys/page.h"

/// What the pages of trigger and sweep share: the gate is on both.
namespace menus {

constexpr int sweep_gate_key = 2;  ///< on the sweep page

int Toggle_Gate(int mode, double value);
void Face_Of_Gate(Key_Face& face);

/// Greys what the present settings leave without effect. Before these pages are shown.
void Mark_Trigger_Keys();

}  // namespace menus
