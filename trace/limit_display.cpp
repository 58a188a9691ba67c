#include "trace/limit_display.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "display/text.h"
#include "palette.h"
#include "records/freqs.h"
#include "records/function.h"
#include "trace/level_lines.h"
#include "trace/limit_edit.h"
#include "trace/limit_lines.h"
#include "trace/marker_display.h"
#include "trace/plot.h"
#include "trace/point_path.h"
#include "trace/split.h"

namespace {

using display::Colour;
using display::Rect;
namespace palette = display::palette;

/// Rows of a line in a column; first above last where it has none.
struct Extent {
    std::int16_t first = 1, last = 0;
};
using Columns = std::array<Extent, trace_points>;
using All_Columns = std::array<Columns, limit_lines>;
All_Columns drawn;
std::array<bool, limit_lines> line_drawn{};
std::array<Colour, limit_lines> drawn_colours;

/// A point of the line that is being edited.
struct Mark {
    int x = 0, y = 0;
    bool selected = false;
};
constexpr int mark_reach = 2;
std::array<Mark, limit_points> drawn_marks;
std::size_t drawn_mark_count = 0;

constexpr int word_width = 45, word_height = 16, plate_width = 53, plate_height = 22;
constexpr int plate_column = 484, plate_row = 5;  ///< clear of the level labels, wherever they stand
using Word_Mask = std::array<std::uint8_t, word_width * word_height>;
Word_Mask pass_word, fail_word;
FT_Face rendered_with = nullptr;
int drawn_verdict = verdict_none;
Rect drawn_plate;

bool Visible() {
    const bool open = fbOsd0.memory && fbOsd0.bits == 16;
    return open && Graticule_Shown() && Spectrum_Mode() && ScreenActive == Half_Of_Keys();
}

void Put(int x, int y, std::uint16_t pixel) {
    if (x < 0 || y < 0 || x >= static_cast<int>(fbOsd0.width) || y >= static_cast<int>(fbOsd0.height)) return;
    std::memcpy(fbOsd0.memory + static_cast<std::size_t>(y) * fbOsd0.line + static_cast<std::size_t>(x) * 2, &pixel,
                sizeof pixel);
}

std::uint16_t Pixel(Colour colour) { return RGB888toRGB565(colour.red, colour.green, colour.blue); }

/// Adds the rows between two ends, as far as they lie on the graticule.
void Add_Rows(Columns& columns, int x, int from, int to) {
    if (x < ScreenInf.line_left || x > ScreenInf.line_right) return;
    const int first = std::max<int>(std::min(from, to), ScreenInf.clamp_top);
    const int last = std::min<int>(std::max(from, to), ScreenInf.clamp_bottom);
    if (first > last) return;
    Extent& extent = columns[static_cast<std::size_t>(x - ScreenInf.line_left)];
    const bool empty = extent.first > extent.last;
    extent.first = static_cast<std::int16_t>(empty ? first : std::min<int>(extent.first, first));
    extent.last = static_cast<std::int16_t>(empty ? last : std::max<int>(extent.last, last));
}

/// A run in each column from the row before, moved one row towards the new one, so that the line has no gaps.
void Add_Segment(Columns& columns, const Limit_Pixel& left, const Limit_Pixel& right) {
    if (right.column < ScreenInf.line_left || left.column > ScreenInf.line_right) return;
    if (left.column == right.column) return Add_Rows(columns, left.column, left.row, right.row);
    const int begin = std::max<int>(left.column, ScreenInf.line_left);
    const int end = std::min<int>(right.column, ScreenInf.line_right);
    int before = Segment_Row(left, right, begin);
    for (int x = begin; x <= end; ++x) {
        const int row = Segment_Row(left, right, x);
        Add_Rows(columns, x, before < row ? before + 1 : before > row ? before - 1 : row, row);
        before = row;
    }
}

bool To_Draw(const Limit_Line& line) { return line.shown && line.pixel[0].column != no_place; }

void Collect_Line(const Limit_Line& line, Columns& columns) {
    columns.fill({});
    const std::size_t last = Last_Entry(line);
    Add_Rows(columns, line.pixel[0].column, line.pixel[0].row, line.pixel[0].row);
    for (std::size_t i = 0; i < last; ++i) Add_Segment(columns, line.pixel[i], line.pixel[i + 1]);
}

/// Points of the edited line that lie on the graticule.
std::size_t Collect_Marks(std::array<Mark, limit_points>& marks) {
    if (!(Global_Table & table_limit)) return 0;
    Limit_Line& line = Limit_Lines[Edited_Line()];
    const Limit_Node* const selected = Point_Of(line, Selected_Point());
    std::size_t count = 0;
    for (const Limit_Pixel& pixel : line.pixel) {
        if (pixel.column == no_place) break;
        const bool inside = pixel.column >= ScreenInf.line_left && pixel.column <= ScreenInf.line_right &&
                            pixel.row >= ScreenInf.clamp_top && pixel.row <= ScreenInf.clamp_bottom;
        if (inside) marks[count++] = {pixel.column, pixel.row, selected && selected->identity == pixel.identity};
    }
    return count;
}

Rect Area_Of(const Mark& mark) {
    return {mark.x - mark_reach, mark.y - mark_reach, 2 * mark_reach + 1, 2 * mark_reach + 1};
}

void Draw_Columns(const Columns& columns, std::uint16_t pixel, const Rect& area) {
    const int begin = std::max<int>(area.x, ScreenInf.line_left);
    const int end = std::min<int>(area.x + area.width - 1, ScreenInf.line_right);
    for (int x = begin; x <= end; ++x) {
        const Extent& extent = columns[static_cast<std::size_t>(x - ScreenInf.line_left)];
        const int last = std::min<int>(extent.last, area.y + area.height - 1);
        for (int y = std::max<int>(extent.first, area.y); y <= last; ++y) Put(x, y, pixel);
    }
}

void Draw_Marks() {
    for (std::size_t i = 0; i < drawn_mark_count; ++i) {
        display::Fill(fbOsd0, Area_Of(drawn_marks[i]), drawn_marks[i].selected ? palette::trace_a : palette::value);
    }
}

constexpr Rect whole_screen{0, 0, static_cast<int>(screen_width), static_cast<int>(screen_height)};

void Erase_Lines() {
    for (std::size_t line = 0; line < limit_lines; ++line) {
        if (line_drawn[line]) Draw_Columns(drawn[line], 0, whole_screen);
    }
    for (std::size_t i = 0; i < drawn_mark_count; ++i) display::Clear(fbOsd0, Area_Of(drawn_marks[i]));
    if (drawn_verdict != verdict_none) display::Clear(fbOsd0, drawn_plate);
}

Colour Colour_Of(std::size_t line) {
    const auto number = static_cast<std::int32_t>(line);
    return Limit_Test.high == number || Limit_Test.low == number ? palette::value : palette::label;
}

bool Overlap(const Rect& a, const Rect& b) {
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

void Draw_Plate() {
    if (drawn_verdict == verdict_none) return;
    const bool pass = drawn_verdict == verdict_pass;
    const Colour plate = pass ? palette::bar : palette::attention, ink = pass ? palette::pass : palette::ground;
    display::Fill(fbOsd0, drawn_plate, plate);
    display::Frame(fbOsd0, drawn_plate, pass ? palette::frame : palette::attention);
    const Word_Mask& word = pass ? pass_word : fail_word;
    const int x = drawn_plate.x + (plate_width - word_width) / 2, y = drawn_plate.y + (plate_height - word_height) / 2;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const std::uint8_t mask = word[i];
        if (mask == 0) continue;
        const Colour mixed{process_bitmap_color(mask, ink.red, plate.red),
                           process_bitmap_color(mask, ink.green, plate.green),
                           process_bitmap_color(mask, ink.blue, plate.blue)};
        Put(x + static_cast<int>(i % word_width), y + static_cast<int>(i / word_width), Pixel(mixed));
    }
}

void Render(std::string_view word, Word_Mask& mask) {
    constexpr int largest = 16, smallest = 10, baseline = 14;
    mask.fill(0);
    std::array<std::uint32_t, 4> text{};
    std::ranges::copy(word, text.begin());
    int width = 0;
    for (int size = largest; size >= smallest; --size) {
        width = 0;
        wchar_box(text, 0, 0, size, {}, 0, &width, rendered_with, 1);
        if (width > word_width && size > smallest) continue;
        const int x = (word_width - width + 1) / 2;
        return wchar_box(text, x, baseline, size, mask, word_width, nullptr, rendered_with, 1);
    }
}

bool Anything_Stands() {
    const bool any_line = std::ranges::find(line_drawn, true) != line_drawn.end();
    return any_line || drawn_mark_count > 0 || drawn_verdict != verdict_none;
}

}  // namespace

