#pragma once
#include <array>
#include <cstdint>
#include <span>

/// Splitting values into mantissa and unit for display.

struct Formatted_Value {
    std::uint8_t sign = 0xff;  ///< 0xff positive, 1 negative
    int length = 0;            ///< characters of the mantissa
    int unit_group = 0;        ///< 0 to 3: Hz, kHz, MHz, GHz
    double mantissa = 0;
    std::span<const char* const> unit_names{};
};

inline constexpr std::array<const char*, 4> freqUnit{"Hz", "kHz", "MHz", "GHz"};

/// Frequency in Hz, rounded half up at the given decimal; no decimals leaves the mantissa as it is. Magnitudes below
/// 1 Hz stay in Hz.
void freqvalue_trans(double value, int decimals, Formatted_Value& result);

/// "433.920 000 MHz": the whole resolution of 1 Hz in groups of three digits; with trim, groups of zeros behind the first
/// are left away.
void Format_Frequency(double hertz, bool trim, std::span<char> text);

/// "18.0 ms": three to four digits in s, ms or us.
void Format_Time(double seconds, std::span<char> text);

/// "100 kHz"
void Format_Bandwidth(double hertz, std::span<char> text);
