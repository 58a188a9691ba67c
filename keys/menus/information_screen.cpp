#include "keys/information_screen.h"

#include "display/draw.h"
#include "files/last_screen.h"
#include "powermeter/powermeter.h"
#include "records/function.h"
#include "records/sys.h"
#include "records/trace.h"
#include "trace/level_lines.h"
#include "trace/limit_display.h"
#include "trace/marker_display.h"

void Enter_Information_Screen() {
    if (System_information) return;
    System_information = 1;
    FunctionMode_Flag_For_File = FunctionMode_Flag;
    Global_Table_Flag_For_File = Global_Table;
    FunctionMode_Flag = mode_file_view;
    display::Clear(fbOsd0, {ScreenInf.left, ScreenInf.top, ScreenInf.points, ScreenInf.height});  // lines over it
    Draw_Limit_Lines();
    Draw_Level_Lines();
    Redraw_Symbols();
}

void Leave_Information_Screen() {
    if (System_information) changeto_spectrumfd();
}

void changeto_spectrumfd() {
    System_information = 0;
    FunctionMode_Flag = FunctionMode_Flag_For_File;
    Global_Table = Global_Table_Flag_For_File;
    if (FunctionMode_Flag == mode_power_meter) {
        Redraw_Power_Meter();
    } else {
        Recall_Last_Global();
    }
}
