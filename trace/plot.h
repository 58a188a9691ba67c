#pragma once
#include "records/trace.h"

/// Traces on the graticule.

/// Draws the graticule frame, grid and scale figures afresh, and the traces over them.
void Ext_Frame();

/// Draws the points just processed: their columns are restored from the bare graticule and all traces are drawn into them.
void Trace_plot_line(Trace_Record& record, int point, int count = 1);

/// Draws all traces whole.
void Redraw_Traces(Trace_Record& record);

/// False while a list, files or the power meter stand in the graticule's place.
bool Graticule_Shown();

/// Forgets what is drawn; the next drawing restores whole columns.
void Plot_Reset();
