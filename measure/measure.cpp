#include "measure/measure.h"

#include "records/function.h"
#include "records/handover.h"
#include "trace/acquisition.h"

void meas_init() {
    Global_Table = 0;
    Global_Table_Flag_For_File = 0;
}

void SEM_DrawTrace() { readadc(); }
void Demod_DrawTrace() { readadc(); }
void Record_data_Loop() { readadc(); }
void FSK_Demod_Loop() { readadc(); }

void CommandForDemodAndSEM() { RecallFormCommand.store(0, std::memory_order_release); }
