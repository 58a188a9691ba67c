#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enRecallBig,
     {Opens(enFileType, RecallLink[1]), Opens(enFileDevice, RecallLink[2]), Opens(enRecallInto, RecallLink[3]),
      Greyed(enRecallNow), Greyed(enOpenFolder), Opens(enFileSort, RecallLink[7])}},
    {enTypeBig,
     {Greyed(enState), Greyed(enTrace), Greyed(enLimitLineKey), Greyed(enCorrectionKey), Greyed(enSequence),
      Greyed(enPowerLog), Return(RecallLink[0])},
     &RecallLink[0]},
    {enDeviceBig,
     {Greyed(enInternalMemory), Greyed(enUSBStick), Greyed(enSDCard), none, none, none, Return(RecallLink[0])},
     &RecallLink[0]},
    {enIntoTraceBig,
     {Greyed(enTraceA), Greyed(enTraceB), Greyed(enTraceC), Greyed(enTraceD), none, none, Return(RecallLink[0])},
     &RecallLink[0]},
    {enIntoLineBig,
     {Greyed(enLine1), Greyed(enLine2), Greyed(enLine3), Greyed(enLine4), Greyed(enLine5), none,
      Return(RecallLink[0])},
     &RecallLink[0]},
    {enIntoSetBig,
     {Greyed(enSet1), Greyed(enSet2), Greyed(enSet3), Greyed(enSet4), Greyed(enSet5), none, Return(RecallLink[0])},
     &RecallLink[0]},
    {enIntoSequenceBig,
     {Greyed(enSequence1), Greyed(enSequence2), Greyed(enSequence3), Greyed(enSequence4), Greyed(enSequence5), none,
      Return(RecallLink[0])},
     &RecallLink[0]},
    {enSortBig,
     {Greyed(enFileName), Greyed(enDate), Greyed(enOrder), none, none, none, Return(RecallLink[0])},
     &RecallLink[0]},
});

}  // namespace

std::array<Menu_Page, 11> RecallLink = Pages<11>(15, rows);

void menus::Reset_Recall() { RecallLink = Pages<11>(15, rows); }

void Recall_HwKey() { menus::Open_First_Page(RecallLink[0]); }

void Recall_SwKey(int key, char) { Press_Soft_Key(key, "Recall_SwKey error"); }
