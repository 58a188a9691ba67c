#include "system/preset.h"

#include "keys/status_blocks.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "sweep/transfer.h"
#include "system/status_icons.h"
#include "trace/acquisition.h"
#include "trace/limit_lines.h"
#include "trace/markers.h"
#include "trace/peak_search.h"
#include "trace/plot.h"

void Preset_Instrument() {
    Freqs_ArrayInit();
    Amp_ArrayInit();
    limitline_init();
    PeakSearch_Init();
    Marker_Init();
    Markerto_Init();
    BW_Init();
    Sweep_Init();
    Init_Trace_Data();
    Ext_Frame();
    Draw_Status_Blocks();
    Display_all_icon();
    LOOP_SetTrans_Var();
}
