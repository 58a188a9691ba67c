#include "keys/menus/entry.h"

#include <array>

#include "keys/number_format.h"
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

void Show_Frequency_Entry(std::string_view name, double hertz) {
    std::array<char, 40> text{};
    Format_Frequency(hertz, true, text);
    Show_Entry(name, text.data());
}

void Show_Time_Entry(std::string_view name, double seconds) {
    std::array<char, 40> text{};
    Format_Time(seconds, text);
    Show_Entry(name, text.data());
}

void Show_Level_Entry(std::string_view name, double dbm) {
    std::array<char, 40> text{};
    Format_Level(dbm, text);
    Show_Entry(name, text.data());
}

}  // namespace menus
