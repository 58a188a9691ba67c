#include "measure/autoset.h"

#include "keys/frequency_entry.h"
#include "keys/handlers.h"
#include "keys/level_entry.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "records/amp.h"
#include "records/autoset.h"
#include "records/function.h"

namespace {

using namespace keys;
using namespace menus;

enum Autoset_Key { run_key, floor_key, span_key };
constexpr int attention_spectrum_only = 66;

template <int (*setter)(int, double), void (*show)()>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    show();
    return 0;
}

/// Starts the search, or ends the one that runs.
void Run() {
    No_Entry();
    Blank_Entry();
    if (Run_AuotSet_flag) {
        Stop_Autoset();
    } else if (!Start_Autoset()) {
        ThirdAttentionwords(attention_spectrum_only);
    }
}

void fAutosetBase(int key) {
    const bool pressed_again = Current_Page().highlight == key;
    switch (key) {
        case floor_key:
            if (pressed_again) Set_Autoset_Floor_Mode(!Autoset_Data.floor_manual);
            Begin_Entry(Amp.unit == unit_volt ? '8' : Amp.unit == unit_watt ? '9' : '7', true);
            return Show_Autoset_Floor();
        case span_key:
            if (pressed_again) Set_Autoset_Span_Mode(!Autoset_Data.span_manual);
            Begin_Entry('1', false);
            return Show_Autoset_Span();
        default: return Run();
    }
}

void Autoset_Face(int key, Key_Face& face) {
    if (key == floor_key) {
        Format_Level(Autoset_Data.floor, face.value);
        face.choice = {selectAuto, selectMan};
        face.chosen = Autoset_Data.floor_manual;
    } else if (key == span_key) {
        Format_Frequency(Autoset_Data.span, true, face.value);
        face.choice = {selectAuto, selectMan};
        face.chosen = Autoset_Data.span_manual;
    }
}

/// While the search runs there is its end alone.
bool Autoset_Greyed(int key) { return key != run_key && Run_AuotSet_flag != 0; }

constexpr auto rows = std::to_array<Page_Row>({
    {enAutosetBig,
     {Key(enAutoset), Key(enLevelFloor, Set_And_Show<Set_Autoset_Floor, Show_Autoset_Floor>),
      Key(enSetSpan, Set_And_Show<Set_Autoset_Span, Show_Autoset_Span>)},
     nullptr, fAutosetBase, Autoset_Face, nullptr, Autoset_Greyed},
});

}  // namespace

std::array<Menu_Page, 1> AutosetLink = Pages<1>(3, rows);

void menus::Reset_Autoset() { AutosetLink = Pages<1>(3, rows); }

void Autoset_State_Changed() {
    AutosetLink[0].label[run_key] = Run_AuotSet_flag ? En(enStopAction) : En(enAutoset);
    if (keylink.load() == &AutosetLink[0]) Redraw_Keys();
}

void Autoset_HwKey() { menus::Open_First_Page(AutosetLink[0]); }

void Autoset_SwKey(int key, char) { Press_Soft_Key(key, "Autoset_SwKey error"); }
