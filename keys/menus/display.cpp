#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "records/display.h"
#include "sweep/transfer.h"

namespace {

enum Display_Key { screen_off_key = 4 };

void fDisplayBase(int key) {
    if (key != screen_off_key) return;
    Display_Data.active = 0;
    LOOP_SetTrans_Peripheral();
}

}  // namespace

/// Only the dark screen is there so far; the other keys are greyed.
std::array<Menu_Page, 7> DisplayLink{{{
    .title = En(keys::enDisplayBig),
    .label = {En(keys::enDisplayView), En(keys::enDisplaySplit), En(keys::enDisplayLine), En(keys::enBrightness),
              En(keys::enScreenOff), En(keys::enLockKeys), nullptr},
    .disabled = {1, 1, 1, 1, 0, 1, 0},
    .parent = nullptr,
    .family = 7,
    .highlight = no_highlight,
    .layer = fDisplayBase,
    .value_handler = {},
    .face = nullptr,
}}};

void Display_HwKey() { menus::Open_First_Page(DisplayLink[0]); }

void Display_SwKey(int key, char) { Press_Soft_Key(key, "Display_SwKey error"); }
