#include <algorithm>

#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/function.h"
#include "records/keystate.h"
#include "records/sys.h"
#include "trace/marker_display.h"
#include "trace/marker_to.h"
#include "trace/markers.h"

namespace {

using namespace keys;
using namespace menus;

enum Marker_Key { number_key, show_key, normal_key, delta_key };
enum Second_Key { trace_key, table_key, all_off_key };
enum Pair_Key { pair_span_key, pair_center_key, span_pair_key };
enum Function_Key { noise_key, counter_page_key, vswr_key, functions_off_key };
enum Trace_Key { auto_key, first_trace_key };
enum Counter_Key { counter_key, resolution_key };

template <class Value>
bool Of_Active(const Per_Marker<Value>& field) {
    return field[static_cast<std::size_t>(Active_Marker())][static_cast<std::size_t>(ScreenActive)] != 0;
}

/// Unit type of places on the axis.
char Place_Unit() { return Zero_Span_Axis() ? '6' : '1'; }

/// A setting that can't be says so.
void Refused_With_Warning(int code) {
    if (code != 0) display_warning(warning_not_now);
}

template <int (*setter)(int, double), Marker_Entry entry>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    Show_Marker_Entry(entry);
    return 0;
}

void On_Off(Key_Face& face, bool on) {
    face.choice = {selectOn, selectOff};
    face.chosen = on ? 0 : 1;
}

/// There is nothing to count in zero span, and no standing wave ratio without a normalised trace.
void Grey_Function_Keys() {
    MarkerLink[3].disabled[vswr_key] = !Sys_Data.tracking_normalised;
    MarkerLink[3].disabled[counter_page_key] = Zero_Span_Axis();
}

void fMarkerBase(int key) {
    const int marker = Active_Marker();
    Grey_Function_Keys();
    if (Open_Page_Of(key)) return;
    switch (key) {
        case number_key:
            Begin_Entry('d', false);
            Show_Marker_Entry(Marker_Entry::number);
            break;
        case show_key:
            No_Entry();
            Set_Marker_State(marker, !Of_Active(Marker_Data.on));
            break;
        case normal_key:
            Begin_Entry(Place_Unit(), false);
            Set_Marker_Type(marker, false);
            Show_Marker_Entry(Marker_Entry::normal);
            break;
        case delta_key:
            Begin_Entry(Place_Unit(), true);
            Set_Marker_Type(marker, true);
            Show_Marker_Entry(Marker_Entry::delta);
            break;
        default: break;
    }
}

void Marker_Face(int key, Key_Face& face) {
    switch (key) {
        case number_key: Marker_Entry_Text(Marker_Entry::number, face.value); break;
        case show_key: On_Off(face, Of_Active(Marker_Data.on)); break;
        case normal_key:
            if (Of_Active(Marker_Data.on)) Marker_Entry_Text(Marker_Entry::normal, face.value);
            break;
        case delta_key:
            if (Of_Active(Marker_Data.on)) Marker_Entry_Text(Marker_Entry::delta, face.value);
            break;
        default: break;
    }
}

void fMarkerSecondBase(int key) {
    if (Open_Page_Of(key)) return;
    No_Entry();
    if (key == table_key) Set_Marker_Table((Global_Table & table_marker) == 0);
    if (key == all_off_key) Marker_All_Off();
}

void Second_Face(int key, Key_Face& face) {
    if (key == table_key) On_Off(face, (Global_Table & table_marker) != 0);
}

void fPairBase(int key) {
    if (Open_Page_Of(key)) return;
    if (key == span_pair_key) {
        No_Entry();
        return Refused_With_Warning(Span_To_Pair(Active_Marker()));
    }
    Begin_Entry(Place_Unit(), false);
    Set_Marker_Type(Active_Marker(), true);
    Show_Marker_Entry(key == pair_span_key ? Marker_Entry::pair_span : Marker_Entry::pair_center);
}

void Pair_Face(int key, Key_Face& face) {
    if (!Of_Active(Marker_Data.on)) return;
    if (key == pair_span_key) Marker_Entry_Text(Marker_Entry::pair_span, face.value);
    if (key == pair_center_key) Marker_Entry_Text(Marker_Entry::pair_center, face.value);
}

void fFunctionBase(int key) {
    const int marker = Active_Marker();
    if (Open_Page_Of(key)) return;
    No_Entry();
    switch (key) {
        case noise_key: Set_Marker_Noise(marker, !Of_Active(Marker_Data.noise)); break;
        case vswr_key: Refused_With_Warning(Set_Marker_VSWR(marker, !Of_Active(Marker_Data.vswr))); break;
        case functions_off_key: Set_Marker_Functions_Off(marker); break;
        default: break;
    }
}

