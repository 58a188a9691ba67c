#include "trace/plot.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "display/draw.h"
#include "palette.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/sys.h"
#include "records/trigger.h"
#include "trace/level_lines.h"
#include "trace/limit_display.h"
#include "trace/marker_display.h"
#include "trace/scale.h"
#include "trace/scale_figures.h"
#include "trace/split.h"

namespace {

using display::Colour;
using display::Rect;
namespace palette = display::palette;

constexpr int divisions = 10, column_pitch = 60;
constexpr std::array<Colour, traces> trace_colours{palette::trace_a, palette::trace_b, palette::trace_c,
                                                   palette::trace_d};

/// A stroke fades from its upper end downwards, as on a phosphor: peaks stand out, and noise between its extremes does not
/// hide the grid. Sixteen shades of each trace.
constexpr int shades = 16, rows_per_shade = 5;
constexpr double dimmest = 0.4;

constexpr Colour Shade(Colour colour, int step) {
    const double part = 1 - (1 - dimmest) * step / (shades - 1);
    const auto mix = [&](std::uint8_t bright, std::uint8_t ground) {
        return static_cast<std::uint8_t>(ground + (bright - ground) * part + 0.5);
    };
    return {mix(colour.red, palette::ground.red), mix(colour.green, palette::ground.green),
            mix(colour.blue, palette::ground.blue)};
}

constexpr auto shade_table = [] {
    std::array<std::array<Colour, shades>, traces> table{};
    for (std::size_t trace = 0; trace < traces; ++trace) {
        for (std::size_t i = 0; i < shades; ++i) {
            table[trace][i] = Shade(trace_colours[trace], static_cast<int>(i));
        }
    }
    return table;
}();

/// Rows that any trace covers in a column now; first above last where none does.
struct Extent {
    std::int16_t first = 1, last = 0;
};
std::array<std::array<Extent, trace_points>, screens> drawn;

Extent& Drawn(int point) { return drawn[static_cast<std::size_t>(ScreenActive)][static_cast<std::size_t>(point)]; }

Rect Graticule() {
    return {ScreenInf.left, ScreenInf.top, ScreenInf.points, ScreenInf.height};
}

void Draw_Grid() {
    const Rect g = Graticule();
    display::Fill(fbVid0, g, palette::ground);
    for (int i = 1; i < divisions; ++i) {
        display::Fill(fbVid0, {g.x + i * column_pitch, g.y, 1, g.height}, palette::grid);
        display::Fill(fbVid0, {g.x, g.y + i * ScreenInf.division, g.width, 1}, palette::grid);
    }
    const bool marked = Display_Data.split != split_none && ScreenActive == Half_Of_Keys();
    display::Frame(fbVid0, g, marked ? palette::value : palette::frame);
}

/// The level of the video trigger, while that is chosen: dashes, which no trace looks like.
void Draw_Trigger_Line() {
    if (Trigger_Data.source != trigger_by_video) return;
    constexpr int dash = 6, gap = 6;
    const Rect g = Graticule();
    const int row = dBmTOpixel(Trigger_Data.video_level, Active_Scale(), false);
    if (row < g.y || row >= g.y + g.height) return;
    for (int x = g.x; x < g.x + g.width; x += dash + gap) {
        display::Fill(fbVid0, {x, row, std::min(dash, g.x + g.width - x), 1}, palette::attention);
    }
}

/// Vertical run that joins a point to the one before it.
Extent Run(const Trace_Record& record, std::size_t trace, int point) {
    const auto column = static_cast<std::size_t>(point);
    const int top = ScreenInf.top, bottom = ScreenInf.top + ScreenInf.height - 1;
    const int now = std::clamp<int>(record.rows[trace][column], top, bottom);
    const int before = point == 0 ? now : std::clamp<int>(record.rows[trace][column - 1], top, bottom);
    if (before == now) return {static_cast<std::int16_t>(now), static_cast<std::int16_t>(now)};
    // The run ends one row short of the point before, which its own column shows.
    const int first = before < now ? before + 1 : now, last = before < now ? now : before - 1;
    return {static_cast<std::int16_t>(first), static_cast<std::int16_t>(last)};
}

/// Brings the bare graticule back where the column was drawn on.
void Erase_Column(int point) {
    Extent& extent = Drawn(point);
    if (extent.first > extent.last) return;
    display::Restore(fbVid0, {ScreenInf.left + point, extent.first, 1, extent.last - extent.first + 1});
    extent = {};
}

void Draw_Column(Trace_Record& record, int point) {
    Erase_Column(point);
    Extent& extent = Drawn(point);
    const int x = ScreenInf.left + point;
    for (int i = 1; i <= traces; ++i) {
        const auto trace = static_cast<std::size_t>((record.active + i) % traces);  // the active trace on top
        if (record.mode[trace] == trace_blank) continue;
        const Extent run = Run(record, trace, point);
        for (int y = run.first; y <= run.last; ++y) {
            const int shade = std::min((y - run.first) / rows_per_shade, shades - 1);
            display::Put_24(fbVid0, x, y, shade_table[trace][static_cast<std::size_t>(shade)]);
        }
        extent = extent.first > extent.last
                     ? run
                     : Extent{std::min(extent.first, run.first), std::max(extent.last, run.last)};
        record.drawn_rows[trace][static_cast<std::size_t>(point)] = record.rows[trace][static_cast<std::size_t>(point)];
    }
}

bool Drawable() { return Display_Data.active && fbVid0.memory && fbVid0.bits == 24; }

void Draw_Half() {
    Draw_Grid();
    Draw_Scale_Figures();
    Draw_Trigger_Line();
    display::Keep(fbVid0, Graticule());
    drawn[static_cast<std::size_t>(ScreenActive)].fill({});
    Redraw_Traces(Trace_Data[static_cast<std::size_t>(ScreenActive)]);
    Redraw_Markers();
}

}  // namespace

bool Graticule_Shown() {
    const std::int32_t mode = FunctionMode_Flag;
    return !System_information && mode != mode_file_view && mode != mode_recall_view && mode != mode_power_meter;
}

void Ext_Frame() {
    if (!Drawable()) return;
    Draw_Limit_Lines();
    if (Display_Data.split == split_none) {
        Draw_Half();
    } else {
        for (int half = 0; half < screens; ++half) {
            const Half_In_Hand in_hand(half);
            Draw_Half();
        }
    }
    Draw_Level_Lines();
}

void Trace_plot_line(Trace_Record& record, int point, int count) {
    if (!Drawable() || point < 0 || count > trace_points - point) return;
    for (int i = 0; i < count; ++i) Draw_Column(record, point + i);
}

void Redraw_Traces(Trace_Record& record) {
    record.redraw_mask = 0;
    if (!Drawable()) return;
    for (int point = 0; point < trace_points; ++point) Draw_Column(record, point);
    Show_Markers();
}

void Plot_Reset() {
    for (auto& half : drawn) half.fill({});
}
