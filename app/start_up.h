#pragma once

/// Brings the instrument up in its fixed order, up to the threads. Returns 0, -1 when a FreeType library cannot be
/// initialised, or 2 when a port of remote control is taken.
int Start_Up();

/// Display, menus, signal-processing core and the areas' settings.
void init_sys();

/// Layers and link given back, after the threads have ended.
void Shut_Down();
