#pragma once
/// Trace-gain corrections: off until a set of them is switched on.
void Corr_Init_For_Opening();
