#pragma once

/// Draws the detector icon of a trace of the half that the keys work on, and first its mode icon where that has not
/// been drawn. Draws nothing that stands there already. A blank trace has no detector; the active one is marked.
void Detection_check(int trace);
void Check_Trace_Icons();  ///< of all four

/// Forgets which trace icons are drawn: of all, or the mode icon of one, whose mode has changed.
void Reset_Trace_Icons();
void Reset_Trace_Icon(int trace);
