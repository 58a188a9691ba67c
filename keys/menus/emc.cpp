#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enEMCBig,
     {Greyed(enEMCMode), Opens(enEMCTest, EMCLink[1]), Opens(enEMCLimits, EMCLink[4]),
      Opens(enEMCCorrection, EMCLink[9]), Opens(enEMCPeaks, EMCLink[13]), Greyed(enFrequencyAxis),
      Opens(enMoreOne, EMCLink[2])}},
    {enTestBig,
     {Opens(enBand, EMCLink[3]), Opens(enTestType, EMCLink[15]), Greyed(enPeakTable), Opens(enLimitPage, EMCLink[5]),
      Opens(enAmbient, EMCLink[12]), Greyed(enStartTest), Return(EMCLink[0])},
     &EMCLink[0]},
    {enEMCBig,
     {Opens(enDetector, EMCLink[16]), Opens(enEMIRBW, EMCLink[17]), Greyed(enDwellTime),
      Opens(enNearField, EMCLink[18]), Opens(enLevelUnit, EMCLink[19]), Opens(enReport, EMCLink[20]),
      Opens(enMoreTwo, EMCLink[0])}},
    {enBandBig,
     {Greyed(enBand9kHz), Greyed(enBand150kHz), Greyed(enBand30MHz), Greyed(enBand300MHz), Greyed(enBandAbove1GHz),
      Opens(enUserBand, EMCLink[21]), Return(EMCLink[1])},
     &EMCLink[1]},
    {enLimitsEMCBig,
     {Greyed(enLimitLine), Opens(enLimitPage, EMCLink[5]), Greyed(enMargin), Opens(enEditLimit, EMCLink[8]),
      Greyed(enPassFail), none, Return(EMCLink[0])}},
    {enLimitBig,
     {Opens(enFCC15, EMCLink[6]), Greyed(enEN55011), Greyed(enEN55022), Greyed(enEN55032),
      Opens(enCISPR25, EMCLink[7]), Opens(enUser1To5, EMCLink[22]), Back}},
    {enFCC15Big,
     {Greyed(enFCC15107), Greyed(enFCC15109), Greyed(enFCC15209), Greyed(enClass), Greyed(enDistance), none,
      Return(EMCLink[5])},
     &EMCLink[5]},
    {enCISPR25Big,
     {Greyed(enClass), Greyed(enMethod), Greyed(enUseCISPR25), none, none, none, Return(EMCLink[5])},
     &EMCLink[5]},
    {enEditLimitBig,
     {Greyed(enPoint), Greyed(enFrequency), Greyed(enLevel), Greyed(enAddPoint), Greyed(enDeletePoint),
      Greyed(enApply), Return(EMCLink[4])}},
    {enCorrectionBig,
     {Greyed(enCorrection), Opens(enAntenna, EMCLink[10]), Opens(enCable, EMCLink[10]),
      Opens(enAmplifier, EMCLink[10]), Opens(enLISN, EMCLink[10]), Opens(enEditSet, EMCLink[11]), Return(EMCLink[0])},
     &EMCLink[0]},
    {enTransducerBig,
     {Greyed(enNone), Greyed(enSet1), Greyed(enSet2), Greyed(enSet3), Greyed(enSet4), Greyed(enSet5),
      Return(EMCLink[9])},
     &EMCLink[9]},
    {enEditSetBig,
     {Greyed(enPoint), Greyed(enFrequency), Greyed(enFactor), Greyed(enAddPoint), Greyed(enDeletePoint),
      Greyed(enApply), Return(EMCLink[9])}},
    {enAmbientBig,
     {Greyed(enSubtract), Greyed(enTakeAmbient), Greyed(enShowAmbient), Greyed(enClear), none, none,
      Return(EMCLink[1])},
     &EMCLink[1]},
    {enPeaksBig,
     {Greyed(enSearchPeaks), Greyed(enMeasureQP), Greyed(enMeasureAll), Greyed(enSortBy), Greyed(enPeakCount),
      Opens(enMoreOne, EMCLink[14]), Return(EMCLink[0])}},
    {enPeaksBig,
     {Greyed(enWithinMargin), Greyed(enExcursion), Greyed(enDeleteRow), Greyed(enMarkerToRow), Greyed(enClearTable),
      Opens(enMoreTwo, EMCLink[13]), Return(EMCLink[0])}},
    {enTestTypeBig,
     {Greyed(enConducted), Greyed(enRadiated), Greyed(enDisturbPower), Greyed(enNearFieldKey), none, none,
      Return(EMCLink[1])},
     &EMCLink[1]},
    {enDetectorBig,
     {Greyed(enPosPeak), Greyed(enEMIAverage), Greyed(enQuasiPeak), none, none, none, Return(EMCLink[2])},
     &EMCLink[2]},
    {enEMIRBWBig,
     {Greyed(enAuto), Greyed(en200Hz), Greyed(en9kHz), Greyed(en120kHz), Greyed(en1MHz), none, Return(EMCLink[2])},
     &EMCLink[2]},
    {enNearFieldBig,
     {Greyed(enProbe), Greyed(enReferenceKey), Greyed(enShowRelative), Greyed(enPeakHold), none, none,
      Return(EMCLink[2])},
     &EMCLink[2]},
    {enLevelUnitBig,
     {Greyed(endBuV), Greyed(endBuVPerm), Greyed(endBuA), Greyed(endBuAPerm), Greyed(endBpT), none,
      Return(EMCLink[2])},
     &EMCLink[2]},
    {enReportBig,
     {Greyed(enTitle), Greyed(enLimitsIn), Greyed(enPeaksIn), Greyed(enCorrectionIn), Greyed(enSaveReport), none,
      Return(EMCLink[2])},
     &EMCLink[2]},
    {enUserBandBig,
     {Greyed(enStartFreq), Greyed(enStopFreq), Greyed(enUseBand), none, none, none, Return(EMCLink[3])}},
    {enUserLimitBig,
     {Greyed(enLine1), Greyed(enLine2), Greyed(enLine3), Greyed(enLine4), Greyed(enLine5), none, Return(EMCLink[5])},
     &EMCLink[5]},
});

}  // namespace

std::array<Menu_Page, 37> EMCLink = Pages<37>(9, rows);

void menus::Reset_EMC() { EMCLink = Pages<37>(9, rows); }

void EMC_HwKey() { menus::Open_First_Page(EMCLink[0]); }

void EMC_SwKey(int key, char) { Press_Soft_Key(key, "EMC_SwKey error"); }
