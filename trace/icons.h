#pragma once

/// Draws the detector icon of a trace, and first its mode icon where that has not been drawn.
void Detection_check(int trace);

/// Forgets which trace icons are drawn.
void Reset_Trace_Icons();
