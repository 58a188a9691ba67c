#include "keys/unit_pages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <span>

#include "keys/level_units.h"
#include "keys/messages.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "records/keystate.h"

namespace {

constexpr int attention_address = 60, attention_date = 61, attention_clock = 62;
constexpr int word_letters = 6;

/// A unit key: the value is the number times one factor, divided by another, plus an offset.
struct Unit_Key {
    const char* name;
    double times = 1, per = 1, offset = 0;
    double most = 1e12;  ///< of the typed number
};

constexpr auto decibel_keys = std::to_array<Unit_Key>({{.name = "dB", .most = most_decibels}});
constexpr auto carrier_keys = std::to_array<Unit_Key>({{.name = "dBc", .most = most_decibels}});
constexpr auto percent_keys = std::to_array<Unit_Key>({{.name = "%"}});
constexpr auto plain_keys = std::to_array<Unit_Key>({{.name = ""}});
constexpr auto density_keys = std::to_array<Unit_Key>(
    {{.name = "dBm/Hz", .most = most_decibels}, {.name = "dBm/MHz", .offset = -60, .most = most_decibels}});
constexpr auto bit_rate_keys = std::to_array<Unit_Key>({{.name = "Mbps", .times = 1e6, .most = most_bit_rate / 1e6},
                                                        {.name = "kbps", .times = 1e3, .most = most_bit_rate / 1e3},
                                                        {.name = "bps", .most = most_bit_rate}});
constexpr auto demod_keys = std::to_array<Unit_Key>({{.name = "MHz", .times = 1e6},
                                                     {.name = "kHz", .times = 1e3},
                                                     {.name = "Hz"},
                                                     {.name = "%"},
                                                     {.name = "V"},
                                                     {.name = "mV", .per = 1e3}});
constexpr auto emc_keys = std::to_array<Unit_Key>({{.name = "dBuV", .most = most_decibels},
                                                   {.name = "dBuV/m", .most = most_decibels},
                                                   {.name = "dBuA", .most = most_decibels},
                                                   {.name = "dBuA/m", .most = most_decibels},
                                                   {.name = "dBpT", .most = most_decibels}});
constexpr auto factor_keys = std::to_array<Unit_Key>({{.name = "dB", .most = most_decibels},
                                                      {.name = "dB/m", .most = most_decibels},
                                                      {.name = "dBohm", .most = most_decibels}});
constexpr auto duration_keys = std::to_array<Unit_Key>(
    {{.name = "h", .times = 3600}, {.name = "min", .times = 60}, {.name = "s"}, {.name = "ms", .per = 1e3}});

void Take_Unit(int group) {
    AllKeyVar.unit_group = static_cast<std::uint8_t>(group);
    AllKeyVar.clear = 1;
}

double Typed_Within(double most) { return std::clamp(Typed_Number(), -most, most); }

void Enter_Scaled(std::span<const Unit_Key> keys, int key) {
    if (key < 0 || key >= static_cast<int>(keys.size())) return;
    const Unit_Key& unit = keys[static_cast<std::size_t>(key)];
    Take_Unit(key);
    const double number = Typed_Within(unit.most);
    enter_numKey(number, Typed_Decimals(), unit.name);
    Confirm_Entry(number * unit.times / unit.per + unit.offset);
}

void Enter_Level(std::span<const Level_Unit> units, int key) {
    if (key < 0 || key >= static_cast<int>(units.size())) return;
    const Level_Unit unit = units[static_cast<std::size_t>(key)];
    Take_Unit(unit);
    const bool logarithmic = unit == level_dbm || unit == level_dbmv || unit == level_dbuv;
    const double number = logarithmic ? Typed_Within(most_decibels) : Typed_Number();
    enter_numKey(number, Typed_Decimals(), ampUnit[static_cast<std::size_t>(unit)]);
    Confirm_Entry(std::clamp(AmplUnitTrans(number, unit, 0), -most_decibels, most_decibels));
}

/// The typed number stays as it is, to be corrected.
void Refuse(int attention) {
    ThirdAttentionwords(attention);
    Check_warning = 1;
}

void Enter_Text(double value, std::string_view text) {
    Take_Unit(0);
    Show_Number(text);
    Confirm_Entry(value);
}

/// The address that is typed, or -1.
double Typed_Address() {
    double address = 0;
    int part = 0, digits = 0, parts = 0;
    for (int i = 0; i <= AllKeyVar.count; ++i) {
        const int c = i < AllKeyVar.count ? AllKeyVar.digit[static_cast<std::size_t>(i)] : '.';
        if (c == '.') {
            if (digits == 0 || part > 255 || ++parts > 4) return -1;
            address = address * 256 + part;
            part = digits = 0;
        } else if (c < '0' || c > '9' || ++digits > 3) {
            return -1;
        } else {
            part = part * 10 + c - '0';
        }
    }
    return parts == 4 ? address : -1;
}

bool Is_Day(int year, int month, int day) {
    constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 2000 || year > 2099 || month < 1 || month > 12 || day < 1) return false;
    const bool leap_day = month == 2 && year % 4 == 0;  // 2000 is one, too
    return day <= days[static_cast<std::size_t>(month - 1)] + (leap_day ? 1 : 0);
}

