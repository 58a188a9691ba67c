#include "keys/frequency_entry.h"
#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "records/freqs.h"
#include "records/keystate.h"
#include "sweep/frequency.h"

namespace {

/// In the order of the entries.
enum Freq_Key { center_key, start_key, stop_key, step_key, offset_key };

void Show_Present(int key) { Show_Frequency_Entry(static_cast<Frequency_Entry>(key)); }

template <int (*setter)(int, double), int key>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    Show_Present(key);
    return 0;
}

/// A step that is given on the panel stays.
int Set_Manual_Step(int mode, double value) {
    Set_Step_Mode(true);
    return Set_And_Show<Set_Step_Freq, step_key>(mode, value);
}

void fFreqBase(int key) {
    const bool pressed_again = Current_Page().highlight == key;
    menus::Begin_Entry('1', key == offset_key);
    if (key == step_key && pressed_again) Set_Step_Mode(stepautoman[static_cast<std::size_t>(ScreenActive)] == 0);
    Show_Present(key);
}

void Freq_Face(int key, Key_Face& face) {
    Format_Frequency(Shown_Frequency(static_cast<Frequency_Entry>(key)), true, face.value);
    if (key != step_key) return;
    face.choice = {keys::selectAuto, keys::selectMan};
    face.chosen = stepautoman[static_cast<std::size_t>(ScreenActive)] ? 1 : 0;
}

/// The step has no meaning without a span, and some modes know no start and stop.
bool Freq_Greyed(int key) {
    switch (key) {
        case start_key: case stop_key: return !Edges_Can_Be_Set();
        case step_key: return Freqs.span[static_cast<std::size_t>(ScreenActive)] == 0;
        default: return false;
    }
}

constexpr std::array<Menu_Page, 1> rows{{{
    .title = En(keys::enFrequencyBig),
    .label = {En(keys::enCenterFreq), En(keys::enStartFreq), En(keys::enStopFreq), En(keys::enCFStep),
              En(keys::enFreqOffset), nullptr, nullptr},
    .disabled = {},
    .parent = nullptr,
    .family = 0,
    .highlight = no_highlight,
    .layer = fFreqBase,
    .value_handler = {Set_And_Show<Set_Cent, center_key>, Set_And_Show<Set_Start_Freq, start_key>,
                      Set_And_Show<Set_Stop_Freq, stop_key>, Set_Manual_Step,
                      Set_And_Show<Set_Offset_Freq, offset_key>, nullptr, nullptr},
    .face = Freq_Face,
    .greyed = Freq_Greyed,
}}};

}  // namespace

std::array<Menu_Page, 1> FreqLink = rows;

void menus::Reset_Freq() { FreqLink = rows; }

void Freq_HwKey() { menus::Open_First_Page(FreqLink[0]); }

void Freq_SwKey(int key, char) { Press_Soft_Key(key, "Freq_SwKey error"); }
