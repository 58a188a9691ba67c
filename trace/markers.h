#pragma once
/// Preset values of the markers and of the marker-to functions.
void Marker_Init();
void Markerto_Init();
