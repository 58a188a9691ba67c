#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/notice.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/function.h"
#include "trace/marker_display.h"
#include "trace/marker_to.h"
#include "trace/markers.h"
#include "trace/peak_search.h"

namespace {

using namespace keys;
using namespace menus;

enum Search_Key { peak_key, next_key, right_key, left_key, minimum_key, center_key };
enum Setting_Key { excursion_key, threshold_key, track_key, table_key, order_key };

void Warn_If(int code) {
    if (code != 0) display_warning(warning_not_now);
}

void fPeakSearchBase(int key) {
    PeakSearchLink[1].disabled[track_key] = Zero_Span_Axis();
    if (Open_Page_Of(key)) return;
    No_Entry();
    const int marker = Active_Marker();
    if (key == center_key) return Warn_If(Marker_To_Center(marker));
    constexpr std::array steps{Peak_Step::highest, Peak_Step::next, Peak_Step::right, Peak_Step::left,
                               Peak_Step::lowest};
    if (key < 0 || key >= static_cast<int>(steps.size())) return;
    if (Search_Peak(marker, steps[static_cast<std::size_t>(key)]) != 0) Show_Notice("No peak found");
}

template <int (*setter)(int, double), Marker_Entry entry>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    Show_Marker_Entry(entry);
    return 0;
}

/// A threshold that is given on the panel is in force.
int Set_Threshold_On(int mode, double value) {
    Set_Peak_Threshold_State(true);
    return Set_And_Show<Set_Peak_Threshold, Marker_Entry::threshold>(mode, value);
}

bool Table_Shown() { return (Global_Table & table_peak) != 0; }

void fPeakSettingBase(int key) {
    if (Open_Page_Of(key)) return;
    const bool pressed_again = Current_Page().highlight == key;
    switch (key) {
        case excursion_key:
            Begin_Entry('a', false);
            return Show_Marker_Entry(Marker_Entry::excursion);
        case threshold_key:
            Begin_Entry('7', true);
            if (pressed_again) Set_Peak_Threshold_State(!Peak_Data.threshold_on);
            return Show_Marker_Entry(Marker_Entry::threshold);
        default: No_Entry(); break;
    }
    if (key == track_key) Warn_If(Set_Peak_Track(!Peak_Data.tracking));
    if (key == table_key) Set_Peak_Table(!Table_Shown());
    if (key == order_key) Set_Peak_Order(!Peak_Data.by_level);
}

void On_Off(Key_Face& face, bool on) {
    face.choice = {selectOn, selectOff};
    face.chosen = on ? 0 : 1;
}

void Setting_Face(int key, Key_Face& face) {
    switch (key) {
        case excursion_key: Marker_Entry_Text(Marker_Entry::excursion, face.value); break;
        case threshold_key:
            Marker_Entry_Text(Marker_Entry::threshold, face.value);
            On_Off(face, Peak_Data.threshold_on != 0);
            break;
        case track_key: On_Off(face, Peak_Data.tracking != 0); break;
        case table_key: On_Off(face, Table_Shown()); break;
        case order_key:
            face.choice = {selectFreq, selectLevel};
            face.chosen = Peak_Data.by_level ? 1 : 0;
            break;
        default: break;
    }
}

constexpr auto rows = std::to_array<Page_Row>({
    {enPeakSearchBig,
     {Key(enPeakSearch), Key(enNextPeak), Key(enPeakRight), Key(enPeakLeft), Key(enPeakMinimum), Key(enPeakToCenter),
      Opens(enMoreOne, PeakSearchLink[1])},
     nullptr, fPeakSearchBase},
    {enPeakSearchBig,
     {Key(enExcursion, Set_And_Show<Set_Peak_Excursion, Marker_Entry::excursion>),
      Key(enThreshold, Set_Threshold_On), Key(enPeakTrack), Key(enPeakTable), Key(enTableOrder), none,
      Opens(enMoreTwo, PeakSearchLink[0])},
     nullptr, fPeakSettingBase, Setting_Face},
});

}  // namespace

std::array<Menu_Page, 3> PeakSearchLink = Pages<3>(18, rows);

void menus::Reset_PeakSearch() { PeakSearchLink = Pages<3>(18, rows); }

void PeakSearch_HwKey() { menus::Open_First_Page(PeakSearchLink[0]); }

void PeakSearch_SwKey(int key, char) { Press_Soft_Key(key, "PeakSearch_SwKey error"); }
