#include "trace/split.h"

#include "display/draw.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "palette.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "sweep/bandwidth.h"
#include "sweep/transfer.h"
#include "trace/icons.h"
#include "trace/limit_lines.h"
#include "trace/plot.h"
#include "trace/point_path.h"

namespace {

constexpr int of_screen_active = -1;
int keys_half = of_screen_active;  ///< while another half is in hand

constexpr Screen_Geometry above_table{.height = 301, .division = 30, .clamp_bottom = 358};
constexpr Screen_Geometry upper{.height = 201, .division = 20, .clamp_bottom = 258};
constexpr Screen_Geometry lower{.top = 332, .height = 201, .division = 20, .clamp_top = 332, .clamp_bottom = 532};

/// Everything beside the soft keys that belongs to whole or split displays.
void Clear_Area() {
    constexpr display::Rect above_entry{0, 25, 654, 527};
    display::Fill(fbVid0, above_entry, display::palette::ground);
    display::Clear(fbOsd0, above_entry);
    Reset_Trace_Icons();
}

int split_on_screen = split_none;

void Update_All_Rows() {
    for (int half = 0; half < screens; ++half) {
        const Half_In_Hand in_hand(half);
        for (std::size_t trace = 0; trace < traces; ++trace)
            Update_Rows(Trace_Data[static_cast<std::size_t>(half)], trace);
    }
    Refresh_Limit_Lines();
}

void Draw_All() {
    Ext_Frame();
    Draw_Status_Blocks();
    Draw_Sweep_State();
    Reset_Trace_Icons();
    for (int trace = 0; trace < traces; ++trace) Detection_check(trace);
    Redraw_Keys();
}

}  // namespace

Screen_Geometry Geometry_Of(int half) {
    const bool table = (Global_Table & (table_marker | table_peak | table_limit)) != 0;
    if (Display_Data.split == split_none) return table ? above_table : Screen_Geometry{};
    return half == 0 ? upper : lower;
}

void Apply_Split() {
    const int split = Display_Data.split;
    Global_Table = split == split_alternate ? Global_Table | table_split : Global_Table & ~table_split;
    if (split != split_none) Global_Table &= ~(table_marker | table_peak | table_limit);
    ScreenInf = Geometry_Of(ScreenActive);
    Update_All_Rows();
    if ((split == split_none) == (split_on_screen == split_none)) return;
    split_on_screen = split;
    Clear_Area();
}

int Set_Split(int mode) {
    if (mode < split_none || mode > split_active) return 0;
    Display_Data.split = mode;
    Apply_Split();
    for (int half = 0; half < screens; ++half) {
        const Half_In_Hand in_hand(half);
        Ext_Sweep_Time_Auto();
    }
    Draw_All();
    LOOP_SetTrans_Var();
    return 0;
}

int Set_Active_Half(int half) {
    if (Display_Data.split == split_none || half < 0 || half >= screens) return 0;
    ScreenActive = half;
    Hold_Level_Shown = 0;
    Apply_Split();
    Draw_All();
    LOOP_SetTrans_Var();
    return 0;
}

int Half_Of_Keys() { return keys_half == of_screen_active ? ScreenActive : keys_half; }

bool Swept_In_Turn() { return (Global_Table & table_split) != 0; }

int Half_Of_Samples() { return Swept_In_Turn() ? Screen_Swept : ScreenActive; }

void Sweep_Other_Half() {
    const Half_In_Hand other(1 - ScreenActive);
    LOOP_SetTrans_Var();
}

Half_In_Hand::Half_In_Hand(int half)
    : screen_before_(ScreenActive), keys_before_(keys_half), geometry_before_(ScreenInf) {
    keys_half = Half_Of_Keys();
    ScreenActive = half;
    ScreenInf = Geometry_Of(half);
}

Half_In_Hand::~Half_In_Hand() {
    ScreenActive = screen_before_;
    keys_half = keys_before_;
    ScreenInf = geometry_before_;
}
