#include <algorithm>
#include <array>
#include <filesystem>
#include <string>

#include "files/limit_file.h"
#include "files/store.h"
#include "keys/handlers.h"
#include "keys/limit_name.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/name_entry.h"
#include "keys/notice.h"
#include "keys/numeric_entry.h"
#include "keys/page_shown.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "platform/root.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/keystate.h"
#include "records/limit.h"
#include "records/sys.h"
#include "system/settings.h"
#include "trace/limit_edit.h"
#include "trace/limit_lines.h"
#include "trace/marker_display.h"
#include "trace/markers.h"

namespace {

using namespace keys;
using namespace menus;

enum Page_Number : std::size_t {
    test_page, edit_page, make_page, second_edit_page, second_test_page, files_page, clear_page, delete_page
};
enum Test_Key { test_key, high_key, low_key, criterion_key, range_key };
enum Second_Test_Key { beep_key = 1, stop_key };
enum Edit_Key { line_key, point_key, frequency_key, level_key, add_key };
enum Second_Edit_Key { show_key, used_key, delete_point_key };
enum Make_Key { from_trace_key = 1, margin_key, from_marker_key, marker_key, two_points_key };
enum File_Key { file_line_key, letters_key, delete_letter_key, save_key, load_key };

bool On_Page(std::size_t page) { return &Current_Page() == &LimitlineLink[page]; }

template <int (*setter)(int, double), Limit_Entry entry>
int Set_And_Show(int mode, double value) {
    setter(mode, value);
    Show_Limit_Entry(entry);
    return 0;
}

int Move_Marker(int mode, double value) {
    if (Zero_Span_Axis()) return 0;
    Set_Marker_Normal(mode, value);
    Show_Marker_Entry(Marker_Entry::normal);
    return 0;
}

void On_Off(Key_Face& face, bool on) {
    face.choice = {selectOn, selectOff};
    face.chosen = on ? 0 : 1;
}

void Begin_Choice() {
    No_Entry();
    Blank_Entry();
}

void Begin_Value(char unit_type, bool may_be_negative, Limit_Entry entry) {
    Begin_Entry(unit_type, may_be_negative);
    Show_Limit_Entry(entry);
}

/// A setting that can't be says so.
void Try(int code) {
    if (code != 0) display_warning(warning_not_now);
}

/// The next of a number of lines, in a ring.
int Next_Line(int line) { return line == no_limit_line ? 1 : (line + 2) % static_cast<int>(limit_lines + 1); }

void Next_Edited_Line() {
    constexpr int typed = 2;
    Set_Edited_Line(typed, static_cast<double>((Edited_Line() + 1) % limit_lines + 1));
}

// The test

int Step_Criterion(int, double) {
    constexpr int criteria = criterion_minimum + 1;
    Set_Pass_Criterion(((PassCriterion + Pending_Steps()) % criteria + criteria) % criteria);
    return 0;
}

int Toggle_Range(int, double) {
    Set_Limit_Mode(!Limit_Test.mode);
    return 0;
}

void fLimitBase(int key) {
    constexpr int typed = 2;
    const bool pressed_again = Current_Page().highlight == key;
    switch (key) {
        case high_key:
            if (pressed_again) Set_High_Line(typed, Next_Line(Limit_Test.high));
            return Begin_Value('d', false, Limit_Entry::high);
        case low_key:
            if (pressed_again) Set_Low_Line(typed, Next_Line(Limit_Test.low));
            return Begin_Value('d', false, Limit_Entry::low);
        default: Begin_Choice();
    }
    switch (key) {
        case test_key: Set_Limit_Test(!Limit_Test.on); break;
        case criterion_key: Set_Pass_Criterion((PassCriterion + 1) % (criterion_minimum + 1)); break;
        case range_key: Set_Limit_Mode(!Limit_Test.mode); break;
        default: Open_Page_Of(key);
    }
}

void Test_Face(int key, Key_Face& face) {
    switch (key) {
        case test_key: On_Off(face, Limit_Test.on != 0); break;
        case high_key: Limit_Entry_Text(Limit_Entry::high, face.value); break;
        case low_key: Limit_Entry_Text(Limit_Entry::low, face.value); break;
        case criterion_key:
            face.choice = {selectTrace, selectPeak, selectMin};
            face.chosen = PassCriterion;
            break;
        case range_key:
            face.choice = {selectAll, selectCommon};
            face.chosen = Limit_Test.mode;
            break;
        default: break;
    }
}

bool Greyed_Test(int key) { return key == test_key && !Limit_Lines_Chosen(); }

void fLimitBaseTwo(int key) {
    Begin_Choice();
    if (key == beep_key) Set_Alarm(!Sys_Data.alarm);
    if (key == stop_key) Set_Stop_On_Fail(!Limit_Test.stop_on_fail);
    Open_Page_Of(key);
}

void Second_Test_Face(int key, Key_Face& face) {
    if (key == beep_key) On_Off(face, Sys_Data.alarm != 0);
    if (key == stop_key) On_Off(face, Limit_Test.stop_on_fail != 0);
}

// The editor

char Level_Unit_Type() { return Amp.unit == unit_volt ? '8' : Amp.unit == unit_watt ? '9' : '7'; }

/// The line is typed; pressed again its key takes the next one.
void Begin_Line() {
    if (Current_Page().highlight == line_key) Next_Edited_Line();
    Begin_Value('d', false, Limit_Entry::line);
}

void fEditLineBase(int key) {
    switch (key) {
        case line_key: return Begin_Line();
        case point_key: return Begin_Value('d', false, Limit_Entry::point);
        case add_key:
            Try(Insert_Limit_Point());
            return Begin_Value('1', false, Limit_Entry::frequency);
        case frequency_key: return Begin_Value('1', false, Limit_Entry::frequency);
        case level_key: return Begin_Value(Level_Unit_Type(), Level_Unit_Type() == '7', Limit_Entry::level);
        default: Begin_Choice();
    }
    Open_Page_Of(key);
}

void Edit_Face(int key, Key_Face& face) {
    switch (key) {
        case line_key: Limit_Entry_Text(Limit_Entry::line, face.value); break;
        case point_key: Limit_Entry_Text(Limit_Entry::point, face.value); break;
        case frequency_key: Limit_Entry_Text(Limit_Entry::frequency, face.value); break;
        case level_key: Limit_Entry_Text(Limit_Entry::level, face.value); break;
        default: break;
    }
}

bool Greyed_Edit(int key) {
    if (key == add_key) return Edited_Points() == limit_points;
    return key >= point_key && key <= level_key && Edited_Points() == 0;
}

void fEditLineBaseTwo(int key) {
    Begin_Choice();
    switch (key) {
        case show_key: Set_Limit_Shown(Edited_Line(), !Limit_Lines[Edited_Line()].shown); break;
        case used_key: Try(Set_Point_Used(!Selected_Point_Used())); break;
        case delete_point_key: Delete_Selected_Point(); break;
        default:
            if (Open_Page_Of(key) && (On_Page(clear_page) || On_Page(delete_page))) Show_Limit_Entry(Limit_Entry::line);
    }
}

void Second_Edit_Face(int key, Key_Face& face) {
    if (key == show_key) On_Off(face, Limit_Lines[Edited_Line()].shown != 0);
    if (key == used_key) On_Off(face, Selected_Point_Used());
}

bool Greyed_Second_Edit(int key) {
    return (key == used_key || key == delete_point_key) && Edited_Points() == 0;
}

template <void (*work)(std::size_t)>
void Confirmed(int key) {
    if (key == 0) work(Edited_Line());
    Begin_Choice();
    Show_Page(LimitlineLink[second_edit_page]);
}

// Lines from traces and markers

void From_Trace() {
    constexpr int settings_conflict = -221;
    const Trace_Record& record = Trace_Data[static_cast<std::size_t>(ScreenActive)];
    Try(Limit_From_Trace(Edited_Line(), record.active & 3, Limit_Test.margin) ? 0 : settings_conflict);
}

void From_Marker() {
    Set_Marker_State(Active_Marker(), true);
    Try(Take_Marker_Point());
    if (Marker_Limit_Two_Point) Show_Notice("Move the marker to the second place");
}

void fMakeLineBase(int key) {
    switch (key) {
        case line_key: return Begin_Line();
        case margin_key: return Begin_Value('a', true, Limit_Entry::margin);
        case from_marker_key:
            Begin_Choice();
            return From_Marker();
        case marker_key:
            Begin_Entry('1', false);
            Set_Marker_State(Active_Marker(), true);
            return Show_Marker_Entry(Marker_Entry::normal);
        default: Begin_Choice();
    }
    if (key == from_trace_key) From_Trace();
    if (key == two_points_key) Set_Two_Points(!Limit_Test.two_points);
    Open_Page_Of(key);
}

void Make_Face(int key, Key_Face& face) {
    switch (key) {
        case line_key: Limit_Entry_Text(Limit_Entry::line, face.value); break;
        case margin_key: Limit_Entry_Text(Limit_Entry::margin, face.value); break;
        case marker_key:
            if (Marker_Data.on[static_cast<std::size_t>(Active_Marker())][static_cast<std::size_t>(ScreenActive)]) {
                Marker_Entry_Text(Marker_Entry::normal, face.value);
            }
            break;
        case two_points_key: On_Off(face, Limit_Test.two_points != 0); break;
        default: break;
    }
}

/// There is nothing to make a line from in zero span.
bool Greyed_Make(int key) {
    return Zero_Span_Axis() && (key == from_trace_key || key == from_marker_key || key == marker_key);
}

/// Enter takes the marker's place, too.
void Enter_Point() {
    if (On_Page(make_page) && !Zero_Span_Axis()) From_Marker();
}

// Files

using File_Name = std::array<char, longest_name + 1>;
std::array<File_Name, limit_lines> file_names{};
std::string replaced;  ///< the file that the next Save may replace

void Keep_Name() {
    File_Name& name = file_names[Edited_Line()];
    name.fill(0);
    Name_Typed().copy(name.data(), longest_name);
}

/// Each line has a name of its own, at first its number.
void Open_Name() {
    if (Name_Entry_Open == Name_Entry::limit_line) return;
    const File_Name& name = file_names[Edited_Line()];
    Start_Name(name[0] ? std::string(name.data()) : "LIMIT" + std::to_string(Edited_Line() + 1));
    Name_Entry_Open = Name_Entry::limit_line;
}

void Close_Name() {
    if (Name_Entry_Open != Name_Entry::limit_line) return;
    Keep_Name();
    Typed_Name = {};
    Name_Entry_Open = Name_Entry::none;
}

int Turn_Name(int mode, double) {
    constexpr int knob = 0;
    Open_Name();
    if (mode == knob) {
        Turn_Letter(Pending_Steps());
    } else {
        Move_Cursor(Pending_Steps());
    }
    Show_Limit_Name();
    return 0;
}

void Say_Saved(std::string_view path) {
    Show_Notice(std::string(Translated("Saved as")) + ' ' + std::string(path.substr(path.rfind('/') + 1)));
}

void Save_Line() {
    const Stored_File file = File_In_Store(Name_Typed(), limit_file_ending);
    if (file.error != 0) return Show_Notice("This is no file name");
    if (!Limit_Line_To_Save(Edited_Line())) return Show_Notice("The line has no points");
    std::error_code error;
    if (std::filesystem::exists(platform::Rooted(file.path), error) && replaced != file.path) {
        replaced = file.path;
        return Show_Notice("The file is there: press again to replace it");
    }
    replaced.clear();
    if (!limitline_savefile(file.path, Edited_Line())) return Show_Notice("The file can't be written");
    Say_Saved(file.path);
}

void Load_Line() {
    const Stored_File file = File_In_Store(Name_Typed(), limit_file_ending);
    if (file.error != 0) return Show_Notice("This is no file name");
    switch (read_savefile(file.path, Edited_Line())) {
        case Limit_File::missing: return Show_Notice("There is no such file");
        case Limit_File::unreadable: return Show_Notice("The file can't be read");
        case Limit_File::damaged: return Show_Notice("This is no whole limit line file");
        default: return Show_Notice("Limit line loaded");
    }
}

void fFilesBase(int key) {
    Open_Name();
    if (key != save_key) replaced.clear();
    switch (key) {
        case file_line_key:
            Close_Name();
            Next_Edited_Line();
            Open_Name();
            break;
        case letters_key: Change_Case(); break;
        case delete_letter_key: Delete_Letter(); break;
        case save_key: Save_Line(); break;
        case load_key: Load_Line(); break;
        default:
            Begin_Choice();
            Open_Page_Of(key);
            return;
    }
    Show_Limit_Name();
}

/// The knob always turns letters.
int Letters_Highlighted() { return letters_key; }

void Files_Face(int key, Key_Face& face) {
    if (key == file_line_key) Limit_Entry_Text(Limit_Entry::line, face.value);
    if (key != letters_key) return;
    face.choice = {selectUpperCase, selectLowerCase};
    face.chosen = Typed_Name.lower_case ? 1 : 0;
}

constexpr auto rows = std::to_array<Page_Row>({
    {enLimitLineBig,
     {Key(enPassFail), Key(enHighLine, Set_And_Show<Set_High_Line, Limit_Entry::high>),
      Key(enLowLine, Set_And_Show<Set_Low_Line, Limit_Entry::low>), Key(enTestOn, Step_Criterion),
      Key(enTestRange, Toggle_Range), Opens(enEditLine, LimitlineLink[edit_page]),
      Opens(enMoreOne, LimitlineLink[second_test_page])},
     nullptr, fLimitBase, Test_Face, nullptr, Greyed_Test},
    {enEditLineBig,
     {Key(enLine, Set_And_Show<Set_Edited_Line, Limit_Entry::line>),
      Key(enPoint, Set_And_Show<Set_Selected_Point, Limit_Entry::point>),
      Key(enFrequency, Set_And_Show<Set_Point_Frequency, Limit_Entry::frequency>),
      Key(enLevel, Set_And_Show<Set_Point_Level, Limit_Entry::level>),
      Key(enAddPoint, Set_And_Show<Set_Point_Frequency, Limit_Entry::frequency>),
      Opens(enMoreOne, LimitlineLink[second_edit_page]), Return(LimitlineLink[test_page])},
     nullptr, fEditLineBase, Edit_Face, nullptr, Greyed_Edit},
    {enMakeLineBig,
     {Key(enLine, Set_And_Show<Set_Edited_Line, Limit_Entry::line>), Key(enFromTrace),
      Key(enTraceOffset, Set_And_Show<Set_Limit_Margin, Limit_Entry::margin>), Key(enFromMarker),
      Key(enMarkerFreq, Move_Marker), Key(enTwoPoints), Return(LimitlineLink[second_test_page])},
     nullptr, fMakeLineBase, Make_Face, nullptr, Greyed_Make},
    {enEditLineBig,
     {Key(enShowLine), Key(enPointUsed), Key(enDeletePoint), Opens(enClearPoints, LimitlineLink[clear_page]),
      Opens(enDeleteLine, LimitlineLink[delete_page]), Opens(enMoreTwo, LimitlineLink[edit_page]),
      Return(LimitlineLink[test_page])},
     &LimitlineLink[test_page], fEditLineBaseTwo, Second_Edit_Face, nullptr, Greyed_Second_Edit},
    {enLimitLineBig,
     {Opens(enMakeLine, LimitlineLink[make_page]), Key(enBeepOnFail), Key(enStopOnFail),
      Opens(enLimitFiles, LimitlineLink[files_page]), none, none, Opens(enMoreTwo, LimitlineLink[test_page])},
     nullptr, fLimitBaseTwo, Second_Test_Face},
    {enLimitFilesBig,
     {Key(enLine), Key(enLetters, Turn_Name), Key(enDelete), Key(enSaveNow), Key(enRecallNow), none,
      Return(LimitlineLink[second_test_page])},
     &LimitlineLink[second_test_page], fFilesBase, Files_Face, Letters_Highlighted},
    {enClearPointsBig,
     {Key(enYes), none, none, none, none, none, Return(LimitlineLink[second_edit_page])},
     &LimitlineLink[second_edit_page], Confirmed<Clear_Limit_Line>},
    {enDeleteLineBig,
     {Key(enYes), none, none, none, none, none, Return(LimitlineLink[second_edit_page])},
     &LimitlineLink[second_edit_page], Confirmed<Delete_Limit_Line>},
});

}  // namespace

std::array<Menu_Page, 8> LimitlineLink = Pages<8>(10, rows);

void menus::Reset_Limitline() {
    LimitlineLink = Pages<8>(10, rows);
    file_names = {};
    replaced.clear();
    Enter_Work.limit_point = Enter_Point;
}

void Limitline_HwKey() { menus::Open_First_Page(LimitlineLink[0]); }

void Limitline_SwKey(int key, char) { Press_Soft_Key(key, "Limitline_SwKey error"); }

void Page_Shown(const Menu_Page& page) {
    const auto is = [&](std::size_t number) { return &page == &LimitlineLink[number]; };
    Set_Limit_Table(is(edit_page) || is(second_edit_page) || is(clear_page) || is(delete_page));
    if (is(files_page)) {
        Open_Name();
        Show_Limit_Name();
    } else {
        Close_Name();
    }
}

/// A bar marks where the next character goes.
void Show_Limit_Name() {
    std::string text(Name_Typed());
    text.insert(static_cast<std::size_t>(Typed_Name.cursor), 1, '|');
    Show_Entry("Limit line file", text);
}
