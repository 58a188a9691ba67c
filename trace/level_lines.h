#pragma once
#include "display/draw.h"

/// Horizontal lines over the graticule: the maximum-hold level of the active trace, and the display line. They stand on
/// the text layer, so that the traces below them are drawn without regard to them. The caller holds Command_Main_Mutex.

/// Draws the lines that are shown at their rows, where these lie on the graticule; the old ones go.
void Draw_Level_Lines();

/// Brings back the parts of the lines that something else was drawn over in an area, which has been cleared.
void Mend_Level_Lines(display::Rect area);
