#include "trace/markers.h"

#include "records/analysis.h"
#include "records/freqs.h"
#include "records/sweep.h"

void Marker_Init() {
    Marker_Data = {};
    Marker_Data.frequency.fill(Freqs.center[static_cast<std::size_t>(ScreenActive)]);
}

void Markerto_Init() { Marker_Data.steps = Sweep_Data.steps[static_cast<std::size_t>(ScreenActive)]; }
