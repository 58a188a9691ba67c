#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enPeakSearchBig,
     {Greyed(enPeakSearch), Greyed(enNextPeak), Greyed(enPeakRight), Greyed(enPeakLeft), Greyed(enPeakMinimum),
      Greyed(enPeakToCenter), Opens(enMoreOne, PeakSearchLink[1])}},
    {enPeakSearchBig,
     {Greyed(enExcursion), Greyed(enThreshold), Greyed(enPeakTrack), Greyed(enPeakTable), Greyed(enTableOrder), none,
      Opens(enMoreTwo, PeakSearchLink[0])}},
});

}  // namespace

std::array<Menu_Page, 3> PeakSearchLink = Pages<3>(18, rows);

void menus::Reset_PeakSearch() { PeakSearchLink = Pages<3>(18, rows); }

void PeakSearch_HwKey() { menus::Open_First_Page(PeakSearchLink[0]); }

void PeakSearch_SwKey(int key, char) { Press_Soft_Key(key, "PeakSearch_SwKey error"); }
