#include "emc/emc.h"

#include "records/bw.h"
#include "records/function.h"

void EMI_Init_init() {
    EMC_Data = {};
    BW_Data.emi = 0;
}

void Quasi_Peak_Round() {}
