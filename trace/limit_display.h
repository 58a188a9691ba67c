#pragma once
#include "display/draw.h"

/// Limit lines and the verdict on the text layer, so that traces are drawn without regard to them.
/// The caller holds Command_Main_Mutex.

/// Draws lines and verdict afresh; what stood before goes. What shares the layer with them is drawn by the caller.
void Draw_Limit_Lines();

/// The same, and the marker symbols and the hold level over it.
void Show_Limit_Lines();

/// Draws the verdict where it has changed.
void Show_Verdict();

/// Brings lines and verdict back where something else has been cleared away.
void Restore_Limit_Lines(display::Rect area);

/// Renders the words of the verdict, once for a face.
void Render_Verdict_Words();
