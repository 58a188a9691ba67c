#pragma once
#include <array>
#include <cstdint>
#include <span>

/// Splitting values into mantissa and unit for display.

struct Formatted_Value {
    std::uint8_t sign = 0xff;  ///< 0xff positive, 1 negative
    int length = 0;            ///< characters of the mantissa without its sign
    int unit_group = 0;        ///< index into unit_names; for frequencies 0 to 3: Hz, kHz, MHz, GHz
    double mantissa = 0;       ///< with its sign
    std::span<const char* const> unit_names{};
};

inline constexpr std::array<const char*, 4> freqUnit{"Hz", "kHz", "MHz", "GHz"};
inline constexpr std::array<const char*, 8> secUnit{"fs", "ps", "ns", "us", "ms", "s", "ks", "Ms"};
/// By Level_Unit.
inline constexpr std::array<const char*, 13> ampUnit{"dBm", "dBmV", "dBuV", "V",  "W",  "mW", "uW",
                                                     "nW",  "pW",   "fW",   "mV", "uV", "nV"};
inline constexpr std::array<const char*, 1> dbUnit{"dB"};
inline constexpr std::array<const char*, 3> bpsUnit{"bps", "kbps", "Mbps"};

/// Frequency in Hz, rounded half up at the given decimal; no decimals leaves the mantissa as it is. Magnitudes below
/// 1 Hz stay in Hz. Rounding up to 1000 doesn't change the unit.
void freqvalue_trans(double value, int decimals, Formatted_Value& result);

/// The others round the magnitude half up at the given decimal (0 to 10), first of all; so 999.9996 kHz with three
/// decimals is 1 MHz. What is smaller than their smallest unit, and 0, is shown in it; what is larger than 1000 of the
/// largest stays in that. A value that is no number passes through in the smallest unit, an infinite one in the
/// largest.

/// Bandwidth in Hz; the sign is dropped, since there is no negative one. Hz to GHz.
void bw_freqvalue_trans(double hertz, int decimals, Formatted_Value& result);
/// Frequency of a marker, or its distance from another, in Hz. Hz to GHz.
void marker_freqvalue_trans(double hertz, int decimals, Formatted_Value& result);
/// Time in seconds, fs to ks; 0 is shown in ns, as entered times are.
void secvalue_trans(double seconds, int decimals, Formatted_Value& result);
/// Level in dBm, in the amplitude unit of the instrument: dBm, dBmV or dBuV; V to nV; W to fW.
void ampvalue_trans(double dbm, int decimals, Formatted_Value& result);
/// Attenuation in dB, from 0 up.
void attvalue_trans(double decibels, int decimals, Formatted_Value& result);
/// Distance of two levels in dB.
void deltavalue_trans(double decibels, int decimals, Formatted_Value& result);
/// Bit rate in bits per second; the sign is dropped. bps to Mbps.
void bpsvalue_trans(double bits, int decimals, Formatted_Value& result);

/// Prints a value with trailing zeros behind its point left away, and "0" without a sign; "---" for what is no finite
/// number. Returns its length, cut to the text.
int Print_Number(double value, int decimals, bool trim, std::span<char> text);

/// "-32.41 dBm": a formatted value with its decimals and unit; with trim, zeros at the end are left away.
void Format_Value(const Formatted_Value& value, int decimals, bool trim, std::span<char> text);

/// "433.920 000 MHz": the whole resolution of 1 Hz in groups of three digits; with trim, groups of zeros behind the
/// first are left away.
void Format_Frequency(double hertz, bool trim, std::span<char> text);

/// "18.00 ms": three to five digits in s or less.
void Format_Time(double seconds, std::span<char> text);

/// "100 kHz"
void Format_Bandwidth(double hertz, std::span<char> text);

/// "-32.41 dBm", "223.61 mV": two decimals in the amplitude unit of the instrument.
void Format_Level(double dbm, std::span<char> text);

/// Readouts of markers; "---" for what is no number.
/// Frequency or distance in groups of three decimals, down to the resolution (Hz).
void Show_MFvalue_Chunit(double hertz, double resolution, std::span<char> text);
/// Counted frequency, to its resolution (Hz).
void Show_MCFvalue_Chunit(double hertz, double resolution, std::span<char> text);
void Show_Timevalue_Chunit(double seconds, std::span<char> text);
/// Level in the amplitude unit; difference in dB.
void Show_MAvalue_Chunit(double dbm, std::span<char> text);
void Show_DMAvalue_Chunit(double decibels, std::span<char> text);
/// Noise density given in dBm/Hz, in the amplitude unit per hertz; volts per root of a hertz.
void Show_Noise_Density(double dbm, int decimals, std::span<char> text);
/// "70.7 mV": a level in volts or watts with three digits; "0 V" for no_level.
void Format_Three_Digits(double dbm, int unit, std::span<char> text);
