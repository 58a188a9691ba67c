#pragma once
#include <array>
#include <cstdint>

constexpr std::uint8_t key_idle = 0xff;
constexpr std::uint16_t no_point = 255;
constexpr int typed_digits = 12;
constexpr int typed_characters = 16;  ///< of dotted entries, whose points are stored like digits, and of words

/// State of the number being typed and of the key being turned.
struct All_Key_Record {
    std::uint8_t count = 0;                    ///< digits typed, 0 to 12; dotted entries count points, to 15
    std::uint8_t unit_group = key_idle;        ///< frequency: 0 Hz to 3 GHz; time: index of the unit table
    std::uint8_t sign = key_idle;              ///< 1 while the minus sign is on
    std::uint8_t clear = key_idle;             ///< 1: blank the field before the next digit
    char unit_type = '4';                      ///< what is being entered, see Num_HwKey; '2' to '5' no value
    std::array<std::uint8_t, typed_characters> digit{};  ///< ASCII, 0xff where empty
    std::uint16_t point = no_point;            ///< digits before the decimal point
    std::uint16_t right = 0, left = 0, up = 0, down = 0;  ///< steps of the arrows and the knob
    double value = 0;                          ///< the confirmed value in base units
};
inline All_Key_Record AllKeyVar;

inline std::uint8_t Keypad_AllKeyVarunitype = 0;  ///< unit type just before the key in hand
inline std::int32_t numberIndex = 0;              ///< cursor in the drawn number; its sign is not counted
inline std::int32_t Keypad_Keyin_Type_Lock = 0;   ///< 1 from the first digit until a soft or hard key
inline std::int32_t FLAG_BLOCK_MINUS_KEY = 1;
inline std::int32_t HWkeyIdx = 0;
inline std::int32_t Keylink_HwInit = 0;
inline std::int32_t Keylink_SwInit = 0;
enum Covered_Value { covers_rbw = 1, covers_time_long, covers_time_short, covers_uncal };
/// The value in whose place a warning stands, 0 none: 1 RBW, 2 to 4 sweep time, 5 demodulation delay, 6 marker frequency
/// of a limit line, 7 the password field.
inline std::int32_t Check_warning = 0;
inline std::int32_t Check_block3 = 0;             ///< 1: the third status block must be redrawn
inline std::int32_t Marker_Limit_Two_Point = 0;   ///< 1: the second point from the marker to a limit line is waited for
inline std::int32_t Near_DC_Search_Flag = 0;      ///< 1 while a peak search near 0 Hz runs; hard keys wait

/// The name that is being typed.
enum class Name_Entry : std::uint8_t { none, file, state, web_password, pattern, sync_word, limit_line };
inline Name_Entry Name_Entry_Open = Name_Entry::none;
