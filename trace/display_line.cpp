#include "trace/display_line.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "records/amp.h"
#include "records/display.h"
#include "records/freqs.h"
#include "trace/level_lines.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr double lowest = -200, highest = 100;

}  // namespace

void Cal_Display_Line(int source, double level) {
    const int step =
        source == source_knob ? 1 : Db_Per_Division(Amp.scale_code[static_cast<std::size_t>(ScreenActive)] & 3);
    if (source != source_typed) level = Display_Data.line_level + Pending_Steps() * step;
    if (std::isfinite(level)) Display_Data.line_level = std::clamp(level, lowest, highest) + 0.0;  // no -0
}

int Set_Display_Line(int source, double level) {
    if (source == source_typed && !std::isfinite(level)) return 0;
    Cal_Display_Line(source, level);
    return Set_Display_Line_State(true);
}

int Set_Display_Line_State(bool on) {
    Display_Data.line_shown = on;
    Draw_Level_Lines();
    Redraw_Keys();
    return 0;
}

void Show_Display_Line() {
    std::array<char, 40> text{};
    Format_Level(Display_Data.line_level, text);
    Show_Entry("Display line", text.data());
}
