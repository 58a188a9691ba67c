#include "keys/bandwidth_entry.h"
#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/freqs.h"
#include "sweep/sweep_time.h"

namespace {

using namespace keys;
using namespace menus;

enum Sweep_Key { single_key, time_key, gate_key, continuous_key, hold_key, rule_key, gate_setup_key };

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
bool Manual_Time() { return Sweep_Data.time_mode[Screen()] != 0; }
bool Accurate() { return Sweep_Data.rule[Screen()] != 0; }

int Set_And_Show_Time(int mode, double value) {
    Set_Sweep_Time(mode, value);
    Show_Bandwidth_Entry(Bandwidth_Entry::sweep_time);
    return 0;
}

int Toggle_Rule(int, double) { return Set_Sweep_Rule(!Accurate()); }

void fSweepBase(int key) {
    const bool pressed_again = Current_Page().highlight == key;
    if (key == time_key) {
        if (pressed_again) Set_Sweep_Time_Mode(!Manual_Time());
        Begin_Entry('6', false);
        return Show_Bandwidth_Entry(Bandwidth_Entry::sweep_time);
    }
    No_Entry();
    Blank_Entry();
    if (key == rule_key) Toggle_Rule(0, 0);
    else Open_Page_Of(key);
}

void Sweep_Face(int key, Key_Face& face) {
    if (key == time_key) {
        Format_Bandwidth_Entry(Bandwidth_Entry::sweep_time, face.value);
        face.choice = {selectAuto, selectMan};
        face.chosen = Manual_Time() ? 1 : 0;
    } else if (key == rule_key) {
        face.choice = {selectFast, selectAccurate};
        face.chosen = Accurate() ? 1 : 0;
    }
}

constexpr auto rows = std::to_array<Page_Row>({
    {enSweepBig,
     {Greyed(enSweepSingle), Key(enSweepTime, Set_And_Show_Time), Greyed(enGatedSweep), Greyed(enSweepContinuous),
      Greyed(enSweepHold), Key(enSweepRule, Toggle_Rule), Opens(enGateSetup, TriggerLink[2])},
     nullptr, fSweepBase, Sweep_Face},
});

}  // namespace

std::array<Menu_Page, 1> SweepLink = Pages<1>(8, rows);

void menus::Reset_Sweep() { SweepLink = Pages<1>(8, rows); }

void Sweep_HwKey() { menus::Open_First_Page(SweepLink[0]); }
void SweepMode_HwKey() { menus::Open_First_Page(SweepLink[0]); }

void Sweep_SwKey(int key, char) { Press_Soft_Key(key, "Sweep_SwKey error"); }
