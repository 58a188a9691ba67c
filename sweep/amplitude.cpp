#include "sweep/amplitude.h"

#include "records/amp.h"

void Amp_ArrayInit() { Amp = {}; }
