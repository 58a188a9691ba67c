#include "system/system.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/utsname.h>

#include "display/pictures.h"
#include "display/text.h"
#include "palette.h"
#include "platform/backlight.h"
#include "platform/dsp_message.h"
#include "platform/i2c.h"
#include "platform/root.h"
#include "platform/sample_memory.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/handover.h"
#include "records/sys.h"
#include "records/trace.h"
#include "sweep/transfer.h"

namespace {

constexpr const char* application_version = "0.1";
constexpr int corrections = static_cast<int>(platform::corrections_values);

struct Wakeup {
    bool set = false;
    int weekday = 0, hour = 0, minute = 0;
};
Wakeup weektime;
std::array<double, platform::corrections_values> record_out{};
int records_read = 0;
std::atomic<int> attached_storage{0};
int shown_storage = -1;
int audio_volume = 0;

std::string Read_Line(std::istream& file) {
    std::string line;
    std::getline(file, line);
    if (line.size() > 64) line.resize(64);
    return line;
}

/// A value of the clock's registers: two decimal digits.
std::uint8_t Rtc_Digits(int value) { return static_cast<std::uint8_t>(value / 10 * 16 + value % 10); }

int Count_Storage() {
    std::error_code error;
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(platform::Rooted("/mnt/usb"), error)) {
        count += entry.is_directory(error) ? 1 : 0;
    }
    return count;
}

}  // namespace

void Sys_Init() {
    Sys_Data.sweep_setting = Sys_Data.sweep_setting_working = 0;
    Sys_Data.tracking_normalised = 0;
}

void Display_Init() {
    Display_Data.active = 1;
    Display_Data.key_lock = 0;
}

void Sys_Init_Cal() { Sys_Data.sweep_setting_working = Sys_Data.sweep_setting; }

std::uint8_t IdentificationQuery() {
    std::ifstream file(platform::Rooted("/opt/KVA720/identity"));
    auto& information = System_Information_Data;
    information.maker = Read_Line(file);
    information.model = Read_Line(file);
    information.serial_number = Read_Line(file);
    information.firmware = application_version;
    if (information.model.empty()) information.model = "KVA7230";
    const bool extended = information.model == "KVA7230";
    MAXSPAN = extended ? 3'250'000'000.0 : 3'000'000'000.0;
    MAXFREQUENCY = MAXSPAN + 50'000;
    return extended ? 1 : 0;
}

void init_i2c() {
    fd_i2c = platform::Open_I2c();
    if (fd_i2c < 0) std::perror("open i2c failed");
}

void write_rtc_control() {
    constexpr std::uint8_t control_register = 8;
    if (platform::Write_Rtc(fd_i2c, control_register, 0) < 0) std::perror("write_rtc");
}

void pwm_init() {
    if (platform::Set_Backlight(Display_Data.brightness) < 0) std::perror("pwm_init");
}

void init_audio() {
    constexpr int preset_volume = 50;
    audio_volume = preset_volume;
}

void GetOsName() {
    utsname names{};
    if (uname(&names) == 0) System_Information_Data.system_name = std::string(names.sysname) + ' ' + names.release;
}

void Recall_weektime() {
    std::ifstream file(platform::Rooted("/mnt/nand/weektime"));
    Wakeup read;
    file >> read.weekday >> read.hour >> read.minute;
    const bool sane = file && read.weekday >= 0 && read.weekday < 7 && read.hour >= 0 && read.hour < 24 &&
                      read.minute >= 0 && read.minute < 60;
    weektime = sane ? read : Wakeup{};
    weektime.set = sane;
}

void Set_weektime() {
    constexpr std::uint8_t minute_register = 9, hour_register = 10, weekday_register = 12;
    if (!weektime.set || fd_i2c < 0) return;
    platform::Write_Rtc(fd_i2c, minute_register, Rtc_Digits(weektime.minute));
    platform::Write_Rtc(fd_i2c, hour_register, Rtc_Digits(weektime.hour));
    platform::Write_Rtc(fd_i2c, weekday_register, Rtc_Digits(weektime.weekday));
}

void Check_wakeuptime() {
    Recall_weektime();
    Set_weektime();
}

void Init_readOutfile() {
    records_read = 0;
    std::ifstream file(platform::Rooted("/mnt/nand/record.out"));
    while (records_read < corrections && file >> record_out[static_cast<std::size_t>(records_read)]) ++records_read;
}

bool read_record(int entry, double& value) {
    if (entry < 0 || entry >= records_read) return false;
    value = record_out[static_cast<std::size_t>(entry)];
    return true;
}

void Hand_Over_Corrections() {
    std::array<double, platform::corrections_values> values{};
    bool complete = true;
    for (int entry = 0; entry < corrections; ++entry) {
        complete = complete && read_record(entry, values[static_cast<std::size_t>(entry)]);
    }
    if (!complete) std::printf("File could not be opened. \n");
    LOOP_Send_Corrections(complete ? values.data() : nullptr);
}

void show_DSPTGRF_Ver(int which) {
    constexpr std::array elements{platform::dsp_version, platform::tracking_version, platform::rf_version};
    constexpr std::array names{"DSP", "TG", "RF"};
    if (which < 1 || which > 3 || !DSP_Trace_Data) return;
    const auto index = static_cast<std::size_t>(which - 1);
    const double read = platform::Load_Element(DSP_Trace_Data, elements[index]) / 100;
    const double version = read >= 0 && read < 1000 ? read : 0;
    System_Information_Data.versions_core[index] = version;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%s %.2f  ", names[index], version);
    System_Information_Data.versions += text.data();
}

void Append_Application_Version() { System_Information_Data.versions += application_version; }

void Scan_USB() { attached_storage.store(Count_Storage()); }

bool Storage_Changed() { return Count_Storage() != attached_storage.load(); }

void Detect_USB_STATE_FILE() {
    std::ifstream file(platform::Rooted("/tmp/usb_state"));
    for (int line = 1; line < 4; ++line) Read_Line(file);
    USB_Select = Read_Line(file) == "LastType DEVICE" ? 1 : 0;
}

void USBnumberdisplay() {
    constexpr display::Rect count_area{404, 4, 6, 16};
    constexpr int icon_x = 374, icon_y = 4, icon_width = 38, icon_height = 16;
    const int count = attached_storage.load();
    if (count == shown_storage) return;
    shown_storage = count;
    Show_Picture_File(count > 0 ? "USB_on.jpg" : "USB_off.jpg", icon_width, icon_height, icon_x, icon_y, fbVid0);
    const std::string text = count > 0 ? std::to_string(std::min(count, 9)) : std::string();
    display::Draw_Field(fbOsd0, count_area, 12, text,
                        {face_bold, 8, display::palette::pass, display::palette::bar});
}

void Forget_Storage_Shown() { shown_storage = -1; }

void USBSD_ButtonOnOff(int) { Scan_USB(); }
