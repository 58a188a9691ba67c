#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

/// The editor of limit lines: the line and the point that keys act on. source: 0 a knob step, 1 an arrow step, 2 typed.
/// Setters hold values to their limits, refuse what is no number by doing nothing and return 0, or the code of the
/// error where the setting can't be. The caller holds Command_Main_Mutex.

std::size_t Edited_Line();     ///< 0 to 7
std::size_t Edited_Points();   ///< how many it has
std::size_t Selected_Point();  ///< from 0
bool Selected_Point_Used();

/// 1 to 8; 1 to the number of points.
int Set_Edited_Line(int source, double number);
int Set_Selected_Point(int source, double number);
/// Hz as shown; a knob step is a column at its slowest, an arrow's a division. The selection follows the point.
int Set_Point_Frequency(int source, double shown);
/// dBm as displayed; a knob step is 1 dB, an arrow's a division.
int Set_Point_Level(int source, double dbm);
int Set_Point_Used(bool used);
/// Adds a point behind the selected one, half way to the next or a division further, and selects it; the first one
/// stands in the middle of the axis. -221 for a full line.
int Insert_Limit_Point();
void Delete_Selected_Point();

/// The line that is the high (low) limit: 0 none, 1 to 8.
int Set_High_Line(int source, double number);
int Set_Low_Line(int source, double number);

/// dB between what a line is made from and its points.
int Set_Limit_Margin(int source, double decibels);
int Set_Two_Points(bool on);
/// A point at the active marker. With two points the first call only keeps its place, the second makes a level piece at
/// the higher of the two, at the lower of a low limit. -221 where a point can't be.
int Take_Marker_Point();

enum class Limit_Entry : std::uint8_t { line, point, frequency, level, margin, high, low };
/// Text of its present value.
void Limit_Entry_Text(Limit_Entry entry, std::span<char> text);
/// The same with its name in the entry field.
void Show_Limit_Entry(Limit_Entry entry);
