#include "trace/limit_edit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/keystate.h"
#include "trace/limit_display.h"
#include "trace/limit_lines.h"
#include "trace/markers.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr int settings_conflict = -221;
constexpr int columns = trace_points - 1, divisions = 10;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
Limit_Line& Line() { return Limit_Lines[Edited_Line()]; }
Limit_Node* Selected() { return Point_Of(Line(), Selected_Point()); }
int Decibels_Per_Division() { return Db_Per_Division(Amp.scale_code[Screen()] & 3); }

/// Steps of the knob by its three speeds, or of an arrow.
int Knob_Steps() {
    constexpr std::array<int, 4> steps{0, 1, 3, 10};
    const int pending = Pending_Steps();
    const int size = steps[static_cast<std::size_t>(std::min(std::abs(pending), 3))];
    return pending < 0 ? -size : size;
}

double Step(int source, double of_knob, double of_arrow) {
    return source == source_knob ? Knob_Steps() * of_knob : Pending_Steps() * of_arrow;
}

/// Steps by one whatever the knob's speed.
double One_Step() { return Pending_Steps() > 0 ? 1 : -1; }

/// Width of the axis that steps go by; in zero span there is none.
double Width() {
    constexpr double in_zero_span = 10e6;
    return Freqs.span[Screen()] > 0 ? Freqs.span[Screen()] : in_zero_span;
}

void Selection_Changed() {
    Show_Limit_Lines();
    Redraw_Keys();
}

void Select(std::size_t point) {
    Limit_Test.point = static_cast<std::int32_t>(point);
    Selection_Changed();
}

void Change_Selected(const Limit_Point& point) {
    const int position = Change_Limit_Point(Edited_Line(), Selected_Point(), point);
    if (position >= 0) Select(static_cast<std::size_t>(position));
}

/// Number of a choice of lines, 0 none.
int Number_Of(int line) { return line == no_limit_line ? 0 : line + 1; }

int Chosen_Number(int source, double number, int present) {
    if (source != source_typed) number = Number_Of(present) + One_Step();
    if (std::isnan(number)) return present;
    const int held = static_cast<int>(std::clamp<double>(number, 0, limit_lines));
    return held == 0 ? no_limit_line : held - 1;
}

void Line_Text(int line, std::span<char> text) {
    if (line == no_limit_line) {
        std::snprintf(text.data(), text.size(), "---");
    } else {
        std::snprintf(text.data(), text.size(), "%d", line + 1);
    }
}

bool Low_Line() {
    const auto line = static_cast<std::int32_t>(Edited_Line());
    return Limit_Test.low == line && Limit_Test.high != line;
}

/// The second place of a pair; both points stand at one level.
int Take_Second_Place(double frequency, double level) {
    Marker_Limit_Two_Point = 0;
    if (Edited_Points() + 2 > limit_points) return settings_conflict;
    const double both = Low_Line() ? std::min(level, Marker_Limit_Level) : std::max(level, Marker_Limit_Level);
    Add_Limit_Point(Edited_Line(), {Marker_Limit_Frequency, both});
    const int position = Add_Limit_Point(Edited_Line(), {frequency, both});
    if (position >= 0) Select(static_cast<std::size_t>(position));
    return 0;
}

}  // namespace

std::size_t Edited_Line() { return static_cast<std::size_t>(std::clamp<int>(Limit_Test.edited, 0, limit_lines - 1)); }

std::size_t Edited_Points() { return Points_Of(Line()); }

std::size_t Selected_Point() {
    const std::size_t points = Edited_Points(), selected = static_cast<std::size_t>(std::max(Limit_Test.point, 0));
    return points == 0 ? 0 : std::min(selected, points - 1);
}

bool Selected_Point_Used() {
    const Limit_Node* const node = Selected();
    return node && (node->on & 1);
}

int Set_Edited_Line(int source, double number) {
    if (source != source_typed) number = static_cast<double>(Edited_Line()) + 1 + One_Step();
    if (std::isnan(number)) return 0;
    Limit_Test.edited = static_cast<std::int32_t>(std::clamp<double>(number, 1, limit_lines)) - 1;
    Marker_Limit_Two_Point = 0;
    Select(0);
    return 0;
}

int Set_Selected_Point(int source, double number) {
    if (source != source_typed) number = static_cast<double>(Selected_Point()) + 1 + One_Step();
    if (std::isnan(number) || Edited_Points() == 0) return 0;
    Select(static_cast<std::size_t>(std::clamp<double>(number, 1, static_cast<double>(Edited_Points()))) - 1);
    return 0;
}

