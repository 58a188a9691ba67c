#include "keys/menus/entry.h"

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "records/keystate.h"

namespace menus {

void Open_First_Page(Menu_Page& page) {
    No_Entry();
    Show_Page(page);
}

void Begin_Entry(char unit_type, bool may_be_negative) {
    AllKeyVar.unit_type = unit_type;
    FLAG_BLOCK_MINUS_KEY = may_be_negative ? 0 : 1;
    clean_keybuffer();
}

void No_Entry() {
    AllKeyVar.unit_type = '4';
    FLAG_BLOCK_MINUS_KEY = 1;
    clean_keybuffer();
}

}  // namespace menus
