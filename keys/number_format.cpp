#include "keys/number_format.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::array<double, 4> group_scale{1, 1e3, 1e6, 1e9};
constexpr int most_group = 3;

int Integer_Digits(double magnitude) {
    int digits = 0;
    for (double quotient = magnitude; quotient >= 1 && digits < 300; quotient /= 10) ++digits;
    return std::max(digits, 1);
}

/// Rounds half up at the decimal and cuts what follows.
double Cut(double mantissa, int decimals, int length) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%3.10f", mantissa);
    const auto place = static_cast<std::size_t>(length);
    if (text[place] > '4') {
        std::snprintf(text.data(), text.size(), "%3.10f", mantissa + std::pow(10.0, -decimals));
    }
    for (std::size_t i = place; i < 16 && text[i]; ++i) text[i] = '0';
    return std::atof(text.data());
}

}  // namespace

void freqvalue_trans(double value, int decimals, Formatted_Value& result) {
    const double magnitude = std::fabs(value);
    const int digits = Integer_Digits(magnitude);
    int group = digits / 3, rest = digits % 3;
    if (rest == 0) {
        --group;
        rest = 3;
    }
    group = std::min(group, most_group);
    double mantissa = magnitude / group_scale[static_cast<std::size_t>(group)];
    if (decimals == 0) {
        result.length = rest + 3 * group + (group > 0 ? 1 : 0);
    } else {
        result.length = decimals + (mantissa < 10 ? 2 : mantissa < 100 ? 3 : 4);
        if (mantissa < 1000) mantissa = Cut(mantissa, decimals, result.length);
    }
    result.sign = value < 0 ? 1 : 0xff;
    result.unit_group = group;
    result.mantissa = value < 0 ? -mantissa : mantissa;
    result.unit_names = freqUnit;
}

void Format_Frequency(double hertz, bool trim, std::span<char> text) {
    Formatted_Value formatted;
    freqvalue_trans(hertz, 0, formatted);
    const int decimals = 3 * formatted.unit_group;
    std::array<char, 64> digits{};
    std::snprintf(digits.data(), digits.size(), "%.*f", decimals, formatted.mantissa);
    std::array<char, 64> grouped{};
    std::size_t length = 0;
    const char* point = std::strchr(digits.data(), '.');
    for (const char* c = digits.data(); *c; ++c) {
        if (point && c > point + 1 && (c - point - 1) % 3 == 0) {
            if (trim && std::strspn(c, "0") == std::strlen(c)) break;
            grouped[length++] = ' ';
        }
        grouped[length++] = *c;
    }
    std::snprintf(text.data(), text.size(), "%s %s", grouped.data(),
                  freqUnit[static_cast<std::size_t>(formatted.unit_group)]);
}

void Format_Time(double seconds, std::span<char> text) {
    const double ms = seconds * 1e3, us = seconds * 1e6;
    if (seconds >= 1) {
        std::snprintf(text.data(), text.size(), "%.*f s", seconds >= 100 ? 1 : 3, seconds);
    } else if (ms >= 1) {
        std::snprintf(text.data(), text.size(), "%.*f ms", ms >= 100 ? 1 : ms >= 10 ? 2 : 3, ms);
    } else {
        std::snprintf(text.data(), text.size(), "%.*f us", us >= 100 ? 1 : 2, us);
    }
}

void Format_Bandwidth(double hertz, std::span<char> text) {
    Formatted_Value formatted;
    freqvalue_trans(hertz, 0, formatted);
    std::snprintf(text.data(), text.size(), "%g %s", formatted.mantissa,
                  freqUnit[static_cast<std::size_t>(formatted.unit_group)]);
}