/// What is typed as a whole number of two-digit groups, or -1.
int Typed_Groups() {
    const double number = Typed_Number();
    return AllKeyVar.point == no_point && number >= 0 && number <= most_whole ? static_cast<int>(number) : -1;
}

}  // namespace

void ampNumBase(int key) { Enter_Level(std::array{level_dbm, level_dbmv, level_dbuv}, key); }
void voltNumBase(int key) { Enter_Level(std::array{level_v, level_mv, level_uv, level_nv}, key); }
void wattNumBase(int key) {
    Enter_Level(std::array{level_w, level_mw, level_uw, level_nw, level_pw, level_fw}, key);
}
void decibelNumBase(int key) { Enter_Scaled(decibel_keys, key); }
void carrierNumBase(int key) { Enter_Scaled(carrier_keys, key); }
void percentNumBase(int key) { Enter_Scaled(percent_keys, key); }
void plainNumBase(int key) { Enter_Scaled(plain_keys, key); }
void densityNumBase(int key) { Enter_Scaled(density_keys, key); }
void bitRateNumBase(int key) { Enter_Scaled(bit_rate_keys, key); }
void demodNumBase(int key) { Enter_Scaled(demod_keys, key); }
void emcNumBase(int key) { Enter_Scaled(emc_keys, key); }
void factorNumBase(int key) { Enter_Scaled(factor_keys, key); }
void durationNumBase(int key) { Enter_Scaled(duration_keys, key); }

void wholeNumBase(int key) {
    if (key != 0) return;
    Take_Unit(0);
    const double number = std::round(Typed_Within(most_whole));
    enter_numKey(number, 0, "");
    Confirm_Entry(number);
}

void addressNumBase(int key) {
    if (key != 0) return;
    const double address = Typed_Address();
    if (address < 0) return Refuse(attention_address);
    const auto bits = static_cast<std::uint32_t>(address);
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%u.%u.%u.%u", bits >> 24, bits >> 16 & 255, bits >> 8 & 255, bits & 255);
    Enter_Text(address, text.data());
}

void dateNumBase(int key) {
    if (key != 0) return;
    const int date = Typed_Groups(), year = date / 10000, month = date / 100 % 100, day = date % 100;
    if (date < 0 || !Is_Day(year, month, day)) return Refuse(attention_date);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", year, month, day);
    Enter_Text(date, text.data());
}

void clockNumBase(int key) {
    if (key != 0) return;
    const int clock = Typed_Groups(), hour = clock / 10000, minute = clock / 100 % 100, second = clock % 100;
    if (clock < 0 || AllKeyVar.count == 0 || hour > 23 || minute > 59 || second > 59) return Refuse(attention_clock);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", hour, minute, second);
    Enter_Text(clock, text.data());
}

void wordNumBase(int key) {
    if (key >= 0 && key < word_letters) return Type_Letter(static_cast<char>('A' + key));
    if (key != word_letters) return;
    double word = 0;
    for (int i = 0; i < AllKeyVar.count; ++i) {
        const int c = AllKeyVar.digit[static_cast<std::size_t>(i)];
        word = word * 16 + (c >= 'A' && c <= 'F' ? c - 'A' + 10 : c >= '0' && c <= '9' ? c - '0' : 0);
    }
    Take_Unit(0);
    Confirm_Entry(word);
}
