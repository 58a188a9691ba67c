#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enModeBig,
     {Greyed(enModeSpectrum), Greyed(enModeTrackingGen), Greyed(enModePowerMeter), Greyed(enModeEmissionMask),
      Greyed(enModeAMFM), Greyed(enModeASKFSK), Greyed(enModeIQRecord)}},
    {enTrackingGenBig,
     {Greyed(enOutput), Greyed(enLevel), Greyed(enLevelOffset), Greyed(enLevelStep),
      Opens(enPowerSweep, ModeLink[2]), Opens(enNormalisePage, ModeLink[3]), Back}},
    {enPowerSweepBig,
     {Greyed(enLevelMode), Greyed(enSweepRange), none, none, none, none, Return(ModeLink[1])}},
    {enNormaliseBig,
     {Greyed(enNormalise), Greyed(enNormRefLevel), Greyed(enRefPosition), Greyed(enStoreThrough), none, none,
      Return(ModeLink[1])}},
    {enPowerMeterBig,
     {Greyed(enFrequency), Greyed(enUnit), Greyed(enSensorSpeed), Greyed(enMaxMinHold),
      Opens(enEMCLimits, ModeLink[5]), Opens(enMoreOne, ModeLink[6]), Return(ModeLink[0])}},
    {enLimitsBig,
     {Greyed(enLimitTest), Greyed(enHighLimit), Greyed(enLowLimit), Greyed(enBeepOnFail), none, none,
      Return(ModeLink[4])}},
    {enPowerMeterBig,
     {Opens(enRecording, ModeLink[7]), Opens(enTrigger, ModeLink[9]), Greyed(enOffset), Greyed(enAverage),
      Opens(enReadout, ModeLink[8]), Opens(enMoreTwo, ModeLink[4]), Return(ModeLink[0])}},
    {enRecordingBig,
     {Greyed(enRecord), Greyed(enTotalTime), Greyed(enInterval), Opens(enSaveLog, SaveLink[0]),
      Opens(enLoadLog, RecallLink[0]), none, Return(ModeLink[6])}},
    {enReadoutBig,
     {Greyed(enNumberKey), Greyed(enNeedle), Greyed(enChart), Greyed(enRelativeValue), Greyed(enZeroSensor), none,
      Return(ModeLink[6])},
     &ModeLink[6]},
    {enTriggerBig,
     {Greyed(enTriggerFreeRun), Greyed(enInternal), Greyed(enTriggerExternal), none, none, none, Return(ModeLink[6])},
     &ModeLink[6]},
});

}  // namespace

std::array<Menu_Page, 10> ModeLink = Pages<10>(20, rows);

void menus::Reset_Mode() { ModeLink = Pages<10>(20, rows); }

void Mode_HwKey() { menus::Open_First_Page(ModeLink[0]); }

void Mode_SwKey(int key, char) { Press_Soft_Key(key, "Mode_SwKey error"); }
