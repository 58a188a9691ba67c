#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

#include "records/trace.h"

/// Limit lines, their places on the screen and the pass/fail test.

constexpr std::size_t limit_lines = 8, limit_points = 10;
constexpr int no_limit_line = 8;        ///< a choice that names no line
constexpr std::int32_t no_place = 800;  ///< column of an entry that has no place on the screen

/// A point of a line. Frequency in Hz without offset; amplitude in dBm as displayed, offset and correction included.
struct Limit_Node {
    std::uintptr_t identity = 0;  ///< its own address; 0 while the node is free
    std::uint32_t on = 0;         ///< bit 0: used and saved
    double frequency = 0;
    double amplitude = 0;
    Limit_Node* next = nullptr;
};

/// Place of a point on the screen. Columns and rows may lie beyond it.
struct Limit_Pixel {
    std::uintptr_t identity = 0;
    std::int32_t column = no_place, row = 0;
    double frequency = 0;  ///< Hz
    double amplitude = 0;  ///< dBm at the input
};

/// Points by rising frequency, in a list over a pool of their own.
struct Limit_Line {
    std::int32_t shown = 1;
    std::int32_t count = 0;       ///< points that are on, the last node not counted
    Limit_Node* first = nullptr;
    Limit_Node* last = nullptr;   ///< the tenth point; null while there is none
    std::array<Limit_Node, limit_points> pool{};
    std::array<Limit_Pixel, limit_points> pixel{};

    Limit_Line() = default;
    Limit_Line(const Limit_Line&) = delete;
    Limit_Line& operator=(const Limit_Line&) = delete;
};
inline std::array<Limit_Line, limit_lines> Limit_Lines;

enum Pass_Criterion : std::int32_t { criterion_trace = 0, criterion_peak, criterion_minimum };
enum Limit_Verdict : std::int32_t { verdict_none = 0, verdict_pass, verdict_fail };

/// Settings of the test, then of the editor, then what follows from them.
struct Limit_Test_Record {
    std::int32_t high = no_limit_line, low = no_limit_line;  ///< 0 to 7, or none
    std::int32_t on = 0;
    std::int32_t mode = 0;          ///< with both lines 0: columns of either, else of both
    std::int32_t stop_on_fail = 0;  ///< 1: the first failing sweep is the last one
    std::int32_t two_points = 0;    ///< 1: a pair of marker places makes a level piece
    double margin = 0;              ///< dB, of points that are made from traces and markers
    std::int32_t edited = 0;        ///< the line that is being edited, 0 to 7
    std::int32_t point = 0;         ///< its selected point, from 0
    std::int32_t verdict = verdict_none;  ///< of the last whole sweep
    std::int32_t swept = 0;               ///< a whole sweep of the present frequencies stands in the trace
};
inline Limit_Test_Record Limit_Test;
inline std::int32_t PassCriterion = criterion_trace;
/// The first place of a pair, while Marker_Limit_Two_Point waits for the second. dBm as displayed, margin included.
inline double Marker_Limit_Frequency = 0, Marker_Limit_Level = 0;

inline std::array<std::int32_t, 2> PassFailTestRange{};  ///< first and last screen column
using Limit_Rows = std::array<std::int16_t, trace_points>;
constexpr std::int16_t above_screen = -32'000, below_screen = 32'000;  ///< rows where a line asks for nothing
inline Limit_Rows PassFail_HighYPixel{}, PassFail_LowYPixel{};
