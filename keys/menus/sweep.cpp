#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enSweepBig,
     {Greyed(enSweepSingle), Greyed(enSweepTime), Greyed(enGatedSweep), Greyed(enSweepContinuous),
      Greyed(enSweepHold), Greyed(enSweepRule), Opens(enGateSetup, TriggerLink[2])}},
});

}  // namespace

std::array<Menu_Page, 1> SweepLink = Pages<1>(8, rows);

void menus::Reset_Sweep() { SweepLink = Pages<1>(8, rows); }

void Sweep_HwKey() { menus::Open_First_Page(SweepLink[0]); }
void SweepMode_HwKey() { menus::Open_First_Page(SweepLink[0]); }

void Sweep_SwKey(int key, char) { Press_Soft_Key(key, "Sweep_SwKey error"); }
