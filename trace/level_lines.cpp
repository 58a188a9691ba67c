#include "trace/level_lines.h"

#include <algorithm>
#include <array>

#include "palette.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "trace/limit_display.h"
#include "trace/marker_display.h"
#include "trace/plot.h"
#include "trace/scale.h"
#include "trace/split.h"

namespace {

using display::Rect;
namespace palette = display::palette;

constexpr std::array<display::Colour, traces> trace_colours{palette::trace_a, palette::trace_b, palette::trace_c,
                                                            palette::trace_d};

struct Line {
    int row = 0;
    display::Colour colour;
};

/// The lines on the screen: a display line in each half, and the maximum-hold level.
std::array<Line, screens + 1> drawn;
std::size_t drawn_lines = 0;

/// A stored level in dBm of the half in hand.
void Draw_Line(double level, display::Colour colour) {
    const int row = dBmTOpixel(level, Active_Scale(), false);
    if (row < ScreenInf.clamp_top || row > ScreenInf.clamp_bottom) return;
    drawn[drawn_lines++] = {row, colour};
}

void Draw_Display_Line(int half) {
    const Half_In_Hand in_hand(half);
    Draw_Line(Display_Data.line_level - Shown_Level_Offset(), palette::value);
}

void Draw_Hold_Level() {
    const Half_In_Hand in_hand(Half_Of_Keys());
    const Trace_Record& record = Trace_Data[static_cast<std::size_t>(ScreenActive)];
    const std::size_t trace = record.active & 3;
    Draw_Line(static_cast<double>(record.max_hold_level[trace]), trace_colours[trace]);
}

Rect Columns(int row) {
    return {ScreenInf.line_left, row, ScreenInf.line_right - ScreenInf.line_left + 1, 1};
}

}  // namespace

void Draw_Level_Lines() {
    const std::size_t before = drawn_lines;
    for (std::size_t i = 0; i < before; ++i) {
        display::Clear(fbOsd0, Columns(drawn[i].row));
        Restore_Limit_Lines(Columns(drawn[i].row));
    }
    drawn_lines = 0;
    if (Graticule_Shown()) {
        const bool split = Display_Data.split != split_none;
        if (Display_Data.line_shown) {
            for (int half = 0; half < screens; ++half) {
                if (split || half == Half_Of_Keys()) Draw_Display_Line(half);
            }
        }
        if (Hold_Level_Shown) Draw_Hold_Level();
    }
    for (std::size_t i = 0; i < drawn_lines; ++i) display::Fill(fbOsd0, Columns(drawn[i].row), drawn[i].colour);
    if (before || drawn_lines) Redraw_Symbols();
}

void Mend_Level_Lines(Rect area) {
    for (std::size_t i = 0; i < drawn_lines; ++i) {
        const Rect line = Columns(drawn[i].row);
        const int left = std::max(area.x, line.x), right = std::min(area.x + area.width, line.x + line.width);
        if (line.y < area.y || line.y >= area.y + area.height || left >= right) continue;
        display::Fill(fbOsd0, {left, line.y, right - left, 1}, drawn[i].colour);
    }
}
