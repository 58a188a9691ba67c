#include "keys/handlers.h"
#include "keys/level_entry.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "sweep/amplitude.h"

namespace {

using namespace keys;
using namespace menus;

enum First_Key { reference_key, attenuation_key, scale_key, type_key, unit_key, preamplifier_key };
enum Second_Key { offset_key, impedance_key, correction_key, sets_key, auto_scale_key };
enum Labels_Key { labels_key, position_key };

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
bool Linear() { return Amp.scale_type[Screen()] != 0; }
bool Manual_Attenuation() { return Amp.attenuation_mode[Screen()] != 0; }

/// The value handler of a key with a value.
template <int (*setter)(int, double), Level_Entry entry>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    Show_Level_Entry(entry);
    return 0;
}

/// The value handlers of keys with choices: knob and arrows step them, too.
int Toggle_Scale_Type(int, double) { return Set_Linear_Scale(!Linear()); }
int Toggle_Preamplifier(int, double) { return Set_Preamplifier(!Amp.preamplifier_auto); }
int Toggle_Impedance(int, double) { return Set_Impedance(Amp.impedance[Screen()] == 0 ? 1 : 0); }
int Toggle_Labels(int, double) { return Set_Level_Labels(!Amp.labels); }

int Step_Position(int, double) {
    constexpr int positions = labels_right + 1;
    const int steps = Pending_Steps() % positions;
    return Set_Label_Position((Amp.label_position + steps + positions) % positions);
}

constexpr auto Step_Scale = Set_And_Show<display_scale, Level_Entry::scale>;

void Begin_Value(Level_Entry entry) {
    Begin_Entry(entry == Level_Entry::reference ? '7' : 'a', entry != Level_Entry::attenuation);
    Show_Level_Entry(entry);
}

/// A key with choices: no digits.
void Begin_Choice() {
    No_Entry();
    Blank_Entry();
}

void fAmpBase(int key) {
    const bool pressed_again = Current_Page().highlight == key;
    switch (key) {
        case reference_key: return Begin_Value(Level_Entry::reference);
        case attenuation_key:
            if (pressed_again) Set_Attenuation_Mode(!Manual_Attenuation());
            return Begin_Value(Level_Entry::attenuation);
        default: break;
    }
    Begin_Choice();
    switch (key) {
        case scale_key:
            display_scale(2, Db_Per_Division((Amp.scale_code[Screen()] + 1) & 3));
            return Show_Level_Entry(Level_Entry::scale);
        case type_key: Toggle_Scale_Type(0, 0); break;
        case preamplifier_key: Toggle_Preamplifier(0, 0); break;
        default: Open_Page_Of(key);
    }
}

void fUnitBase(int key) {
    Begin_Choice();
    if (Open_Page_Of(key)) return;
    Set_Amplitude_Unit(key);
    Show_Level_Entry(Level_Entry::reference);
}

void fAmpBaseTwo(int key) {
    switch (key) {
        case offset_key: return Begin_Value(Level_Entry::offset);
        case correction_key: return Begin_Value(Level_Entry::correction);
        default: Begin_Choice();
    }
    switch (key) {
        case impedance_key: Toggle_Impedance(0, 0); break;
        case auto_scale_key:
            Amp_Auto_Scale();
            return Show_Level_Entry(Level_Entry::reference);
        default: Open_Page_Of(key);
    }
}

void fLabelsBase(int key) {
    Begin_Choice();
    switch (key) {
        case labels_key: Toggle_Labels(0, 0); break;
        case position_key: Set_Label_Position((Amp.label_position + 1) % (labels_right + 1)); break;
        default: Open_Page_Of(key);
    }
}

void Amp_Face(int key, Key_Face& face) {
    switch (key) {
        case reference_key: return Format_Level_Entry(Level_Entry::reference, face.value);
        case attenuation_key:
            Format_Level_Entry(Level_Entry::attenuation, face.value);
            face.choice = {selectAuto, selectMan};
            face.chosen = Manual_Attenuation() ? 1 : 0;
            break;
        case scale_key:
            face.choice = {selectTen, selectFive, selectOneToFive2, selectOneToFive1};
            face.chosen = Amp.scale_code[Screen()] & 3;
            break;
        case type_key:
            face.choice = {selectLog, selectLin};
            face.chosen = Linear() ? 1 : 0;
            break;
        case preamplifier_key:
            face.choice = {selectAuto, selectOff};
            face.chosen = Amp.preamplifier_auto ? 0 : 1;
            break;
        default: break;
    }
}

