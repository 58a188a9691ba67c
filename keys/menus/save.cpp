#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enSaveBig,
     {Opens(enFileType, SaveLink[1]), Opens(enSaveSource, SaveLink[3]), Opens(enFileDevice, SaveLink[8]),
      Greyed(enFileName), Greyed(enSaveNow), none, Opens(enQuickSetup, SaveLink[10])}},
    {enTypeBig,
     {Greyed(enState), Greyed(enTrace), Greyed(enScreen), Greyed(enLimitLineKey), Greyed(enCorrectionKey),
      Opens(enMoreOne, SaveLink[2]), Return(SaveLink[0])},
     &SaveLink[0]},
    {enTypeBig,
     {Greyed(enSequence), Greyed(enPowerLog), Greyed(enIQData), Greyed(enASKBits), Greyed(enFSKBits),
      Opens(enMoreTwo, SaveLink[1]), Return(SaveLink[0])},
     &SaveLink[0]},
    {enTraceSourceBig,
     {Greyed(enTraceA), Greyed(enTraceB), Greyed(enTraceC), Greyed(enTraceD), Greyed(enAllTraces), none,
      Return(SaveLink[0])},
     &SaveLink[0]},
    {enLineSourceBig,
     {Greyed(enLine1), Greyed(enLine2), Greyed(enLine3), Greyed(enLine4), Greyed(enLine5), none, Return(SaveLink[0])},
     &SaveLink[0]},
    {enSetSourceBig,
     {Greyed(enSet1), Greyed(enSet2), Greyed(enSet3), Greyed(enSet4), Greyed(enSet5), none, Return(SaveLink[0])},
     &SaveLink[0]},
    {enSeqSourceBig,
     {Greyed(enSequence1), Greyed(enSequence2), Greyed(enSequence3), Greyed(enSequence4), Greyed(enSequence5), none,
      Return(SaveLink[0])},
     &SaveLink[0]},
    {enScreenFormatBig,
     {Greyed(enFormat), Greyed(enColoursValue), Greyed(enMenuIn), none, none, none, Return(SaveLink[0])},
     &SaveLink[0]},
    {enDeviceBig,
     {Greyed(enInternalMemory), Greyed(enUSBStick), Greyed(enSDCard), none, none, none, Return(SaveLink[0])},
     &SaveLink[0]},
    {enNameBig,
     {Greyed(enLetters), Greyed(enLeft), Greyed(enRight), Greyed(enDelete), Greyed(enAutoName), Greyed(enOkay), Back}},
    {enQuickSetupBig,
     {Opens(enSaveWhat, SaveLink[11]), Opens(enFileDevice, SaveLink[12]), Opens(enFormatPage, SaveLink[7]),
      Greyed(enNameStart), Greyed(enCountFrom), none, Return(SaveLink[0])}},
    {enSaveWhatBig,
     {Greyed(enScreen), Greyed(enState), Greyed(enTrace), Greyed(enAllThree), none, none, Return(SaveLink[10])},
     &SaveLink[10]},
    {enQuickDeviceBig,
     {Greyed(enInternalMemory), Greyed(enUSBStick), Greyed(enSDCard), none, none, none, Return(SaveLink[10])},
     &SaveLink[10]},
    {enReplaceBig,
     {Greyed(enYes), Greyed(enAutoName), none, none, none, none, Return(SaveLink[0])},
     &SaveLink[0]},
});

}  // namespace

std::array<Menu_Page, 31> SaveLink = Pages<31>(14, rows);

void menus::Reset_Save() { SaveLink = Pages<31>(14, rows); }

void Save_HwKey() { menus::Open_First_Page(SaveLink[0]); }

void Save_SwKey(int key, char) { Press_Soft_Key(key, "Save_SwKey error"); }
