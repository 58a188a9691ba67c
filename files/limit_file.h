#pragma once
#include <cstddef>
#include <string>
#include <string_view>

/// Limit line files: the tag "kva720", a line end, and numbers that each end with a comma: the count of points, then
/// frequency (Hz) and amplitude (dBm) of each point that is on.
/// The caller holds Command_Main_Mutex.

constexpr std::string_view limit_file_ending = ".lim";

enum class Limit_File { done, missing, unreadable, damaged };

/// Whether a line (0 to 7) has points that are on.
bool Limit_Line_To_Save(std::size_t line);

/// Writes the points of a line (0 to 7) that are on, whole or not at all; false with errno on failure, which is logged.
bool limitline_savefile(std::string_view path, std::size_t line);

/// Replaces the points of a line (0 to 7). A file that can't be read or isn't a whole limit line file changes nothing.
Limit_File read_savefile(std::string_view path, std::size_t line);

/// A number of such a file: 16 significant digits, cut before the first character that is no digit, minus or point.
std::string Limit_File_Number(double value);