void Amp_Face_Two(int key, Key_Face& face) {
    switch (key) {
        case offset_key: return Format_Level_Entry(Level_Entry::offset, face.value);
        case correction_key: return Format_Level_Entry(Level_Entry::correction, face.value);
        case impedance_key:
            face.choice = {select50, select75};
            face.chosen = Amp.impedance[Screen()];
            break;
        default: break;
    }
}

void Labels_Face(int key, Key_Face& face) {
    if (key == labels_key) {
        face.choice = {selectOn, selectOff};
        face.chosen = Amp.labels ? 0 : 1;
    } else if (key == position_key) {
        face.choice = {selectLeft, selectMiddle, selectRight};
        face.chosen = Amp.label_position;
    }
}

int Chosen_Unit() { return Amp.unit; }
bool Greyed_First(int key) { return key == scale_key && Linear(); }
bool Greyed_Second(int key) {
    return (key == correction_key && Amp.impedance[Screen()] == 0) || (key == auto_scale_key && Linear());
}

constexpr auto rows = std::to_array<Page_Row>({
    {enAmplitudeBig,
     {Key(enRefLevel, Set_And_Show<Set_Reflevel, Level_Entry::reference>),
      Key(enAttenuation, Set_And_Show<Set_Attenuation, Level_Entry::attenuation>), Key(enScaleDiv, Step_Scale),
      Key(enScaleType, Toggle_Scale_Type), Opens(enAmplitudeUnit, AmpLink[1]), Key(enPreamp, Toggle_Preamplifier),
      Opens(enMoreOne, AmpLink[2])},
     nullptr, fAmpBase, Amp_Face, nullptr, Greyed_First},
    {enUnitBig,
     {Key(endBm), Key(endBmV), Key(endBuV), Key(enV), Key(enW), none, Return(AmpLink[0])},
     &AmpLink[0], fUnitBase, nullptr, Chosen_Unit},
    {enAmplitudeBig,
     {Key(enRefOffset, Set_And_Show<Set_ReflevelOffset, Level_Entry::offset>), Key(enInputZ, Toggle_Impedance),
      Key(en75OhmCorr, Set_And_Show<Set_InputZcal, Level_Entry::correction>),
      Opens(enEMCCorrection, AmpLink[3]), Key(enAutoScale), Opens(enLevelLabels, AmpLink[5]),
      Opens(enMoreTwo, AmpLink[0])},
     nullptr, fAmpBaseTwo, Amp_Face_Two, nullptr, Greyed_Second},
    {enCorrectionBig,
     {Greyed(enSet), Greyed(enUseSet), Opens(enEditSet, AmpLink[4]), Opens(enDeleteSet, AmpLink[6]),
      Greyed(enAllSetsOff), none, Return(AmpLink[2])},
     &AmpLink[2]},
    {enEditSetBig,
     {Greyed(enPoint), Greyed(enFrequency), Greyed(enFactor), Greyed(enAddPoint), Greyed(enDeletePoint),
      Greyed(enApply), Return(AmpLink[3])}},
    {enLevelLabelsBig,
     {Key(enLabels, Toggle_Labels), Key(enPosition, Step_Position), none, none, none, none, Return(AmpLink[2])},
     &AmpLink[2], fLabelsBase, Labels_Face},
    {enDeleteSetBig,
     {Greyed(enYes), none, none, none, none, none, Return(AmpLink[3])},
     &AmpLink[3]},
});

}  // namespace

std::array<Menu_Page, 7> AmpLink = Pages<7>(2, rows);

void menus::Reset_Amp() { AmpLink = Pages<7>(2, rows); }

void Amp_HwKey() { menus::Open_First_Page(AmpLink[0]); }

void Amp_SwKey(int key, char) { Press_Soft_Key(key, "Amp_SwKey error"); }
