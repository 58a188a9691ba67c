#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enSequenceBig,
     {Greyed(enSequenceSelect), Greyed(enSequenceRun), Greyed(enSequenceRepeat), Opens(enSequenceEdit, SeqLink[1]),
      Greyed(enSequenceOnFail), Opens(enSequenceDelete, SeqLink[4])}},
    {enEditBig,
     {Greyed(enRow), Opens(enStatePage, SeqLink[3]), Greyed(enUseRow), Greyed(enTriggerDelay), Greyed(enRepeats),
      Opens(enMoreOne, SeqLink[2]), Return(SeqLink[0])}},
    {enEditBig,
     {Greyed(enInsertRow), Greyed(enDeleteRow), Greyed(enCopyRow), Greyed(enFileName),
      Opens(enSaveList, SaveLink[0]), Opens(enMoreTwo, SeqLink[1]), Return(SeqLink[0])},
     &SeqLink[0]},
    {enStateBig,
     {Greyed(enInternalMemory), Greyed(enUSBStick), Greyed(enSDCard), Greyed(enCurrentState), Greyed(enTakeFile),
      none, Return(SeqLink[1])},
     &SeqLink[1]},
    {enDeleteBig,
     {Greyed(enYes), none, none, none, none, none, Return(SeqLink[0])},
     &SeqLink[0]},
});

}  // namespace

std::array<Menu_Page, 5> SeqLink = Pages<5>(19, rows);

void menus::Reset_Sequence() { SeqLink = Pages<5>(19, rows); }

void Sequence_HwKey() { menus::Open_First_Page(SeqLink[0]); }

void Sequence_SwKey(int key, char) { Press_Soft_Key(key, "Sequence_SwKey error"); }
