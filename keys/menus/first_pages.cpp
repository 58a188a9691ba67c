#include "keys/handlers.h"
#include "keys/information_screen.h"
#include "keys/menus/entry.h"
#include "keys/menus/error_list.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"

/// First pages of the families whose settings are not there yet: true titles and labels, every key greyed.
namespace {

constexpr std::array<std::uint32_t, soft_keys> all_greyed{1, 1, 1, 1, 1, 1, 1};

using Labels = std::array<const std::uint8_t*, soft_keys>;

Menu_Page Greyed_Page(std::uint8_t family, keys::En_Name title, const Labels& labels) {
    Menu_Page page;
    page.title = En(title);
    page.label = labels;
    page.disabled = all_greyed;
    page.family = family;
    return page;
}

}  // namespace

using namespace keys;
using namespace menus;

std::array<Menu_Page, 7> AmpLink{Greyed_Page(
    2, enAmplitudeBig,
    {En(enRefLevel), En(enAttenuation), En(enScaleDiv), En(enScaleType), En(enAmplitudeUnit), En(enPreamp), En(enMoreOne)})};
std::array<Menu_Page, 1> AutosetLink{
    Greyed_Page(3, enAutosetBig, {En(enAutoset), En(enLevelFloor), En(enSetSpan), nullptr, nullptr, nullptr, nullptr})};
std::array<Menu_Page, 2> BWLink{Greyed_Page(
    4, enBandwidthBig,
    {En(enRBW), En(enVBW), En(enVBWRBW), En(enAverage), En(enAverageType), En(enEMIFilter), En(enEMIRBW)})};
std::array<Menu_Page, 100> MeasLink{Greyed_Page(
    5, enMeasureBig,
    {En(enACPR), En(enOccupiedBW), En(enEmissionMask), En(enNdBBW), En(enTOI), En(enAllOff), En(enMoreOne)})};
std::array<Menu_Page, 8> TraLink{Greyed_Page(
    6, enTraceBig,
    {En(enTraceSelect), En(enClearWrite), En(enMaxHold), En(enMinHold), En(enTraceView), En(enTraceBlank), En(enMoreOne)})};
std::array<Menu_Page, 1> SweepLink{Greyed_Page(
    8, enSweepBig,
    {En(enSweepSingle), En(enSweepTime), En(enGatedSweep), En(enSweepContinuous), En(enSweepHold), En(enSweepRule),
     En(enGateSetup)})};
std::array<Menu_Page, 37> EMCLink{Greyed_Page(
    9, enEMCBig,
    {En(enEMCMode), En(enEMCTest), En(enEMCLimits), En(enEMCCorrection), En(enEMCPeaks), En(enFrequencyAxis),
     En(enMoreOne)})};
std::array<Menu_Page, 8> LimitlineLink{Greyed_Page(
    10, enLimitLineBig,
    {En(enPassFail), En(enHighLine), En(enLowLine), En(enTestOn), En(enTestRange), En(enEditLine), En(enMakeLine)})};
std::array<Menu_Page, 3> TriggerLink{Greyed_Page(
    11, enTriggerBig,
    {En(enTriggerFreeRun), En(enTriggerVideo), En(enTriggerExternal), En(enVideoSetup), En(enExtSlope),
     En(enTriggerDelay), En(enTriggerMode)})};
std::array<Menu_Page, 23> FileLink{Greyed_Page(
    13, enFileBig,
    {En(enFileDevice), En(enFileType), En(enFileSort), En(enFileCopy), En(enFileDelete), En(enOpenFolder), En(enMoreOne)})};
std::array<Menu_Page, 31> SaveLink{Greyed_Page(
    14, enSaveBig,
    {En(enFileType), En(enSaveSource), En(enFileDevice), En(enFileName), En(enSaveNow), nullptr, En(enQuickSetup)})};
std::array<Menu_Page, 11> RecallLink{Greyed_Page(
    15, enRecallBig,
    {En(enFileType), En(enFileDevice), En(enRecallInto), En(enRecallNow), En(enOpenFolder), En(enFileSort), nullptr})};
std::array<Menu_Page, 8> MarkerLink{Greyed_Page(
    16, enMarkerBig,
    {En(enMarkerSelect), En(enShowMarker), En(enMarkerNormal), En(enMarkerDelta), En(enMarkerPair), En(enMarkerFunction),
     En(enMoreOne)})};
std::array<Menu_Page, 1> MarkertoLink{Greyed_Page(
    17, enMarkerToBig,
    {En(enMarkerToCenter), En(enMarkerToStep), En(enMarkerToStart), En(enMarkerToStop), En(enMarkerToRef),
     En(enDeltaToSpan), En(enDeltaToCenter)})};
std::array<Menu_Page, 3> PeakSearchLink{Greyed_Page(
    18, enPeakSearchBig,
    {En(enPeakSearch), En(enNextPeak), En(enPeakRight), En(enPeakLeft), En(enPeakMinimum), En(enPeakToCenter),
     En(enMoreOne)})};
std::array<Menu_Page, 5> SeqLink{Greyed_Page(
    19, enSequenceBig,
    {En(enSequenceSelect), En(enSequenceRun), En(enSequenceRepeat), En(enSequenceEdit), En(enSequenceOnFail),
     En(enSequenceDelete), nullptr})};
