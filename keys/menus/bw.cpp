#include "keys/bandwidth_entry.h"
#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/shown_values.h"
#include "keys/soft_keys.h"
#include "records/bw.h"
#include "records/freqs.h"
#include "records/sys.h"
#include "sweep/bandwidth.h"

namespace {

using namespace keys;
using namespace menus;

enum BW_Key { rbw_key, vbw_key, ratio_key, average_key, average_type_key, emi_key, emi_rbw_key };

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
bool Manual_Rbw() { return BW_Data.rbw_mode[Screen()] != 0; }
bool Manual_Vbw() { return BW_Data.vbw_mode[Screen()] != 0; }

template <int (*setter)(int, double), Bandwidth_Entry entry>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    Show_Bandwidth_Entry(entry);
    return 0;
}

int Toggle_EMI_Filter(int, double) { return Set_EMI_Filter(BW_Data.emi == 0); }

void Begin_Value(char unit_type, Bandwidth_Entry entry) {
    Begin_Entry(unit_type, false);
    Show_Bandwidth_Entry(entry);
}

void fBWBase(int key) {
    const bool pressed_again = Current_Page().highlight == key;
    switch (key) {
        case rbw_key:
            if (pressed_again) Set_RBW_Mode(!Manual_Rbw());
            return Begin_Value('1', Bandwidth_Entry::rbw);
        case vbw_key:
            if (pressed_again) Set_VBW_Mode(!Manual_Vbw());
            return Begin_Value('1', Bandwidth_Entry::vbw);
        case ratio_key: return Begin_Value('e', Bandwidth_Entry::ratio);
        default: break;
    }
    No_Entry();
    Blank_Entry();
    if (key == emi_key) Toggle_EMI_Filter(0, 0);
    else Open_Page_Of(key);
}

/// In the order of their keys.
constexpr std::array<int, 4> emi_entries{rbw_emi_200hz, rbw_emi_9khz, rbw_emi_120khz, rbw_1mhz};

void fEMIRBWBase(int key) {
    No_Entry();
    Blank_Entry();
    if (Open_Page_Of(key) || key >= static_cast<int>(emi_entries.size())) return;
    Set_And_Show<Set_BW_RBW, Bandwidth_Entry::rbw>(2, Int_RBW_Transfer(emi_entries[static_cast<std::size_t>(key)]));
}

int Chosen_EMI_RBW() {
    for (std::size_t key = 0; key < emi_entries.size(); ++key) {
        if (BW_Data.rbw[Screen()] == emi_entries[key]) return static_cast<int>(key);
    }
    return -1;
}

/// A width that is measured by FFT says so.
void Rbw_Face(Key_Face& face) {
    std::span<char> text(face.value);
    if (Shown_FFT()) {
        constexpr std::string_view mark = "FFT ";
        mark.copy(text.data(), mark.size());
        text = text.subspan(mark.size());
    }
    Format_Bandwidth_Entry(Bandwidth_Entry::rbw, text);
}

void BW_Face(int key, Key_Face& face) {
    switch (key) {
        case rbw_key:
            Rbw_Face(face);
            face.choice = {selectAuto, selectMan};
            face.chosen = Manual_Rbw() ? 1 : 0;
            break;
        case vbw_key:
            Format_Bandwidth_Entry(Bandwidth_Entry::vbw, face.value);
            face.choice = {selectAuto, selectMan};
            face.chosen = Manual_Vbw() ? 1 : 0;
            break;
        case ratio_key: return Format_Bandwidth_Entry(Bandwidth_Entry::ratio, face.value);
        case emi_key:
            face.choice = {selectOn, selectOff};
            face.chosen = BW_Data.emi ? 0 : 1;
            break;
        default: break;
    }
}

bool Greyed_BW(int key) { return key == emi_rbw_key && BW_Data.emi == 0; }

constexpr auto rows = std::to_array<Page_Row>({
    {enBandwidthBig,
     {Key(enRBW, Set_And_Show<Set_BW_RBW, Bandwidth_Entry::rbw>),
      Key(enVBW, Set_And_Show<Set_BW_VBW, Bandwidth_Entry::vbw>),
      Key(enVBWRBW, Set_And_Show<Set_BW_Ratio, Bandwidth_Entry::ratio>), Greyed(enAverage), Greyed(enAverageType),
      Key(enEMIFilter, Toggle_EMI_Filter), Opens(enEMIRBW, BWLink[1])},
     nullptr, fBWBase, BW_Face, nullptr, Greyed_BW},
    {enEMIRBWBig,
     {Key(en200Hz), Key(en9kHz), Key(en120kHz), Key(en1MHz), none, none, Return(BWLink[0])},
     &BWLink[0], fEMIRBWBase, nullptr, Chosen_EMI_RBW},
});

/// A model without EMC has no EMI filters.
void Hide_EMI_Keys() {
    const bool fitted = KVA720_ATTR_INST_MODEL == 1;
    BWLink[0].label[emi_key] = fitted ? Word(enEMIFilter) : nullptr;
    BWLink[0].label[emi_rbw_key] = fitted ? Word(enEMIRBW) : nullptr;
}

}  // namespace

std::array<Menu_Page, 2> BWLink = Pages<2>(4, rows);

void menus::Reset_BW() { BWLink = Pages<2>(4, rows); }

void BW_HwKey() {
    Hide_EMI_Keys();
    menus::Open_First_Page(BWLink[0]);
}

void BW_SwKey(int key, char) { Press_Soft_Key(key, "BW_SwKey error"); }
