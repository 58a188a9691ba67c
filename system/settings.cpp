#include "system/settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "platform/backlight.h"
#include "platform/clock.h"
#include "platform/whole_file.h"
#include "records/display.h"
#include "records/sys.h"
#include "records/user_preset.h"
#include "sweep/transfer.h"
#include "trace/plot.h"

namespace {

constexpr std::string_view heading = "KVA720 settings 1\n", ending = "end\n";
constexpr const char* settings_file = "/mnt/nand/settings.sys";
constexpr const char* password_file = "/opt/KVA720/webpasswd";
constexpr std::size_t largest_settings = 4096, longest_password = 64;
constexpr std::array baud_rates{300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
constexpr int last_baud_rate = static_cast<int>(baud_rates.size()) - 1;
constexpr int least_brightness = 10, last_gpib_address = 30;
constexpr int seconds_of_minute = 60, seconds_of_day = 86400;
constexpr double most_clock_offset = 100.0 * 366 * seconds_of_day;

struct Settings {
    std::int32_t power_on = 1, user_preset = 0, baud_rate = 5, gpib_address = 18, brightness = 100, clock_shown = 1,
                 alarm = 1;
    std::int64_t clock_offset = 0;  ///< s, the instrument's clock against the machine's, where it has none of its own
};

/// Every setting with its name and range, in the order of the file.
template <class Field>
void For_Each_Field(Settings& s, Field&& field) {
    field("power_on_last", s.power_on, 0, 1);
    field("preset_user", s.user_preset, 0, 1);
    field("baud_rate", s.baud_rate, 0, last_baud_rate);
    field("gpib_address", s.gpib_address, 0, last_gpib_address);
    field("brightness", s.brightness, least_brightness, 100);
    field("clock_shown", s.clock_shown, 0, 1);
    field("alarm", s.alarm, 0, 1);
    field("clock_offset", s.clock_offset, -most_clock_offset, most_clock_offset);
}

Settings Take() {
    return {POWER_On, Sys_Data.user_preset, Sys_Data.baud_rate, Sys_Data.gpib_address, Display_Data.brightness,
            Display_Data.clock_shown, Sys_Data.alarm, platform::Wall_Clock_Offset()};
}

void Put(const Settings& s) {
    POWER_On = static_cast<std::uint8_t>(s.power_on);
    Sys_Data.user_preset = s.user_preset;
    Sys_Data.baud_rate = s.baud_rate;
    Sys_Data.gpib_address = s.gpib_address;
    Display_Data.brightness = s.brightness;
    Display_Data.clock_shown = s.clock_shown;
    Sys_Data.alarm = s.alarm;
    platform::Set_Wall_Clock_Offset(s.clock_offset);
}

bool Read(const std::string& text, Settings& settings) {
    if (!text.starts_with(heading) || !text.ends_with(ending)) return false;
    std::istringstream lines(text.substr(heading.size()));
    bool good = true;
    For_Each_Field(settings, [&](const char* name, auto& value, double low, double high) {
        std::string read_name;
        double number = 0;
        good = good && (lines >> read_name) && read_name == name && (lines >> number) && number >= low && number <= high;
        if (good) value = static_cast<std::remove_reference_t<decltype(value)>>(number);
    });
    std::string last;
    return good && (lines >> last) && last == "end" && !(lines >> last);
}

void Keep() {
    if (!Save_Settings()) std::perror(settings_file);
}

/// The value that a typed number or steps of a size lead to, within its limits.
int Whole(int mode, double value, int present, int step, int low, int high) {
    constexpr int typed = 2;
    const double wanted = mode == typed ? std::round(value) : double{1} * present + Pending_Steps() * step;
    return static_cast<int>(std::clamp<double>(wanted, low, high));
}

/// The calendar moved by seconds.
bool Shift_Clock(std::int64_t seconds) {
    std::tm now = platform::Wall_Clock();
    const std::time_t then = ::timegm(&now) + static_cast<std::time_t>(seconds);
    std::tm moved{};
    ::gmtime_r(&then, &moved);
    return platform::Set_Wall_Clock(moved);
}

bool Is_Date(int year, int month, int day) {
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    constexpr std::array days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 2000 || year > 2099 || month < 1 || month > 12) return false;
    return day >= 1 && day <= days[static_cast<std::size_t>(month - 1)] + (leap && month == 2 ? 1 : 0);
}

void Show_Clock() {
    if (Display_Data.clock_shown) {
        Draw_Clock();
    } else {
        Blank_Clock();
    }
}

int Clock_Set(bool set) {
    if (!set) return -1;
    Show_Clock();
    Keep();
    return 0;
}

}  // namespace

