#pragma once
#include "keys/page.h"

/// The pages of each menu family, defined with their handlers.
extern std::array<Menu_Page, 1> FreqLink, SpanLink, AutosetLink, MarkertoLink, SweepLink, PresetLink;
extern std::array<Menu_Page, 2> BWLink;
extern std::array<Menu_Page, 7> AmpLink, DisplayLink;
extern std::array<Menu_Page, 8> TraLink, MarkerLink, LimitlineLink;
extern std::array<Menu_Page, 3> TriggerLink, PeakSearchLink;
extern std::array<Menu_Page, 5> SeqLink;
extern std::array<Menu_Page, 10> ModeLink;
extern std::array<Menu_Page, 11> RecallLink;
extern std::array<Menu_Page, 20> NumLink;
extern std::array<Menu_Page, 23> FileLink;
extern std::array<Menu_Page, 31> SaveLink;
extern std::array<Menu_Page, 33> SysLink;
extern std::array<Menu_Page, 37> EMCLink;
extern std::array<Menu_Page, 100> MeasLink;

/// Sets every page to its initial row. Start-up, and tests.
void Reset_Pages();
