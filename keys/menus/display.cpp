#include <array>
#include <cstdio>
#include <string>

#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/display.h"
#include "records/freqs.h"
#include "system/settings.h"
#include "trace/display_line.h"
#include "trace/split.h"

namespace {

using namespace keys;
using namespace menus;

enum Display_Key { line_key = 2, brightness_key, screen_off_key, lock_key };

void Show_Brightness() { Show_Entry("Brightness", std::to_string(Display_Data.brightness) + " %"); }

int Step_Brightness(int mode, double value) {
    Set_Brightness(mode, value);
    Show_Brightness();
    Redraw_Keys();
    return 0;
}

int Step_Line(int mode, double value) {
    Set_Display_Line(mode, value);
    Show_Display_Line();
    return 0;
}

int Toggle_Lock(int, double) {
    Set_Key_Lock(!Display_Data.key_lock);
    return 0;
}

/// The first press selects the level, further ones switch the line.
void Press_Line(bool pressed_again) {
    if (pressed_again) Set_Display_Line_State(!Display_Data.line_shown);
    Begin_Entry('7', true);
    Show_Display_Line();
}

void fDisplayBase(int key) {
    const bool pressed_again = Current_Page().highlight == key;
    No_Entry();
    switch (key) {
        case line_key: return Press_Line(pressed_again);
        case brightness_key:
            Begin_Entry('c', false);
            return Show_Brightness();
        case screen_off_key:
            Set_Screen_On(false);
            return;
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
    if (key == line_key) Format_Level(Display_Data.line_level, face.value);
    if (key == brightness_key) std::snprintf(face.value.data(), face.value.size(), "%d %%", Display_Data.brightness);
    if (key != line_key && key != lock_key) return;
    face.choice = {selectOn, selectOff};
    face.chosen = (key == line_key ? Display_Data.line_shown : Display_Data.key_lock) ? 0 : 1;
}

/// While the keys are locked, the key that frees them is the only one that works.
bool Greyed_Display(int key) { return Display_Data.key_lock && key != lock_key; }

constexpr auto rows = std::to_array<Page_Row>({
    {enDisplayBig,
     {Opens(enDisplayView, DisplayLink[1]), Opens(enDisplaySplit, DisplayLink[2]), Key(enDisplayLine, Step_Line),
      Key(enBrightness, Step_Brightness), Key(enScreenOff), Key(enLockKeys, Toggle_Lock)},
     nullptr, fDisplayBase, Display_Face, nullptr, Greyed_Display},
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

void menus::Reset_Display() { DisplayLink = Pages<7>(7, rows); }

void Display_HwKey() { menus::Open_First_Page(DisplayLink[0]); }

void Display_SwKey(int key, char) { Press_Soft_Key(key, "Display_SwKey error"); }
