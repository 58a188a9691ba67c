#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enTriggerBig,
     {Greyed(enTriggerFreeRun), Greyed(enTriggerVideo), Greyed(enTriggerExternal),
      Opens(enVideoSetup, TriggerLink[1]), Greyed(enExtSlope), Greyed(enTriggerDelay), Greyed(enTriggerMode)}},
    {enVideoSetupBig,
     {Greyed(enLevel), Greyed(enSlope), Greyed(enFrequency), none, none, none, Return(TriggerLink[0])}},
    {enGateSetupBig,
     {Greyed(enGatedSweep), Greyed(enGateDelay), Greyed(enGateLength), Greyed(enExtSlope), none, none,
      Return(SweepLink[0])}},
});

}  // namespace

std::array<Menu_Page, 3> TriggerLink = Pages<3>(11, rows);

void menus::Reset_Trigger() { TriggerLink = Pages<3>(11, rows); }

void Trigger_HwKey() { menus::Open_First_Page(TriggerLink[0]); }

void Trigger_SwKey(int key, char) { Press_Soft_Key(key, "Trigger_SwKey error"); }
