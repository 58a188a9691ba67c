#pragma once
/// EMC state off.
void EMI_Init_init();
/// One round of the quasi-peak re-measurement; nothing while no EMC test runs.
void Quasi_Peak_Round();
