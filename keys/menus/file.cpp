#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enFileBig,
     {Opens(enFileDevice, FileLink[1]), Opens(enFileType, FileLink[2]), Opens(enFileSort, FileLink[4]),
      Opens(enFileCopy, FileLink[5]), Opens(enFileDelete, FileLink[7]), Greyed(enOpenFolder),
      Opens(enMoreOne, FileLink[8])}},
    {enDeviceBig,
     {Greyed(enInternalMemory), Greyed(enUSBStick), Greyed(enSDCard), none, none, none, Return(FileLink[0])},
     &FileLink[0]},
    {enTypeBig,
     {Greyed(enAll), Greyed(enState), Greyed(enTrace), Greyed(enScreen), Greyed(enLimitLineKey),
      Opens(enMoreOne, FileLink[3]), Return(FileLink[0])},
     &FileLink[0]},
    {enTypeBig,
     {Greyed(enCorrectionKey), Greyed(enSequence), Greyed(enPowerLog), Greyed(enIQBits), none,
      Opens(enMoreTwo, FileLink[2]), Return(FileLink[0])},
     &FileLink[0]},
    {enSortBig,
     {Greyed(enFileName), Greyed(enDate), Greyed(enSize), Greyed(enType), Greyed(enOrder), none, Return(FileLink[0])},
     &FileLink[0]},
    {enCopyBig,
     {Greyed(enCopyNow), Greyed(enMoveNow), Opens(enToDevice, FileLink[6]), Greyed(enToFolder), Greyed(enCopyAll),
      none, Return(FileLink[0])},
     &FileLink[0]},
    {enToDeviceBig,
     {Greyed(enInternalMemory), Greyed(enUSBStick), Greyed(enSDCard), none, none, none, Return(FileLink[5])},
     &FileLink[5]},
    {enDeleteBig,
     {Greyed(enYes), none, none, none, none, none, Return(FileLink[0])},
     &FileLink[0]},
    {enFileBig,
     {Greyed(enRename), Opens(enShowPicture, FileLink[10]), Greyed(enUpAFolder), Greyed(enNewFolder),
      Opens(enDeleteAll, FileLink[11]), Greyed(enFreeSpace), Opens(enMoreTwo, FileLink[0])}},
    {enRenameBig,
     {Greyed(enLetters), Greyed(enLeft), Greyed(enRight), Greyed(enDelete), Greyed(enClear), Greyed(enOkay),
      Return(FileLink[8])},
     &FileLink[8]},
    {enPictureBig,
     {Greyed(enNext), Greyed(enPrevious), Opens(enFileDelete, FileLink[7]), none, none, none, Return(FileLink[8])},
     &FileLink[8]},
    {enDeleteAllBig,
     {Greyed(enYes), none, none, none, none, none, Return(FileLink[8])},
     &FileLink[8]},
    {enReplaceBig,
     {Greyed(enYes), Greyed(enRename), none, none, none, none, Return(FileLink[5])},
     &FileLink[5]},
});

}  // namespace

std::array<Menu_Page, 23> FileLink = Pages<23>(13, rows);

void menus::Reset_File() { FileLink = Pages<23>(13, rows); }

void File_HwKey() { menus::Open_First_Page(FileLink[0]); }

void File_SwKey(int key, char) { Press_Soft_Key(key, "File_SwKey error"); }