std::array<Menu_Page, 10> ModeLink{Greyed_Page(
    20, enModeBig,
    {En(enModeSpectrum), En(enModeTrackingGen), En(enModePowerMeter), En(enModeEmissionMask), En(enModeAMFM),
     En(enModeASKFSK), En(enModeIQRecord)})};

namespace {

constexpr int system_error_list = 14;

void fSysBase(int key) {
    constexpr int error_list_key = 1;
    if (key != error_list_key) return;
    Open_Error_List();
    Show_Page(SysLink[system_error_list]);
}

void fSysErrorList(int key) {
    if (key != soft_keys - 1) return Press_Error_List(key);
    Leave_Information_Screen();
    Show_Page(SysLink[0]);
}

std::array<Menu_Page, 33> System_Pages() {
    std::array<Menu_Page, 33> pages;
    pages[0] = Greyed_Page(21, enSystemBig,
                           {En(enInformation), En(enErrorList), En(enInterfaces), En(enTimeDate), En(enPresetSetup),
                            En(enLanguage), En(enMoreOne)});
    pages[0].disabled[1] = 0;
    pages[0].layer = fSysBase;
    Menu_Page& list = pages[system_error_list];
    list.title = En(enErrorListBig);
    list.label = {En(enPrevious), En(enNext), En(enClearList), nullptr, nullptr, nullptr, En(enReturn)};
    list.family = 21;
    list.parent = &SysLink[0];
    list.layer = fSysErrorList;
    return pages;
}

}  // namespace

std::array<Menu_Page, 33> SysLink = System_Pages();

void Amp_HwKey() { menus::Open_First_Page(AmpLink[0]); }
void Autoset_HwKey() { menus::Open_First_Page(AutosetLink[0]); }
void BW_HwKey() { menus::Open_First_Page(BWLink[0]); }
void Meas_HwKey() { menus::Open_First_Page(MeasLink[0]); }
void Trace_HwKey() { menus::Open_First_Page(TraLink[0]); }
void Sweep_HwKey() { menus::Open_First_Page(SweepLink[0]); }
void EMC_HwKey() { menus::Open_First_Page(EMCLink[0]); }
void Limitline_HwKey() { menus::Open_First_Page(LimitlineLink[0]); }
void Trigger_HwKey() { menus::Open_First_Page(TriggerLink[0]); }
void SweepMode_HwKey() { menus::Open_First_Page(SweepLink[0]); }
void File_HwKey() { menus::Open_First_Page(FileLink[0]); }
void Save_HwKey() { menus::Open_First_Page(SaveLink[0]); }
void Recall_HwKey() { menus::Open_First_Page(RecallLink[0]); }
void Marker_HwKey() { menus::Open_First_Page(MarkerLink[0]); }
void Markerto_HwKey() { menus::Open_First_Page(MarkertoLink[0]); }
void PeakSearch_HwKey() { menus::Open_First_Page(PeakSearchLink[0]); }
void Sequence_HwKey() { menus::Open_First_Page(SeqLink[0]); }
void Mode_HwKey() { menus::Open_First_Page(ModeLink[0]); }
void Sys_HwKey() { menus::Open_First_Page(SysLink[0]); }

/// Nothing can be saved yet; the page stays as it is.
void QuickSave_HwKey() {}

void Amp_SwKey(int key, char) { Press_Soft_Key(key, "Amp_SwKey error"); }
void Autoset_SwKey(int key, char) { Press_Soft_Key(key, "Autoset_SwKey error"); }
void BW_SwKey(int key, char) { Press_Soft_Key(key, "BW_SwKey error"); }
void Meas_SwKey(int key, char) { Press_Soft_Key(key, "Meas_SwKey error"); }
void Trace_SwKey(int key, char) { Press_Soft_Key(key, "Trace_SwKey error"); }
void Sweep_SwKey(int key, char) { Press_Soft_Key(key, "Sweep_SwKey error"); }
void EMC_SwKey(int key, char) { Press_Soft_Key(key, "EMC_SwKey error"); }
void Limitline_SwKey(int key, char) { Press_Soft_Key(key, "Limitline_SwKey error"); }
void Trigger_SwKey(int key, char) { Press_Soft_Key(key, "Trigger_SwKey error"); }
void File_SwKey(int key, char) { Press_Soft_Key(key, "File_SwKey error"); }
void Save_SwKey(int key, char) { Press_Soft_Key(key, "Save_SwKey error"); }
void Recall_SwKey(int key, char) { Press_Soft_Key(key, "Recall_SwKey error"); }
void Marker_SwKey(int key, char) { Press_Soft_Key(key, "Marker_SwKey error"); }
void Markerto_SwKey(int key, char) { Press_Soft_Key(key, "Markerto_SwKey error"); }
void PeakSearch_SwKey(int key, char) { Press_Soft_Key(key, "PeakSearch_SwKey error"); }
void Sequence_SwKey(int key, char) { Press_Soft_Key(key, "Sequence_SwKey error"); }
void Mode_SwKey(int key, char) { Press_Soft_Key(key, "Mode_SwKey error"); }
void Sys_SwKey(int key, char) { Press_Soft_Key(key, "Sys_SwKey error"); }
