#pragma once

/// Sets every global record and hand-over flag to its value before start-up. For tests; no thread may be running.
void Reset_Records();
