#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enTraceBig,
     {Greyed(enTraceSelect), Greyed(enClearWrite), Greyed(enMaxHold), Greyed(enMinHold), Greyed(enTraceView),
      Greyed(enTraceBlank), Opens(enMoreOne, TraLink[1])}},
    {enTraceBig,
     {Opens(enDetector, TraLink[2]), Opens(enAveragePage, TraLink[4]), Opens(enMath, TraLink[3]),
      Greyed(enHoldLevel), Greyed(enHoldReset), none, Opens(enMoreTwo, TraLink[0])}},
    {enDetectorBig,
     {Greyed(enAuto), Greyed(enNormal), Greyed(enPosPeak), Greyed(enNegPeak), Greyed(enSample),
      Opens(enMoreOne, TraLink[5]), Return(TraLink[1])},
     &TraLink[1]},
    {enMathBig,
     {Greyed(enSource1), Greyed(enSource2), Greyed(enPowerDiff), Greyed(enLogDiff), Greyed(enLogOffset),
      Greyed(enMathOff), Return(TraLink[1])}},
    {enAverageBig,
     {Greyed(enAverage), Greyed(enAverageType), Greyed(enStartAgain), none, none, none, Return(TraLink[1])}},
    {enDetectorBig,
     {Greyed(enAverageKey), Greyed(enRMSAverage), Greyed(enEMIAverage), Greyed(enQuasiPeak), none,
      Opens(enMoreTwo, TraLink[2]), Return(TraLink[1])},
     &TraLink[1]},
});

}  // namespace

std::array<Menu_Page, 8> TraLink = Pages<8>(6, rows);

void menus::Reset_Trace() { TraLink = Pages<8>(6, rows); }

void Trace_HwKey() { menus::Open_First_Page(TraLink[0]); }

void Trace_SwKey(int key, char) { Press_Soft_Key(key, "Trace_SwKey error"); }
