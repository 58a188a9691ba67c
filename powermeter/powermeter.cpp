#include "powermeter/powermeter.h"

#include <cstdio>

#include "display/pictures.h"
#include "keys/handlers.h"
#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "keys/status_blocks.h"
#include "platform/fpga_int.h"
#include "records/function.h"
#include "records/handover.h"
#include "sweep/transfer.h"
#include "trace/plot.h"

void Powermeter_InIt() { PowerSensor_Insert = 0; }

void Leave_Power_Meter() {
    if (FunctionMode_Flag == mode_file_view || FunctionMode_Flag == mode_recall_view) {
        FunctionMode_Flag_For_File = mode_spectrum;
        SweepSingle_Data.store(0, std::memory_order_release);
    } else {
        Mode_HwKey();
        FunctionMode_Flag = mode_spectrum;
    }
    if (platform::Fpga_Int_Request(FPGA_Int_Fd, 0, 0) < 0) std::printf("set failed\n");
    Ext_Frame();
    Draw_Status_Blocks();
    Blank_Numeric_Field();
    LOOP_SetTrans_Var();
}

void Redraw_Power_Meter() {
    Show_Picture(picture_power_meter, 655, 545, 0, 24, target_video0);
    if (Remote_Flag.load(std::memory_order_acquire) != 0) ThirdAttentionwords(8);
}
