#pragma once

/// Draws the screen of the mode and table in force again, after a screen that covered it (files, system information) has
/// been left.
void Recall_Last_Global();
