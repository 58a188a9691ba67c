#include "app/remote_host.h"

#include <mutex>

#include "keys/information_screen.h"
#include "records/function.h"
#include "records/locks.h"

void Leave_File_Modes() {
    const std::lock_guard records(Command_Main_Mutex);
    if (FunctionMode_Flag == mode_file_view || FunctionMode_Flag == mode_recall_view) Return_From_File_Mode();
}
