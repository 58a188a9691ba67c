#include "app/remote_base.h"

#include <mutex>

#include "keys/information_screen.h"
#include "platform/environment.h"
#include "records/function.h"
#include "records/locks.h"
#include "records/sys.h"
#include "remote/server.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"
#include "system/lan_settings.h"
#include "system/preset.h"
#include "trace/acquisition.h"

void Leave_File_Modes() {
    const std::lock_guard records(Command_Main_Mutex);
    if (FunctionMode_Flag == mode_file_view || FunctionMode_Flag == mode_recall_view) changeto_spectrumfd();
}

bool Start_Remote_Base() {
    SCPI_RegInitial(scpi_context);
    SCPI_Init(scpi_context);
    const bool opened =
        remote::Open_Ports({Reset_Instrument, Leave_File_Modes, Sweep_Can_Come}, Sys_Data.baud_rate, Hislip_Port());
    SCPI_RegSetBits(scpi_context, reg_esr, esr_power_on);
    return opened || !platform::Network().required;
}
