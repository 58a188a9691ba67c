#pragma once
#include <array>
#include <cstdint>

enum Label_Position : int { labels_left = 0, labels_middle, labels_right };

enum Amplitude_Unit : int { unit_dbm = 0, unit_dbmv, unit_dbuv, unit_volt, unit_watt };

/// Vertical settings of each screen.
struct Amp_Record {
    int unit = unit_dbm;
    std::array<int, 2> impedance{};             ///< 0: 50 ohm, 1: 75 ohm
    std::array<int, 2> correction_75{6, 6};     ///< dB, added to displayed levels at 75 ohm
    std::array<int, 2> attenuation_mode{};      ///< 0: follows the reference level, else manual
    std::array<int, 2> displayed_reference{};   ///< dB in dBm, offset and correction included
    std::array<int, 2> reference{};             ///< dBm at the input
    std::array<int, 2> offset{};                ///< dB, external gain or loss
    std::array<int, 2> attenuation{10, 10};     ///< dB, 0 to 50
    std::array<int, 2> attenuation_before{10, 10};  ///< dB, before the last change of the reference level
    std::uint16_t preamplifier_auto = 0;
    std::array<std::uint16_t, 2> preamplifier_in{};
    std::array<std::uint16_t, 2> scale_code{};  ///< 0, 1, 2, 3: 10, 5, 2, 1 dB per division
    std::array<std::uint16_t, 2> scale_type{};  ///< 0: logarithmic, 1: linear
    int labels = 1;                             ///< 1: the lines of the graticule carry their levels
    int label_position = labels_left;
};
inline Amp_Record Amp;

constexpr int Db_Per_Division(int code) { return code == 0 ? 10 : code == 1 ? 5 : code == 2 ? 2 : 1; }
