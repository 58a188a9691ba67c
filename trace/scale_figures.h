#pragma once

/// Writes the levels of the horizontal lines at the graticule of the active screen, where they are wanted.
void Draw_Scale_Figures();
