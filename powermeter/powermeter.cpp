#include "powermeter/powermeter.h"

#include <cstdio>

#include "keys/numeric_entry.h"
#include "platform/fpga_int.h"
#include "records/function.h"
#include "records/handover.h"
#include "sweep/transfer.h"
#include "trace/plot.h"

void Powermeter_InIt() { PowerSensor_Insert = 0; }

void Leave_Power_Meter() {
    FunctionMode_Flag = mode_spectrum;
    if (platform::Fpga_Int_Request(FPGA_Int_Fd, 0, 0) < 0) std::printf("set failed\n");
    Ext_Frame();
    Blank_Numeric_Field();
    LOOP_SetTrans_Var();
}
