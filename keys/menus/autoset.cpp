#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enAutosetBig,
     {Greyed(enAutoset), Greyed(enLevelFloor), Greyed(enSetSpan)}},
});

}  // namespace

std::array<Menu_Page, 1> AutosetLink = Pages<1>(3, rows);

void menus::Reset_Autoset() { AutosetLink = Pages<1>(3, rows); }

void Autoset_HwKey() { menus::Open_First_Page(AutosetLink[0]); }

void Autoset_SwKey(int key, char) { Press_Soft_Key(key, "Autoset_SwKey error"); }
