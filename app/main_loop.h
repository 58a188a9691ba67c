#pragma once

/// One iteration: a unit of the mode's work, the waiting keys, the work that other threads have posted.
void Main_Loop_Once();

/// Iterations until the stop.
void Main_Loop();
