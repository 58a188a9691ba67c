#pragma once
#include <cstddef>
#include <span>
#include <utility>

#include "records/limit.h"

/// Limit lines: points, their places on the screen, and the pass/fail test.
/// Lines are counted from 0 to 7. The caller holds Command_Main_Mutex.

constexpr double lowest_limit_dbm = -200, highest_limit_dbm = 100, widest_margin = 100;

struct Limit_Point {
    double frequency = 0;  ///< Hz
    double amplitude = 0;  ///< dBm as displayed
    bool on = true;
};

/// Lines empty, none chosen, test off.
void limitline_init();
/// Places of lines that were recalled.
void LimitLine_Init_For_Opening();

/// A node of the line's pool, cleared, entered in the pixel table at the index; null when all ten are in use.
Limit_Node* create_node(Limit_Line& line, std::size_t index);
/// Links a node after the one at position - 1; position 0 makes it the head, position 9 also the last node.
/// -1, with a console text, where the list is empty: the first node of a line is its head without it.
int insert_node(Limit_Node*& head, Limit_Node& node, std::size_t position, Limit_Node*& last);
/// Unlinks a node and frees it.
void delete_pointnode(Limit_Line& line, Limit_Node& node);
/// Null where no node has the identity.
Limit_Node* search_node(Limit_Node* list, std::uintptr_t identity);
/// Frequency and amplitude of the k-th node, from 1; 0 on success, -1 where there is none, with a console text where
/// the list is empty.
int search_freqaamp_ptnode(const Limit_Node* list, std::size_t k, double& frequency, double& amplitude);
/// One pass from entry n down to entry 1 that lets a lower frequency sink to its place. Returns the swaps.
int sorting_pixel(std::span<Limit_Pixel> table, std::size_t n);

std::size_t Points_Of(const Limit_Line& line);
/// The k-th point, from 0; null where there is none.
Limit_Node* Point_Of(Limit_Line& line, std::size_t k);

/// Replaces the points of a line, sorted by frequency and held to the limits. False, and the old line stays, for more
/// than ten or for a value that is no number.
bool Set_Limit_Points(std::size_t line, std::span<const Limit_Point> points);
/// Adds a point at its place. Its position, or -1 when the line is full or a value is no number.
int Add_Limit_Point(std::size_t line, const Limit_Point& point);
void Delete_Limit_Point(std::size_t line, std::size_t k);
/// Changes a point; its position afterwards, -1 where there is none or a value is no number.
int Change_Limit_Point(std::size_t line, std::size_t k, const Limit_Point& point);
void Clear_Limit_Line(std::size_t line);
/// Clears it and takes it out of the choices; without any line the test ends.
void Delete_Limit_Line(std::size_t line);
void Set_Limit_Shown(std::size_t line, bool shown);
/// A distance in dB, held to what margins may be.
double Held_Margin(double decibels);
/// Ten points evenly along a trace (0 to 3), each the margin over the highest level as far as its neighbours, so that
/// no level lies above the line; over the lowest where the line is the low limit. False in zero span and for a blank
/// trace.
bool Limit_From_Trace(std::size_t line, std::size_t trace, double margin);
/// A point the margin above the active marker. False where no marker is on or it has no level, in zero span and for a
/// full line.
bool Limit_From_Marker(std::size_t line, double margin);

/// 0 to 7, or no_limit_line. Without any line the test ends.
void Choose_Limit_Lines(int high, int low);
bool Limit_Lines_Chosen();
void Set_Limit_Test(bool on);
void Set_Pass_Criterion(int criterion);
void Set_Limit_Mode(int mode);
void Set_Stop_On_Fail(bool on);

/// Places of all points and the rows of the chosen lines, after a change of the axes or of a line. Lines belong to the
/// half of a split display that the keys work on.
void Refresh_Limit_Lines();
/// What was swept before is no sweep of the new frequencies.
void Limit_Axis_Changed();
/// The same trace stands in other rows.
void Limit_Scale_Changed();

/// Row of the segment between two entries at a column; rows may lie beyond the graticule. Straight between the rows on
/// the logarithmic scale, between the levels on the linear one.
int Segment_Row(const Limit_Pixel& left, const Limit_Pixel& right, int column);
/// Index of the last entry that has a place; 0 where none has.
std::size_t Last_Entry(const Limit_Line& line);

/// Range of the test from the chosen lines: mode 0 the columns of either, else those of both.
void passfail_searchrange(int mode);
/// 1 pass, 2 fail.
int passfail_test(std::span<const std::int32_t, 2> range, const Limit_Rows& low, const Limit_Rows& high);
/// The verdict on the trace; sets and clears the questionable bit.
void Judge_Limits();
/// The end of a sweep: verdict, warning tone, and the stop after a failing sweep where that is chosen.
void Limits_End_Of_Sweep();