void Render_Verdict_Words() {
    const FT_Face face = display::Face_Handle(face_bold);
    if (face == rendered_with) return;
    rendered_with = face;
    if (!face) return;
    Render("PASS", pass_word);
    Render("FAIL", fail_word);
}

void Draw_Limit_Lines() {
    if (ScreenActive != Half_Of_Keys()) return;
    const bool visible = Visible();
    if (Graticule_Shown()) Erase_Lines();
    for (std::size_t line = 0; line < limit_lines; ++line) {
        line_drawn[line] = visible && To_Draw(Limit_Lines[line]);
        if (line_drawn[line]) Collect_Line(Limit_Lines[line], drawn[line]);
        drawn_colours[line] = Colour_Of(line);
    }
    drawn_mark_count = 0;
    drawn_verdict = verdict_none;
    if (!visible) return;
    drawn_mark_count = Collect_Marks(drawn_marks);
    drawn_verdict = Limit_Test.verdict;
    drawn_plate = {ScreenInf.left + plate_column, ScreenInf.top + plate_row, plate_width, plate_height};
    Render_Verdict_Words();
    Restore_Limit_Lines(whole_screen);
}

void Show_Limit_Lines() {
    const bool stood = Anything_Stands();
    Draw_Limit_Lines();
    if (!Visible() || !(stood || Anything_Stands() || Global_Table & table_limit)) return;
    Draw_Level_Lines();
    Redraw_Symbols();
    Show_Markers();
}

void Show_Verdict() {
    if (Visible() && Limit_Test.verdict != drawn_verdict) Show_Limit_Lines();
}

void Restore_Limit_Lines(Rect area) {
    for (std::size_t line = 0; line < limit_lines; ++line) {
        if (line_drawn[line]) Draw_Columns(drawn[line], Pixel(drawn_colours[line]), area);
    }
    for (std::size_t i = 0; i < drawn_mark_count; ++i) {
        if (Overlap(Area_Of(drawn_marks[i]), area)) Draw_Marks();
    }
    if (Overlap(drawn_plate, area)) Draw_Plate();
}
