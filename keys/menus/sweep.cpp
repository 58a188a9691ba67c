#include "keys/bandwidth_entry.h"
#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/menus/trigger_keys.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/freqs.h"
#include "records/sweep.h"
#include "sweep/sweep_time.h"
#include "trace/single_sweep.h"

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

int Toggle_Hold(int, double) {
    Set_Sweep_Hold(Sweep_Data.hold == 0);
    Redraw_Keys();
    return 0;
}

int Toggle_Rule(int, double) { return Set_Sweep_Rule(!Accurate()); }

void Begin_Time(bool pressed_again) {
    if (pressed_again) Set_Sweep_Time_Mode(!Manual_Time());
    Begin_Entry('6', false);
    Show_Bandwidth_Entry(Bandwidth_Entry::sweep_time);
}

void fSweepBase(int key) {
    if (key == time_key) return Begin_Time(Current_Page().highlight == key);
    No_Entry();
    Blank_Entry();
    switch (key) {
        case single_key: Start_Single_Sweep(); break;
        case gate_key: Toggle_Gate(0, 0); break;
        case continuous_key: Set_Continuous_Sweep(true); break;
        case hold_key: Toggle_Hold(0, 0); break;
        case rule_key: Toggle_Rule(0, 0); break;
        default: Open_Page_Of(key); return;
    }
    Redraw_Keys();
}

void Sweep_Face(int key, Key_Face& face) {
    switch (key) {
        case single_key: face.in_force = Sweep_Data.single != 0; break;
        case continuous_key: face.in_force = Sweep_Data.single == 0; break;
        case gate_key: return Face_Of_Gate(face);
        case time_key:
            Format_Bandwidth_Entry(Bandwidth_Entry::sweep_time, face.value);
            face.choice = {selectAuto, selectMan};
            face.chosen = Manual_Time() ? 1 : 0;
            break;
        case hold_key:
            face.choice = {selectOn, selectOff};
            face.chosen = Sweep_Data.hold ? 0 : 1;
            break;
        case rule_key:
            face.choice = {selectFast, selectAccurate};
            face.chosen = Accurate() ? 1 : 0;
            break;
        default: break;
    }
}

bool Sweep_Greyed(int key) { return key == gate_key && Gate_Greyed(); }

constexpr auto rows = std::to_array<Page_Row>({
    {enSweepBig,
     {Key(enSweepSingle), Key(enSweepTime, Set_And_Show_Time), Key(enGatedSweep, Toggle_Gate), Key(enSweepContinuous),
      Key(enSweepHold, Toggle_Hold), Key(enSweepRule, Toggle_Rule), Opens(enGateSetup, TriggerLink[2])},
     nullptr, fSweepBase, Sweep_Face, nullptr, Sweep_Greyed},
});

}  // namespace

std::array<Menu_Page, 1> SweepLink = Pages<1>(8, rows);

void menus::Reset_Sweep() { SweepLink = Pages<1>(8, rows); }

void Sweep_HwKey() { menus::Open_First_Page(SweepLink[0]); }
void SweepMode_HwKey() { menus::Open_First_Page(SweepLink[0]); }

void Sweep_SwKey(int key, char) { Press_Soft_Key(key, "Sweep_SwKey error"); }
