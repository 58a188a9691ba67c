#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/menus/trigger_keys.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/sweep.h"
#include "trace/single_sweep.h"

namespace {

using namespace keys;
using namespace menus;

enum Sweep_Key { single_key, time_key, gate_key, continuous_key, hold_key, rule_key, gate_setup_key };
static_assert(gate_key == sweep_gate_key);

int Toggle_Hold(int, double) {
    Set_Sweep_Hold(Sweep_Data.hold == 0);
    Redraw_Keys();
    return 0;
}

void fSweepBase(int key) {
    No_Entry();
    Blank_Entry();
    switch (key) {
        case single_key: Start_Single_Sweep(); break;
        case gate_key: Toggle_Gate(0, 0); break;
        case continuous_key: Set_Continuous_Sweep(true); break;
        case hold_key: Toggle_Hold(0, 0); break;
        default:
            Mark_Trigger_Keys();
            Open_Page_Of(key);
            return;
    }
    Redraw_Keys();
}

void Sweep_Face(int key, Key_Face& face) {
    if (key == single_key) face.in_force = Sweep_Data.single != 0;
    if (key == continuous_key) face.in_force = Sweep_Data.single == 0;
    if (key == gate_key) Face_Of_Gate(face);
    if (key != hold_key) return;
    face.choice = {selectOn, selectOff};
    face.chosen = Sweep_Data.hold ? 0 : 1;
}

constexpr auto rows = std::to_array<Page_Row>({
    {enSweepBig,
     {Key(enSweepSingle), Greyed(enSweepTime), Key(enGatedSweep, Toggle_Gate), Key(enSweepContinuous),
      Key(enSweepHold, Toggle_Hold), Greyed(enSweepRule), Opens(enGateSetup, TriggerLink[2])},
     nullptr, fSweepBase, Sweep_Face},
});

void Open_Sweep_Page() {
    Mark_Trigger_Keys();
    Open_First_Page(SweepLink[0]);
}

}  // namespace

std::array<Menu_Page, 1> SweepLink = Pages<1>(8, rows);

void menus::Reset_Sweep() { SweepLink = Pages<1>(8, rows); }

void Sweep_HwKey() { Open_Sweep_Page(); }
void SweepMode_HwKey() { Open_Sweep_Page(); }

void Sweep_SwKey(int key, char) { Press_Soft_Key(key, "Sweep_SwKey error"); }
