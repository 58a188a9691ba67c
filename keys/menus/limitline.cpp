#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enLimitLineBig,
     {Greyed(enPassFail), Opens(enHighLine, LimitlineLink[4]), Opens(enLowLine, LimitlineLink[5]), Greyed(enTestOn),
      Greyed(enTestRange), Opens(enEditLine, LimitlineLink[1]), Opens(enMakeLine, LimitlineLink[2])}},
    {enEditLineBig,
     {Greyed(enLine), Greyed(enPoint), Greyed(enFrequency), Greyed(enLevel), Greyed(enAddPoint),
      Opens(enMoreOne, LimitlineLink[3]), Return(LimitlineLink[0])}},
    {enMakeLineBig,
     {Greyed(enLine), Greyed(enFromTrace), Greyed(enTraceOffset), Greyed(enFromMarker), Greyed(enMarkerFreq),
      Greyed(enTwoPoints), Return(LimitlineLink[0])}},
    {enEditLineBig,
     {Greyed(enShowLine), Greyed(enPointUsed), Greyed(enDeletePoint), Opens(enClearPoints, LimitlineLink[6]),
      Opens(enDeleteLine, LimitlineLink[7]), Opens(enMoreTwo, LimitlineLink[1]), Return(LimitlineLink[0])},
     &LimitlineLink[0]},
    {enHighLineBig,
     {Greyed(enNone), Greyed(enLine1), Greyed(enLine2), Greyed(enLine3), Greyed(enLine4), Greyed(enLine5),
      Return(LimitlineLink[0])},
     &LimitlineLink[0]},
    {enLowLineBig,
     {Greyed(enNone), Greyed(enLine1), Greyed(enLine2), Greyed(enLine3), Greyed(enLine4), Greyed(enLine5),
      Return(LimitlineLink[0])},
     &LimitlineLink[0]},
    {enClearPointsBig,
     {Greyed(enYes), none, none, none, none, none, Return(LimitlineLink[3])},
     &LimitlineLink[3]},
    {enDeleteLineBig,
     {Greyed(enYes), none, none, none, none, none, Return(LimitlineLink[3])},
     &LimitlineLink[3]},
});

}  // namespace

std::array<Menu_Page, 8> LimitlineLink = Pages<8>(10, rows);

void menus::Reset_Limitline() { LimitlineLink = Pages<8>(10, rows); }

void Limitline_HwKey() { menus::Open_First_Page(LimitlineLink[0]); }

void Limitline_SwKey(int key, char) { Press_Soft_Key(key, "Limitline_SwKey error"); }
