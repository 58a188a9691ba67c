#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enBandwidthBig,
     {Greyed(enRBW), Greyed(enVBW), Greyed(enVBWRBW), Greyed(enAverage), Greyed(enAverageType), Greyed(enEMIFilter),
      Opens(enEMIRBW, BWLink[1])}},
    {enEMIRBWBig,
     {Greyed(en200Hz), Greyed(en9kHz), Greyed(en120kHz), Greyed(en1MHz), none, none, Return(BWLink[0])},
     &BWLink[0]},
});

}  // namespace

std::array<Menu_Page, 2> BWLink = Pages<2>(4, rows);

void menus::Reset_BW() { BWLink = Pages<2>(4, rows); }

void BW_HwKey() { menus::Open_First_Page(BWLink[0]); }

void BW_SwKey(int key, char) { Press_Soft_Key(key, "BW_SwKey error"); }
