#include "files/last_screen.h"

#include "display/draw.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "trace/plot.h"

void Recall_Last_Global() {
    display::Clear(fbOsd0, {10, 58, 601, 451});
    Ext_Frame();
    Draw_Status_Blocks();
    Draw_Sweep_State();
    Redraw_Keys();
}
