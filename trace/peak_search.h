#pragma once
#include <array>

#include "records/trace.h"

/// Peak search on the active screen. The caller holds Command_Main_Mutex.

/// Preset values of threshold and excursion.
void PeakSearch_Init();

/// Searches the trace that the active marker reads; without a shown trace no peak is found.
void SelectTraceForPeakSearch();
/// Column of the lowest point of that trace, -1 without one.
int SelectTraceForPeakMin();

/// Finds the peaks of 601 values in dBm.
void Cal_Peak_Search(const std::array<float, trace_points>& values);

/// Column of the highest (lowest) value, the lowest column among equal ones.
int Ext_Peak_Max(const std::array<float, trace_points>& values);
int Ext_Peak_Min(const std::array<float, trace_points>& values);

enum class Peak_Step { highest, next, right, left, lowest };

/// Searches afresh and moves the marker (its delta partner when it is a delta marker), which is switched on. -200 where
/// there is no peak; then nothing moves.
int Search_Peak(int marker, Peak_Step step);

/// Move a marker to a place, Hz without the frequency offset, in zero span s.
void Set_Peak_Marker(int marker, double place);
void Set_Peak_Next(int marker, double place);
void Set_Peak_Right(int marker, double place);
void Set_Peak_Left(int marker, double place);

/// At the end of a sweep: the active marker goes to the highest peak, if there is one.
void Track_Peak();
int Set_Peak_Track(bool on);

/// Excursion in dB, 0 to 100; threshold in dBm, -130 to 30. source: 0 a knob step, 1 an arrow step, 2 typed or remote.
int Set_Peak_Excursion(int source, double value);
void Cal_Peak_Excursion(int source, double value);
int Set_Peak_Threshold(int source, double dbm);
int Set_Peak_Threshold_State(bool on);
int Set_Peak_Order(bool by_level);

/// A row of the table in its order.
struct Peak_Row {
    int column = 0;
    double frequency = 0;  ///< shown, Hz; in zero span s
    double level = 0;      ///< shown, dBm
};
/// Rows of the newest search, at most ten, the highest peaks in the table's order; returns their count.
int Peak_Table_Rows(std::array<Peak_Row, 10>& rows);
