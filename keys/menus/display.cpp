#include <array>
#include <cstdio>
#include <string>

#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/display.h"
#include "records/freqs.h"
#include "sweep/transfer.h"
#include "system/settings.h"
#include "trace/split.h"

namespace {

using namespace keys;
using namespace menus;

enum Display_Key : std::size_t { brightness_key = 3, screen_off_key, lock_key };

void Show_Brightness() { Show_Entry("Brightness", std::to_string(Display_Data.brightness) + " %"); }

int Step_Brightness(int mode, double value) {
    Set_Brightness(mode, value);
    Show_Brightness();
    Redraw_Keys();
    return 0;
}

std::array<std::uint32_t, soft_keys> free_marks{};
bool marked_locked = false;

/// While the keys are locked, the key that frees them is the only one that works.
void Mark_Keys() {
    const bool locked = Display_Data.key_lock != 0;
    if (locked == marked_locked) return;
    marked_locked = locked;
    auto& marks = DisplayLink[0].disabled;
    if (locked) {
        free_marks = marks;
        marks.fill(1);
        marks[lock_key] = 0;
    } else {
        marks = free_marks;
    }
}

int Toggle_Lock(int, double) {
    Set_Key_Lock(!Display_Data.key_lock);
    Mark_Keys();
    Redraw_Keys();
    return 0;
}

void fDisplayBase(int key) {
    No_Entry();
    switch (key) {
        case brightness_key:
            Begin_Entry('c', false);
            return Show_Brightness();
        case screen_off_key:
            Display_Data.active = 0;
            return LOOP_SetTrans_Peripheral();
        case lock_key:
            Blank_Entry();
            Toggle_Lock(0, 0);
            return;
        default: Open_Page_Of(key);
    }
}

enum Split_Key { both_swept_key, active_swept_key, single_view_key = 4, active_half_key };

void fSplitBase(int key) {
    No_Entry();
    Blank_Entry();
    switch (key) {
        case both_swept_key: Set_Split(split_alternate); break;
        case active_swept_key: Set_Split(split_active); break;
        case single_view_key: Set_Split(split_none); break;
        case active_half_key: Set_Active_Half(1 - ScreenActive); break;
        default: Open_Page_Of(key);
    }
}

void Split_Face(int key, Key_Face& face) {
    if (key != active_half_key || Display_Data.split == split_none) return;
    face.choice = {selectUpper, selectLower};
    face.chosen = ScreenActive;
}

int Chosen_Split() {
    constexpr std::array keys{single_view_key, both_swept_key, active_swept_key};
    return keys[static_cast<std::size_t>(Display_Data.split)];
}

bool Greyed_Split(int key) { return key == active_half_key && Display_Data.split == split_none; }

void Display_Face(int key, Key_Face& face) {
    if (key == brightness_key) std::snprintf(face.value.data(), face.value.size(), "%d %%", Display_Data.brightness);
    if (key != lock_key) return;
    face.choice = {selectOn, selectOff};
    face.chosen = Display_Data.key_lock ? 0 : 1;
}

constexpr auto rows = std::to_array<Page_Row>({
    {enDisplayBig,
     {Opens(enDisplayView, DisplayLink[1]), Opens(enDisplaySplit, DisplayLink[2]), Greyed(enDisplayLine),
      Key(enBrightness, Step_Brightness), Key(enScreenOff), Key(enLockKeys, Toggle_Lock)},
     nullptr, fDisplayBase, Display_Face},
    {enViewBig,
     {Greyed(enModeSpectrum), Greyed(enSpectrogram), Greyed(enTopographic), Opens(enSpectroSetup, DisplayLink[3]),
      Opens(enTopoSetup, DisplayLink[4]), none, Return(DisplayLink[0])},
     &DisplayLink[0]},
    {enSplitBig,
     {Key(enBothSwept), Key(enActiveSwept), Greyed(enWithSpectro), Greyed(enWithTopo), Key(enSingleView),
      Key(enActiveHalf), Return(DisplayLink[0])},
     &DisplayLink[0], fSplitBase, Split_Face, Chosen_Split, Greyed_Split},
    {enSpectrogramBig,
     {Greyed(enMarkerSelect), Greyed(enMarkerFreq), Greyed(enMarkerTime), Greyed(enDeltaFreq), Greyed(enDeltaTime),
      Opens(enColours, DisplayLink[5]), Return(DisplayLink[1])}},
    {enTopographicBig,
     {Greyed(enMarkerSelect), Greyed(enMarkerFreq), Greyed(enMarkerLevel), Greyed(enDeltaFreq), Greyed(enDeltaLevel),
      Opens(enCountSetup, DisplayLink[6]), Return(DisplayLink[1])}},
    {enColoursBig,
     {Greyed(enTopLevel), Greyed(enColourRange), Greyed(enPause), Greyed(enClear), none, none, Return(DisplayLink[3])}},
    {enCountSetupBig,
     {Greyed(enDecay), Greyed(enThreshold), Greyed(enColourScale), Greyed(enClear), none, none,
      Return(DisplayLink[4])}},
});

}  // namespace

std::array<Menu_Page, 7> DisplayLink = Pages<7>(7, rows);

void menus::Reset_Display() {
    DisplayLink = Pages<7>(7, rows);
    marked_locked = false;
}

void Display_HwKey() {
    Mark_Keys();
    menus::Open_First_Page(DisplayLink[0]);
}

void Display_SwKey(int key, char) { Press_Soft_Key(key, "Display_SwKey error"); }
