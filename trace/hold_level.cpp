#include "trace/hold_level.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "trace/level_lines.h"
#include "trace/scale.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr float lowest = -130, highest = 30;

Trace_Record& Active_Record() { return Trace_Data[static_cast<std::size_t>(ScreenActive)]; }
std::size_t Active_Trace() { return Active_Record().active & 3; }
double Shown_Level() {
    return static_cast<double>(Active_Record().max_hold_level[Active_Trace()]) + Shown_Level_Offset();
}

void Put_Level(std::size_t trace, double shown) {
    Active_Record().max_hold_level[trace] =
        std::clamp(static_cast<float>(shown - Shown_Level_Offset()), lowest, highest);
}

}  // namespace

void Cal_MaxHoldFun(int source, double level) {
    const int step =
        source == source_knob ? 1 : Db_Per_Division(Amp.scale_code[static_cast<std::size_t>(ScreenActive)] & 3);
    if (source != source_typed) level = Shown_Level() + Pending_Steps() * step;
    if (std::isfinite(level)) Put_Level(Active_Trace(), level);
}

int MaxHoldFun(int source, double level) {
    Cal_MaxHoldFun(source, level);
    Hold_Level_Shown = 1;
    Draw_Level_Lines();
    Show_Hold_Level();
    Redraw_Keys();
    return 0;
}

int Set_Max_Hold_Level(int trace, double level) {
    if (trace < 0 || trace >= traces || !std::isfinite(level)) return 0;
    if (static_cast<std::size_t>(trace) == Active_Trace()) return MaxHoldFun(source_typed, level);
    Put_Level(static_cast<std::size_t>(trace), level);
    return 0;
}

void Show_Hold_Level() {
    std::array<char, 40> text{};
    Format_Level(Shown_Level(), text);
    Show_Entry("Maximum hold level", text.data());
}
