#pragma once
#include <array>

#include "records/analysis.h"

/// Markers of the active screen. They are numbered from 0; a place is Hz without the frequency offset, in zero span s from
/// the sweep's start; a shown place has the offset added. source: 0 a knob step, 1 an arrow step (direction and count in
/// AllKeyVar), 2 a typed or remote value. Setters hold values to the axis, refuse NaN by doing nothing and return 0, or the
/// code of the error where the setting can't be. Readings are NaN where there is none. The caller holds
/// Command_Main_Mutex.

/// Preset values of the markers and of the marker-to functions.
void Marker_Init();
void Markerto_Init();

/// Switches all markers off with their functions, and the marker table.
void Marker_All_Off();

/// Place of each column of a swept axis, Hz.
inline std::array<double, trace_points> real_freq_log{};
void Cal_real_freq_log();

/// Brings the markers onto the present axis: they keep their places, and between frequency and time their columns.
void Follow_Axis();

bool Zero_Span_Axis();

/// The offset that shown places have; none in zero span.
double Marker_Base();

/// Place of a column; the nearest column of a place, half a column up, held to 0 to 600.
double Column_Place(int column);
int Place_Column(double place);

/// Sets the active marker's column to that of a frequency (or time).
void Int_Marker_Freq_to_Pixel(double place);

/// Moves a marker, or its delta partner when it is a delta marker, to the column nearest to a shown place on the axis.
void Cal_Marker_Move(int marker, double shown);

int Active_Marker();
/// The number, 1 to 10, of the marker that keys act on.
int Set_Active_Marker(int source, double number);

int Set_Marker_State(int marker, bool on);
/// Plain or delta marker; the delta partner of a plain one starts at its place. Switches it on.
int Set_Marker_Type(int marker, bool delta);

/// Moves the marker itself, also a delta marker, whose partner stays. Switches it on.
int Set_Marker_Place(int marker, double shown);
/// The active marker becomes a plain one at a shown place.
int Set_Marker_Normal(int source, double shown);
/// The active marker becomes a delta marker at a signed distance.
int Set_Marker_Delta(int source, double distance);
/// Distance of the pair around its middle, and its shown middle at the same distance. Makes it a delta marker.
int Set_Marker_Move_Pair_Span(int source, double span);
int Set_Marker_Move_Pair_Center(int source, double shown);

/// The trace that a marker (its delta partner when it is a delta marker) reads: 0 to 3; -221 for a blank one.
int Set_Marker_Trace(int marker, int trace);
/// On: the active trace or the first shown of D, C, B, A; off keeps the one in force.
int Set_Marker_Trace_Auto(int marker, bool automatic);
bool Marker_Trace_Auto(int marker);
/// The trace in force, -1 for none that is shown.
int Marker_Trace(int marker);
int Marker_Own_Trace(int marker);  ///< of the marker itself, also when it is a delta marker

/// Functions; each ends the others of its marker. VSWR: -221 unless the trace is normalised; counter: -221 in zero span.
int Set_Marker_Noise(int marker, bool on);
int Set_Marker_Counter(int marker, bool on);
int Set_Marker_VSWR(int marker, bool on);
int Set_Marker_Functions_Off(int marker);

/// Counter resolution, one of five in Hz, the nearest in ratio; setting ends its coupling to the RBW.
int Set_Marker_Resolution(int source, double hertz);
void Cal_Marker_Resolution(int source);
int Set_Marker_Resolution_Auto(bool automatic);
/// In force, Hz.
double Marker_Resolution();

/// Marker table and peak table below the traces; one takes the other's place.
int Set_Marker_Table(bool on);
int Set_Peak_Table(bool on);
/// Points of the limit line that is being edited, in the place of these, which come back; not on a split display.
void Set_Limit_Table(bool on);
/// Gives the traces the rows that the tables leave them.
void Fit_Graticule_To_Table();

/// Whether the marker (its delta partner) stands on the axis.
bool Marker_On_Axis(int marker);
bool Delta_On_Axis(int marker);

/// Shown place of a marker, the one of its column while it stands on the axis; that of its delta partner.
double Marker_Place(int marker);
double Delta_Place(int marker);
/// The place that marker-to functions use: the delta partner's of a delta marker.
double Moved_Place(int marker);
/// Distance of the delta partner, signed; of the pair; and the pair's shown middle.
double Delta_Distance(int marker);
double Pair_Span(int marker);
double Pair_Center(int marker);

/// Shown levels in dBm: of the marker itself, of the delta partner; and their difference in dB.
double Marker_Level(int marker);
double Delta_Level(int marker);
double Level_Difference(int marker);

/// Noise densities at two columns of a trace, in dB per hertz of the amplitude unit; stored for the active marker while
/// its noise switch is on.
void Marker_noiseaverage(int column, int delta_column, const std::array<float, trace_points>& values);
/// Noise density at a marker and at its delta partner, as shown levels in dBm/Hz.
double Marker_Noise_Level(int marker);
double Delta_Noise_Level(int marker);

/// Standing wave ratio at a marker.
double Marker_VSWR(int marker);

/// Counted frequency, shown, rounded to the resolution; none with less than 25 dB of signal over the noise.
double Marker_Count(int marker);
/// Tells the core what to count where that has changed.
void Follow_Counter();

/// The end of a sweep: peak tracking and table, readings and their display.
void Markers_End_Of_Sweep();
