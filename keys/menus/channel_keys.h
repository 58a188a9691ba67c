#pragma once
#include "keys/frequency_entry.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "measure/channel.h"
#include "records/freqs.h"

/// The keys of the measurements with channels: the spacing, and the steps to the next channel and back.
namespace menus {

constexpr int no_key = -1;

template <double Channel_Record::*spacing>
int Set_Spacing(int mode, double value) {
    Set_Channel_Spacing(spacing, mode, value);
    Show_Channel_Spacing(Channel_Data.*spacing);
    return 0;
}

/// Layer handler of a page with its spacing on one key and the steps up and down on the two from another on.
template <double Channel_Record::*spacing, int spacing_key, int up_key>
void fChannelBase(int key) {
    if (key == spacing_key) {
        Begin_Entry('1', false);
        return Show_Channel_Spacing(Channel_Data.*spacing);
    }
    No_Entry();
    Blank_Entry();
    if (Open_Page_Of(key)) return;
    Step_Channel(key == up_key ? 1 : -1);
    Show_Frequency_Entry(Frequency_Entry::center);
}

template <double Channel_Record::*spacing, int spacing_key>
void Channel_Face(int key, Key_Face& face) {
    if (key == spacing_key) Format_Frequency(Channel_Data.*spacing, true, face.value);
}

/// There are channels to step through while a measurement with them runs.
template <int up_key>
bool Channel_Greyed(int key) {
    const bool step = key == up_key || key == up_key + 1;
    return step && (!Running_Channel_Spacing() || Freqs.span[static_cast<std::size_t>(ScreenActive)] == 0);
}

}  // namespace menus
