#pragma once

/// The blocks of names and values around the graticule, on the text layer.

/// The name of the mode, shown in the top line, is the spectrum's.
void mode_str_init();

/// Draws the blocks of values for the first time.
void blocktwo_str_init();

/// Reference level, attenuation, scale and preamplifier above; centre, span, RBW, VBW and sweep time below.
void Draw_Status_Blocks();

/// Mode and sweep state at the right end of the top line; beside the graticule the icons of sweep and trigger.
void Draw_Sweep_State();

/// Says above the graticule that the sweep waits for its trigger, or no more.
void Draw_Trigger_Wait();

/// Model at the left end of the top line, and the clock beside it.
void Draw_Model();
void Draw_Clock();
void Blank_Clock();

/// "Avg :" followed by the counter, above the graticule; a count of 0 blanks it.
void Draw_Average_Count(int count);
