#include "trace/corrections.h"

#include "records/analysis.h"

void Corr_Init_For_Opening() { Trace_Gain_Correction = 0; }
