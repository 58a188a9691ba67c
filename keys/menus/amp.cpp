#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enAmplitudeBig,
     {Greyed(enRefLevel), Greyed(enAttenuation), Greyed(enScaleDiv), Greyed(enScaleType),
      Opens(enAmplitudeUnit, AmpLink[1]), Greyed(enPreamp), Opens(enMoreOne, AmpLink[2])}},
    {enUnitBig,
     {Greyed(endBm), Greyed(endBmV), Greyed(endBuV), Greyed(enV), Greyed(enW), none, Return(AmpLink[0])},
     &AmpLink[0]},
    {enAmplitudeBig,
     {Greyed(enRefOffset), Greyed(enInputZ), Greyed(en75OhmCorr), Opens(enEMCCorrection, AmpLink[3]),
      Greyed(enAutoScale), Opens(enLevelLabels, AmpLink[5]), Opens(enMoreTwo, AmpLink[0])}},
    {enCorrectionBig,
     {Greyed(enSet), Greyed(enUseSet), Opens(enEditSet, AmpLink[4]), Opens(enDeleteSet, AmpLink[6]),
      Greyed(enAllSetsOff), none, Return(AmpLink[2])},
     &AmpLink[2]},
    {enEditSetBig,
     {Greyed(enPoint), Greyed(enFrequency), Greyed(enFactor), Greyed(enAddPoint), Greyed(enDeletePoint),
      Greyed(enApply), Return(AmpLink[3])}},
    {enLevelLabelsBig,
     {Greyed(enLabels), Greyed(enPosition), none, none, none, none, Return(AmpLink[2])},
     &AmpLink[2]},
    {enDeleteSetBig,
     {Greyed(enYes), none, none, none, none, none, Return(AmpLink[3])},
     &AmpLink[3]},
});

}  // namespace

std::array<Menu_Page, 7> AmpLink = Pages<7>(2, rows);

void menus::Reset_Amp() { AmpLink = Pages<7>(2, rows); }

void Amp_HwKey() { menus::Open_First_Page(AmpLink[0]); }

void Amp_SwKey(int key, char) { Press_Soft_Key(key, "Amp_SwKey error"); }
