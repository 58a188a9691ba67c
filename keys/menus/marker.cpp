#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enMarkerBig,
     {Greyed(enMarkerSelect), Greyed(enShowMarker), Greyed(enMarkerNormal), Greyed(enMarkerDelta),
      Opens(enMarkerPair, MarkerLink[2]), Opens(enMarkerFunction, MarkerLink[3]), Opens(enMoreOne, MarkerLink[1])}},
    {enMarkerBig,
     {Opens(enTracePage, MarkerLink[4]), Greyed(enMarkerTable), Greyed(enAllOff), none, none, none,
      Opens(enMoreTwo, MarkerLink[0])}},
    {enPairBig,
     {Greyed(enPairSpan), Greyed(enPairCenter), Greyed(enSpanPair), none, none, none, Return(MarkerLink[0])}},
    {enFunctionBig,
     {Greyed(enNoise), Opens(enCounter, MarkerLink[5]), Greyed(enVSWR), Greyed(enFunctionOff), none, none,
      Return(MarkerLink[0])},
     &MarkerLink[0]},
    {enMarkerTraceBig,
     {Greyed(enAuto), Greyed(enTraceA), Greyed(enTraceB), Greyed(enTraceC), Greyed(enTraceD), none,
      Return(MarkerLink[1])},
     &MarkerLink[1]},
    {enCounterBig,
     {Greyed(enCounterValue), Greyed(enResolution), none, none, none, none, Return(MarkerLink[3])}},
});

}  // namespace

std::array<Menu_Page, 8> MarkerLink = Pages<8>(16, rows);

void menus::Reset_Marker() { MarkerLink = Pages<8>(16, rows); }

void Marker_HwKey() { menus::Open_First_Page(MarkerLink[0]); }

void Marker_SwKey(int key, char) { Press_Soft_Key(key, "Marker_SwKey error"); }