void Function_Face(int key, Key_Face& face) {
    if (key == noise_key) On_Off(face, Of_Active(Marker_Data.noise));
    if (key == vswr_key) On_Off(face, Of_Active(Marker_Data.vswr));
}

int Chosen_Trace_Key() {
    const int marker = Active_Marker();
    return Marker_Trace_Auto(marker) ? static_cast<int>(auto_key) : first_trace_key + std::max(Marker_Trace(marker), 0);
}

void fMarkerTraceBase(int key) {
    if (Open_Page_Of(key)) return;
    No_Entry();
    if (key == auto_key) {
        Set_Marker_Trace_Auto(Active_Marker(), true);
    } else {
        Refused_With_Warning(Set_Marker_Trace(Active_Marker(), key - first_trace_key));
    }
}

void fCounterBase(int key) {
    if (Open_Page_Of(key)) return;
    if (key == counter_key) {
        No_Entry();
        return Refused_With_Warning(Set_Marker_Counter(Active_Marker(), !Of_Active(Marker_Data.counter)));
    }
    const bool pressed_again = Current_Page().highlight == key;
    Begin_Entry('1', false);
    if (pressed_again) {
        Set_Marker_Resolution_Auto(Marker_Data.resolution_manual[static_cast<std::size_t>(ScreenActive)] != 0);
    }
    Show_Marker_Entry(Marker_Entry::resolution);
}

void Counter_Face(int key, Key_Face& face) {
    if (key == counter_key) On_Off(face, Of_Active(Marker_Data.counter));
    if (key != resolution_key) return;
    Marker_Entry_Text(Marker_Entry::resolution, face.value);
    face.choice = {selectAuto, selectMan};
    face.chosen = Marker_Data.resolution_manual[static_cast<std::size_t>(ScreenActive)] ? 1 : 0;
}

constexpr auto rows = std::to_array<Page_Row>({
    {enMarkerBig,
     {Key(enMarkerSelect, Set_And_Show<Set_Active_Marker, Marker_Entry::number>), Key(enShowMarker),
      Key(enMarkerNormal, Set_And_Show<Set_Marker_Normal, Marker_Entry::normal>),
      Key(enMarkerDelta, Set_And_Show<Set_Marker_Delta, Marker_Entry::delta>), Opens(enMarkerPair, MarkerLink[2]),
      Opens(enMarkerFunction, MarkerLink[3]), Opens(enMoreOne, MarkerLink[1])},
     nullptr, fMarkerBase, Marker_Face},
    {enMarkerBig,
     {Opens(enTracePage, MarkerLink[4]), Key(enMarkerTable), Key(enAllOff), none, none, none,
      Opens(enMoreTwo, MarkerLink[0])},
     nullptr, fMarkerSecondBase, Second_Face},
    {enPairBig,
     {Key(enPairSpan, Set_And_Show<Set_Marker_Move_Pair_Span, Marker_Entry::pair_span>),
      Key(enPairCenter, Set_And_Show<Set_Marker_Move_Pair_Center, Marker_Entry::pair_center>), Key(enSpanPair), none,
      none, none, Return(MarkerLink[0])},
     nullptr, fPairBase, Pair_Face},
    {enFunctionBig,
     {Key(enNoise), Opens(enCounter, MarkerLink[5]), Key(enVSWR), Key(enFunctionOff), none, none,
      Return(MarkerLink[0])},
     &MarkerLink[0], fFunctionBase, Function_Face},
    {enMarkerTraceBig,
     {Key(enAuto), Key(enTraceA), Key(enTraceB), Key(enTraceC), Key(enTraceD), none, Return(MarkerLink[1])},
     &MarkerLink[1], fMarkerTraceBase, nullptr, Chosen_Trace_Key},
    {enCounterBig,
     {Key(enCounterValue), Key(enResolution, Set_And_Show<Set_Marker_Resolution, Marker_Entry::resolution>), none, none,
      none, none, Return(MarkerLink[3])},
     nullptr, fCounterBase, Counter_Face},
});

}  // namespace

std::array<Menu_Page, 8> MarkerLink = Pages<8>(16, rows);

void menus::Reset_Marker() { MarkerLink = Pages<8>(16, rows); }

void Marker_HwKey() { menus::Open_First_Page(MarkerLink[0]); }

void Marker_SwKey(int key, char) { Press_Soft_Key(key, "Marker_SwKey error"); }