int Set_Point_Frequency(int source, double shown) {
    const Limit_Node* const node = Selected();
    if (!node) return settings_conflict;
    const double present = node->frequency + Freqs.offset[Screen()];
    if (source != source_typed) shown = std::round(present + Step(source, Width() / columns, Width() / divisions));
    Change_Selected({shown - Freqs.offset[Screen()], node->amplitude, (node->on & 1) != 0});
    return 0;
}

int Set_Point_Level(int source, double dbm) {
    const Limit_Node* const node = Selected();
    if (!node) return settings_conflict;
    if (source != source_typed) dbm = node->amplitude + Step(source, 1, Decibels_Per_Division());
    Change_Selected({node->frequency, dbm, (node->on & 1) != 0});
    return 0;
}

int Set_Point_Used(bool used) {
    const Limit_Node* const node = Selected();
    if (!node) return settings_conflict;
    Change_Selected({node->frequency, node->amplitude, used});
    return 0;
}

int Insert_Limit_Point() {
    if (Edited_Points() == limit_points) return settings_conflict;
    const Limit_Node* const node = Selected();
    const double first_level = Amp.displayed_reference[Screen()] - Decibels_Per_Division();
    Limit_Point point{Freqs.center[Screen()], first_level};
    if (node && node->next) {
        const Limit_Node& next = *node->next;
        point = {std::round((node->frequency + next.frequency) / 2), (node->amplitude + next.amplitude) / 2};
    } else if (node) {
        point = {std::round(node->frequency + Width() / divisions), node->amplitude};
    }
    const int position = Add_Limit_Point(Edited_Line(), point);
    if (position >= 0) Select(static_cast<std::size_t>(position));
    return 0;
}

void Delete_Selected_Point() {
    Delete_Limit_Point(Edited_Line(), Selected_Point());
    Select(Selected_Point());
}

int Set_High_Line(int source, double number) {
    Choose_Limit_Lines(Chosen_Number(source, number, Limit_Test.high), Limit_Test.low);
    return 0;
}

int Set_Low_Line(int source, double number) {
    Choose_Limit_Lines(Limit_Test.high, Chosen_Number(source, number, Limit_Test.low));
    return 0;
}

int Set_Limit_Margin(int source, double decibels) {
    if (source != source_typed) decibels = Limit_Test.margin + Pending_Steps();
    if (!std::isnan(decibels)) Limit_Test.margin = Held_Margin(decibels) + 0.0;  // no -0
    Redraw_Keys();
    return 0;
}

int Set_Two_Points(bool on) {
    Limit_Test.two_points = on;
    Marker_Limit_Two_Point = 0;
    Redraw_Keys();
    return 0;
}

int Take_Marker_Point() {
    const int marker = Active_Marker();
    const double level = Marker_Level(marker) + Limit_Test.margin, frequency = Marker_Place(marker) - Marker_Base();
    const bool on = Marker_Data.on[static_cast<std::size_t>(marker)][Screen()] != 0;
    if (!on || Zero_Span_Axis() || !std::isfinite(level)) return settings_conflict;
    if (Limit_Test.two_points && Marker_Limit_Two_Point) return Take_Second_Place(frequency, level);
    if (Limit_Test.two_points) {
        Marker_Limit_Frequency = frequency;
        Marker_Limit_Level = level;
        Marker_Limit_Two_Point = 1;
        return 0;
    }
    const int position = Add_Limit_Point(Edited_Line(), {frequency, level});
    if (position < 0) return settings_conflict;
    Select(static_cast<std::size_t>(position));
    return 0;
}

void Limit_Entry_Text(Limit_Entry entry, std::span<char> text) {
    const Limit_Node* const node = Selected();
    switch (entry) {
        case Limit_Entry::line: std::snprintf(text.data(), text.size(), "%zu", Edited_Line() + 1); break;
        case Limit_Entry::point:
            if (node) std::snprintf(text.data(), text.size(), "%zu / %zu", Selected_Point() + 1, Edited_Points());
            break;
        case Limit_Entry::frequency:
            if (node) Format_Frequency(node->frequency + Freqs.offset[Screen()], true, text);
            break;
        case Limit_Entry::level:
            if (node) Show_MAvalue_Chunit(node->amplitude, text);
            break;
        case Limit_Entry::margin: Show_DMAvalue_Chunit(Limit_Test.margin, text); break;
        case Limit_Entry::high: Line_Text(Limit_Test.high, text); break;
        case Limit_Entry::low: Line_Text(Limit_Test.low, text); break;
    }
}

void Show_Limit_Entry(Limit_Entry entry) {
    constexpr std::array names{"Limit line", "Point", "Frequency", "Level", "Trace offset", "High line", "Low line"};
    std::array<char, 40> text{};
    Limit_Entry_Text(entry, text);
    Show_Entry(names[static_cast<std::size_t>(entry)], text.data());
}
