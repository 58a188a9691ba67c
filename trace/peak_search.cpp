#include "trace/peak_search.h"

#include "records/analysis.h"

void PeakSearch_Init() { Peak_Data = {}; }
