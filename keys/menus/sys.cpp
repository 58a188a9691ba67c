#include "keys/handlers.h"

#include <array>
#include <cstdio>
#include <string>

#include "keys/information_screen.h"
#include "keys/language.h"
#include "keys/menus/entry.h"
#include "keys/menus/error_list.h"
#include "keys/menus/rows.h"
#include "keys/name_entry.h"
#include "keys/notice.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "platform/clock.h"
#include "platform/keys.h"
#include "records/display.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/sys.h"
#include "records/user_preset.h"
#include "system/information.h"
#include "system/lan_settings.h"
#include "system/settings.h"

namespace {

using namespace keys;
using namespace menus;

constexpr int information_key = 0, error_list_key = 1, return_key = 6, beeper_key = 0;
constexpr std::size_t preset_page = 7, power_page = 9, password_page = 23;

void fSysBase(int key) {
    No_Entry();
    if (key == information_key) {
        Blank_Entry();
        Show_System_Information();
    } else {
        if (key == error_list_key) Open_Error_List();
        Open_Page_Of(key);
    }
}

void fSysBaseTwo(int key) {
    No_Entry();
    if (key == beeper_key) Set_Alarm(!Sys_Data.alarm);
    Open_Page_Of(key);
}

void Second_Face(int key, Key_Face& face) {
    if (key != beeper_key) return;
    face.choice = {selectOn, selectOff};
    face.chosen = Sys_Data.alarm ? 0 : 1;
}

void fErrorListBase(int key) {
    if (key != return_key) return Press_Error_List(key);
    Leave_Information_Screen();
    Open_Page_Of(key);
}

void fSoftwareBase(int key) {
    if (key == 0) return Show_System_Information();
    if (key == return_key) Leave_Information_Screen();
    Open_Page_Of(key);
}

void fLanguageBase(int key) {
    if (!Open_Page_Of(key)) Set_Language(key);
}

int Chosen_Language() { return Language; }

// Time and date

enum Time_Key { date_key, time_key, clock_key };

std::string Clock_Text(const char* format) {
    const std::tm now = platform::Wall_Clock();
    std::array<char, 24> text{};
    std::strftime(text.data(), text.size(), format, &now);
    return text.data();
}

void Show_Date() { Show_Entry("Date", Clock_Text("%Y-%m-%d")); }
void Show_Time() { Show_Entry("Time", Clock_Text("%H:%M:%S")); }

int Step_Date(int mode, double value) {
    if (Set_Date(mode, value) < 0) Show_Notice("There is no such date");
    Show_Date();
    Redraw_Keys();
    return 0;
}

int Step_Time(int mode, double value) {
    if (Set_Time(mode, value) < 0) Show_Notice("There is no such time");
    Show_Time();
    Redraw_Keys();
    return 0;
}

int Toggle_Clock(int, double) {
    Set_Clock_Shown(!Display_Data.clock_shown);
    Redraw_Keys();
    return 0;
}

void fTimeBase(int key) {
    No_Entry();
    switch (key) {
        case date_key:
            Begin_Entry('h', false);
            return Show_Date();
        case time_key:
            Begin_Entry('i', false);
            return Show_Time();
        case clock_key:
            Blank_Entry();
            Toggle_Clock(0, 0);
            return;
        default:
            Blank_Entry();
            Open_Page_Of(key);
    }
}

void On_Off(Key_Face& face, bool on) {
    face.choice = {selectOn, selectOff};
    face.chosen = on ? 0 : 1;
}

void Copy_Value(Key_Face& face, const std::string& value) {
    std::snprintf(face.value.data(), face.value.size(), "%s", value.c_str());
}

void Time_Face(int key, Key_Face& face) {
    if (key == date_key) Copy_Value(face, Clock_Text("%Y-%m-%d"));
    if (key == time_key) Copy_Value(face, Clock_Text("%H:%M"));
    if (key == clock_key) On_Off(face, Display_Data.clock_shown != 0);
}

// Interfaces

constexpr int gpib_key = 3;

void Show_GPIB_Address() { Show_Entry("GPIB address", std::to_string(Sys_Data.gpib_address)); }

int Step_GPIB_Address(int mode, double value) {
    Set_GPIB_Address(mode, value);
    Show_GPIB_Address();
    Redraw_Keys();
    return 0;
}

void fInterfacesBase(int key) {
    if (key == gpib_key) {
        Begin_Entry('d', false);
        return Show_GPIB_Address();
    }
    No_Entry();
    Blank_Entry();
    Open_Page_Of(key);
}

void Interfaces_Face(int key, Key_Face& face) {
    if (key == gpib_key) Copy_Value(face, std::to_string(Sys_Data.gpib_address));
}

constexpr int first_baud_rate = 5;  ///< 9600 bit/s

void fBaudBase(int key) {
    if (Open_Page_Of(key)) return;
    Set_Baud_Rate(first_baud_rate + key);
    Show_Notice("In force from the next start on");
}

int Chosen_Baud_Rate() { return Sys_Data.baud_rate - first_baud_rate; }

void fUSBPortBase(int key) {
    if (Open_Page_Of(key)) return;
    Set_USB_Role(key);
    Show_Notice("In force from the next start on");
}

int Chosen_USB_Role() { return USB_Select == 1 ? 1 : 0; }

// Preset

enum Preset_Key { type_key, save_user_key, power_on_key };

int Toggle_Preset_Type(int, double) {
    if (!Set_Preset_Type(!Sys_Data.user_preset)) Show_Notice("No user preset is saved");
    Redraw_Keys();
    return 0;
}

int Toggle_Power_On(int, double) {
    Set_Power_On(POWER_On != 1);
    Redraw_Keys();
    return 0;
}

void fPresetBase(int key) {
    switch (key) {
        case type_key: Toggle_Preset_Type(0, 0); break;
        case power_on_key: Toggle_Power_On(0, 0); break;
        case save_user_key:
            Open_Page_Of(key);
            Show_Entry("Save as user preset", "UserPrset1.sta");
            break;
        default: Open_Page_Of(key);
    }
}

void Preset_Face(int key, Key_Face& face) {
    if (key == type_key) {
        face.choice = {selectFactory, selectUser};
        face.chosen = Sys_Data.user_preset;
    } else if (key == power_on_key) {
        face.choice = {selectLast, selectPreset};
        face.chosen = POWER_On == 1 ? 0 : 1;
    }
}

void fSaveUserBase(int key) {
    Blank_Entry();
    if (key == 0) {
        const bool saved = Save_User_Preset();
        if (!saved) std::perror("UserPrset1.sta");
        Show_Notice(saved ? "User preset saved" : "The user preset can't be written");
    }
    Show_Page(SysLink[preset_page]);
}

/// As the power key does, which saves the state first.
void fShutDownBase(int key) {
    if (key == 0 && platform::Press_Power_Key() < 0) shutdown_flag.store(1, std::memory_order_release);
    Show_Page(SysLink[power_page]);
}

/// What can't be reset is in the error list.
void fLANResetBase(int key) {
    constexpr std::size_t interfaces_page = 5;
    if (key == 0) Reset_Network();
    Show_Page(SysLink[interfaces_page]);
}

// Web password

enum Password_Key { letters_key, delete_key, clear_key, okay_key };

/// The stored password is what is edited; a refused hard key may have closed the entry.
void Open_Password_Entry() {
    if (Name_Entry_Open == Name_Entry::web_password) return;
    Start_Name(System_Information_Data.web_password);
    Name_Entry_Open = Name_Entry::web_password;
}

int Turn_Password(int mode, double) {
    constexpr int knob = 0;
    Open_Password_Entry();
    if (mode == knob) {
        Turn_Letter(Pending_Steps());
    } else {
        Move_Cursor(Pending_Steps());
    }
    Show_Web_Password();
    return 0;
}

void fWebPageBase(int key) {
    Open_Page_Of(key);
    if (&Current_Page() != &SysLink[password_page]) return;
    Open_Password_Entry();
    Show_Web_Password();
}

void fPasswordBase(int key) {
    Open_Password_Entry();
    switch (key) {
        case letters_key: Change_Case(); break;
        case delete_key: Delete_Letter(); break;
        case clear_key: Start_Name(""); break;
        case okay_key: return Finish_Web_Password();
        default:
            Abandon_Web_Password();
            Blank_Entry();
            Open_Page_Of(key);
            return;
    }
    Show_Web_Password();
}

/// The knob always turns letters.
int Letters_Highlighted() { return letters_key; }

void Password_Face(int key, Key_Face& face) {
    if (key != letters_key) return;
    face.choice = {selectUpperCase, selectLowerCase};
    face.chosen = Typed_Name.lower_case ? 1 : 0;
}

constexpr auto rows = std::to_array<Page_Row>({
    {enSystemBig,
     {Key(enInformation), Opens(enErrorList, SysLink[14]), Opens(enInterfaces, SysLink[5]),
      Opens(enTimeDate, SysLink[3]), Opens(enPresetSetup, SysLink[7]), Opens(enLanguage, SysLink[2]),
      Opens(enMoreOne, SysLink[1])},
     nullptr, fSysBase},
    {enSystemBig,
     {Key(enBeeper), Opens(enSelfTest, SysLink[15]), Opens(enOptions, SysLink[16]),
      Opens(enSoftware, SysLink[10]), Greyed(enService), Opens(enPower, SysLink[9]), Opens(enMoreTwo, SysLink[0])},
     nullptr, fSysBaseTwo, Second_Face},
    {enLanguageBig,
     {Key(enEnglish), Key(enChineseSimplified), Key(enRussian), Key(enChineseTraditional), Key(enJapanese), none,
      Return(SysLink[0])},
     &SysLink[0], fLanguageBase, nullptr, Chosen_Language},
    {enTimeDateBig,
     {Key(enDateValue, Step_Date), Key(enTime, Step_Time), Key(enShowClock, Toggle_Clock),
      Opens(enWakeClock, SysLink[4]), Greyed(enDateOrder), none, Return(SysLink[0])},
     nullptr, fTimeBase, Time_Face},
    {enWakeClockBig,
     {Greyed(enClock), Greyed(enUseClock), Greyed(enTriggerMode), Greyed(enDateValue), Greyed(enTime), none,
      Return(SysLink[3])}},
    {enInterfacesBig,
     {Opens(enLAN, SysLink[11]), Opens(enWLAN, SysLink[12]), Opens(enWebPage, SysLink[13]),
      Key(enGPIBAddress, Step_GPIB_Address),
      Opens(enUSBPort, SysLink[18]), Opens(enSerial, SysLink[6]), Return(SysLink[0])},
     nullptr, fInterfacesBase, Interfaces_Face},
    {enBaudRateBig,
     {Key(enBaud9600), Key(enBaud19200), Key(enBaud38400), Key(enBaud57600), Key(enBaud115200), none,
      Return(SysLink[5])},
     &SysLink[5], fBaudBase, nullptr, Chosen_Baud_Rate},
    {enPresetSetupBig,
     {Key(enPresetType, Toggle_Preset_Type), Opens(enSaveUser, SysLink[8]), Key(enPowerOn, Toggle_Power_On), none, none,
      none, Return(SysLink[0])},
     &SysLink[0], fPresetBase, Preset_Face},
    {enSaveUserBig,
     {Key(enYes), none, none, none, none, none, Return(SysLink[7])},
     &SysLink[7], fSaveUserBase},
    {enPowerBig,
     {Opens(enShutDown, SysLink[19]), Opens(enRestart, SysLink[20]), none, none, none, none, Return(SysLink[1])},
     &SysLink[1]},
    {enSoftwareBig,
     {Key(enVersions), Opens(enUpdate, SysLink[21]), none, none, none, none, Return(SysLink[1])},
     &SysLink[1], fSoftwareBase},
    {enLANBig,
     {Greyed(enIPAddress), Greyed(enSubnetMask), Greyed(enGateway), Greyed(enAddressFrom), Greyed(enApply),
      Opens(enLANReset, SysLink[22]), Return(SysLink[5])}},
    {enWLANBig,
     {Greyed(enWLANValue), Greyed(enNetworks), Greyed(enPassword), Greyed(enConnect), none, none, Return(SysLink[5])},
     &SysLink[5]},
    {enWebPageBig,
     {Greyed(enWebPageValue), Opens(enWebPassword, SysLink[23]), Greyed(enWebControl), none, none, none,
      Return(SysLink[5])},
     &SysLink[5], fWebPageBase},
    {enErrorListBig,
     {Key(enPrevious), Key(enNext), Key(enClearList), none, none, none, Return(SysLink[0])},
     &SysLink[0], fErrorListBase},
    {enSelfTestBig,
     {Greyed(enScreen), Greyed(enKeys), Greyed(enMemory), Greyed(enFrontEnd), Greyed(enAll), none, Return(SysLink[1])},
     &SysLink[1]},
    {enOptionsBig,
     {Greyed(enShowOptions), Greyed(enOptionKey), none, none, none, none, Return(SysLink[1])},
     &SysLink[1]},
    {enServiceBig,
     {Greyed(enAdjustSweep), Greyed(enShowTables), Greyed(enLog), none, none, none, Return(SysLink[1])},
     &SysLink[1]},
    {enUSBPortBig,
     {Key(enHost), Key(enDeviceUSB), none, none, none, none, Return(SysLink[5])},
     &SysLink[5], fUSBPortBase, nullptr, Chosen_USB_Role},
    {enShutDownBig,
     {Key(enYes), none, none, none, none, none, Return(SysLink[9])},
     &SysLink[9], fShutDownBase},
    {enRestartBig,
     {Greyed(enYes), none, none, none, none, none, Return(SysLink[9])},
     &SysLink[9]},
    {enUpdateBig,
     {Greyed(enYes), none, none, none, none, none, Return(SysLink[10])},
     &SysLink[10]},
    {enLANResetBig,
     {Key(enYes), none, none, none, none, none, Return(SysLink[5])},
     &SysLink[5], fLANResetBase},
    {enWebPasswordBig,
     {Key(enLetters, Turn_Password), Key(enDelete), Key(enClear), Key(enOkay), none, none, Return(SysLink[13])},
     &SysLink[13], fPasswordBase, Password_Face, Letters_Highlighted},
});

}  // namespace

std::array<Menu_Page, 33> SysLink = Pages<33>(21, rows);

void menus::Reset_Sys() { SysLink = Pages<33>(21, rows); }

void Sys_HwKey() { menus::Open_First_Page(SysLink[0]); }

void Sys_SwKey(int key, char) { Press_Soft_Key(key, "Sys_SwKey error"); }

/// A bar marks where the next character goes.
void Show_Web_Password() {
    std::string text(Name_Typed());
    text.insert(static_cast<std::size_t>(Typed_Name.cursor), 1, '|');
    Show_Entry("Web password", text);
}

void Abandon_Web_Password() {
    Name_Entry_Open = Name_Entry::none;
    Recall_Web_Password();
}

void Finish_Web_Password() {
    Name_Entry_Open = Name_Entry::none;
    const bool stored = Store_Web_Password(Name_Typed());
    if (!stored) std::perror("webpasswd");
    Blank_Entry();
    Sys_HwKey();
    Show_Notice(stored ? "Web password stored" : "The web password can't be written");
}
