#pragma once
#include "keys/page.h"

/// The keys of the active trace's average, on the pages of traces and of bandwidths.
namespace menus {

/// Their value handlers. A typed or stepped number of sweeps switches the average on.
int Step_Average(int source, double value);
int Step_Average_Type(int source, double value);

/// Pressed: the number of sweeps may be entered; pressed again, the average goes on and off.
void Press_Average(bool pressed_again);
void Press_Average_Type();

void Face_Of_Average(Key_Face& face);
void Face_Of_Average_Type(Key_Face& face);

/// A viewed trace has no average.
bool Average_Greyed();

}  // namespace menus