bool Recall_Settings() {
    std::string text;
    if (!platform::Read_Whole_File(settings_file, largest_settings, text)) return false;
    Settings settings;
    if (!Read(text, settings)) {
        std::fprintf(stderr, "the settings file %s is damaged\n", settings_file);
        return false;
    }
    Put(settings);
    return true;
}

bool Save_Settings() {
    Settings settings = Take();
    std::string text(heading);
    For_Each_Field(settings, [&](const char* name, const auto& value, double, double) {
        text += name + (' ' + std::to_string(value)) + '\n';
    });
    return platform::Write_Whole_File(settings_file, text += ending);
}

void Set_Power_On(int last_state) {
    POWER_On = last_state ? 1 : 0;
    Keep();
}

int Set_Alarm(bool on) {
    Sys_Data.alarm = on;
    Keep();
    Redraw_Keys();
    return 0;
}

bool Set_Preset_Type(int user) {
    if (user && !User_Preset_Saved()) return false;
    Sys_Data.user_preset = user ? 1 : 0;
    Keep();
    return true;
}

void Set_Baud_Rate(int index) {
    Sys_Data.baud_rate = std::clamp(index, 0, last_baud_rate);
    Keep();
}

int Baud_Rate_Of(int index) { return baud_rates[static_cast<std::size_t>(std::clamp(index, 0, last_baud_rate))]; }

void Set_USB_Role(int device) { USB_Select = device ? 1 : 0; }

void Set_Clock_Shown(int shown) {
    Display_Data.clock_shown = shown ? 1 : 0;
    Show_Clock();
    Keep();
}

void Set_Key_Lock(int locked) {
    Display_Data.key_lock = locked ? 1 : 0;
    Redraw_Keys();
}

int Set_Screen_On(bool on) {
    if (on == (Display_Data.active != 0)) return 0;
    Display_Data.active = on;
    if (on && Graticule_Shown()) {
        Ext_Frame();
        Draw_Status_Blocks();
    }
    LOOP_SetTrans_Peripheral();
    return 0;
}

int Set_GPIB_Address(int mode, double value) {
    Sys_Data.gpib_address = Whole(mode, value, Sys_Data.gpib_address, 1, 0, last_gpib_address);
    GPIB_Address_Changed();
    Keep();
    return 0;
}

int Set_Brightness(int mode, double value) {
    constexpr int step = 5;
    Display_Data.brightness = Whole(mode, value, Display_Data.brightness, step, least_brightness, 100);
    if (platform::Set_Backlight(Display_Data.brightness) < 0) std::perror("Set_Backlight");
    LOOP_SetTrans_Peripheral();
    Keep();
    return 0;
}

int Set_Date(int mode, double value) {
    constexpr int typed = 2;
    if (mode != typed) return Clock_Set(Shift_Clock(std::int64_t{seconds_of_day} * Pending_Steps()));
    if (!(value >= 20000101 && value <= 20991231)) return -1;
    const int date = static_cast<int>(value), year = date / 10000, month = date / 100 % 100, day = date % 100;
    if (!Is_Date(year, month, day)) return -1;
    std::tm calendar = platform::Wall_Clock();
    calendar.tm_year = year - 1900;
    calendar.tm_mon = month - 1;
    calendar.tm_mday = day;
    return Clock_Set(platform::Set_Wall_Clock(calendar));
}

int Set_Time(int mode, double value) {
    constexpr int typed = 2;
    if (mode != typed) return Clock_Set(Shift_Clock(std::int64_t{seconds_of_minute} * Pending_Steps()));
    if (!(value >= 0 && value <= 235959)) return -1;
    const int time = static_cast<int>(value), hour = time / 10000, minute = time / 100 % 100, second = time % 100;
    if (hour > 23 || minute > 59 || second > 59) return -1;
    std::tm calendar = platform::Wall_Clock();
    calendar.tm_hour = hour;
    calendar.tm_min = minute;
    calendar.tm_sec = second;
    return Clock_Set(platform::Set_Wall_Clock(calendar));
}

void Recall_Web_Password() {
    std::string& password = System_Information_Data.web_password;
    if (!platform::Read_Whole_File(password_file, longest_password, password)) password.clear();
    if (const auto end = password.find_first_of("\r\n"); end != std::string::npos) password.resize(end);
}

bool Store_Web_Password(std::string_view password) {
    if (!platform::Write_Whole_File(password_file, std::string(password) + '\n')) return false;
    System_Information_Data.web_password = password;
    return true;
}
