#pragma once
#include "records/analysis.h"

/// Tells the core what its frequency counter shall count. What was counted before is gone when this returns.
void LOOP_SetTrans_Counter(const Counter_Order& order);
