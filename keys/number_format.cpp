#include "keys/number_format.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "keys/level_units.h"
#include "records/amp.h"

namespace {

constexpr std::array<double, 4> group_scale{1, 1e3, 1e6, 1e9};
constexpr int most_group = 3, most_decimals = 10;

/// A unit of a family and its size in the base unit; families stand from large to small.
struct Unit_Step {
    int index;
    double size;
};
constexpr auto frequency_steps = std::to_array<Unit_Step>({{3, 1e9}, {2, 1e6}, {1, 1e3}, {0, 1}});
constexpr auto time_steps =
    std::to_array<Unit_Step>({{6, 1e3}, {5, 1}, {4, 1e-3}, {3, 1e-6}, {2, 1e-9}, {1, 1e-12}, {0, 1e-15}});
constexpr auto volt_steps =
    std::to_array<Unit_Step>({{level_v, 1}, {level_mv, 1e-3}, {level_uv, 1e-6}, {level_nv, 1e-9}});
constexpr auto watt_steps = std::to_array<Unit_Step>(
    {{level_w, 1}, {level_mw, 1e-3}, {level_uw, 1e-6}, {level_nw, 1e-9}, {level_pw, 1e-12}, {level_fw, 1e-15}});
constexpr auto bit_rate_steps = std::to_array<Unit_Step>({{2, 1e6}, {1, 1e3}, {0, 1}});
constexpr int time_ns = 2;

int Integer_Digits(double magnitude) {
    constexpr int more_than_any_unit = 300;
    int digits = 0;
    for (double quotient = magnitude; quotient >= 1 && digits < more_than_any_unit; quotient /= 10) ++digits;
    return std::max(digits, 1);
}

/// Rounds half up at the decimal and cuts what follows. Mantissas below 1000 only.
double Cut(double mantissa, int decimals, int length) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%3.10f", mantissa);
    const auto place = static_cast<std::size_t>(length);
    if (place >= text.size()) return mantissa;
    if (text[place] > '4') {
        std::snprintf(text.data(), text.size(), "%3.10f", mantissa + std::pow(10.0, -decimals));
    }
    for (std::size_t i = place; i < text.size() && text[i]; ++i) text[i] = '0';
    return std::atof(text.data());
}

double Rounded(double magnitude, int decimals) {
    const double scale = std::pow(10.0, std::clamp(decimals, 0, most_decimals));
    const double scaled = magnitude * scale;
    // 1.005 is a little less in binary and shall go up all the same.
    return std::isfinite(scaled) ? std::floor(scaled + scaled * 4e-16 + 0.5) / scale : magnitude;
}

void Finish(double signed_value, double mantissa, int unit, int decimals, std::span<const char* const> names,
            Formatted_Value& result) {
    result.sign = signed_value < 0 && mantissa > 0 ? 1 : 0xff;
    result.mantissa = result.sign == 1 ? -mantissa : mantissa;
    result.unit_group = unit;
    result.unit_names = names;
    result.length = std::snprintf(nullptr, 0, "%.*f", std::clamp(decimals, 0, most_decimals), mantissa);
}

/// The largest unit of whose thousandths there are, rounded, at least a thousand.
void Split(double value, int decimals, std::span<const Unit_Step> steps, std::span<const char* const> names,
           Formatted_Value& result) {
    const double magnitude = std::fabs(value);
    const auto found = std::find_if(steps.begin(), steps.end() - 1, [&](const Unit_Step& step) {
        return Rounded(magnitude * (1000 / step.size), decimals) >= 1000;
    });
    Finish(value, Rounded(magnitude / found->size, decimals), found->index, decimals, names, result);
}

void Decibels(double value, int unit, int decimals, std::span<const char* const> names, Formatted_Value& result) {
    Finish(value, Rounded(std::fabs(value), decimals), unit, decimals, names, result);
}

void Show_No_Value(std::span<char> text) { std::snprintf(text.data(), text.size(), "---"); }

/// A frequency with its decimals in groups of three; with trim, groups of zeros behind the first are left away.
void Group_Decimals(const Formatted_Value& formatted, int decimals, bool trim, std::span<char> text) {
    std::array<char, 64> digits{}, grouped{};
    const int count = Print_Number(formatted.mantissa, decimals, false, digits);
    std::size_t length = 0;
    const char* point = std::strchr(digits.data(), '.');
    for (const char* c = digits.data(); c < digits.data() + count && length + 2 < grouped.size(); ++c) {
        if (point && c > point + 1 && (c - point - 1) % 3 == 0) {
            if (trim && std::strspn(c, "0") == std::strlen(c)) break;
            grouped[length++] = ' ';
        }
        grouped[length++] = *c;
    }
    std::snprintf(text.data(), text.size(), "%s %s", grouped.data(),
                  freqUnit[static_cast<std::size_t>(formatted.unit_group)]);
}

void Level_In(int unit, double dbm, int decimals, Formatted_Value& result) {
    const double value = AmplUnitTrans(dbm, unit, 1);
    switch (unit) {
        case unit_volt: return Split(value, decimals, volt_steps, ampUnit, result);
        case unit_watt: return Split(value, decimals, watt_steps, ampUnit, result);
        case unit_dbmv: case unit_dbuv: return Decibels(value, unit, decimals, ampUnit, result);
        default: return Decibels(value, unit_dbm, decimals, ampUnit, result);
    }
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
    if (group > most_group) {
        group = most_group;
        rest = digits - 3 * group;
    }
    double mantissa = magnitude / group_scale[static_cast<std::size_t>(group)];
    if (decimals <= 0) {
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

void bw_freqvalue_trans(double hertz, int decimals, Formatted_Value& result) {
    Split(std::fabs(hertz), decimals, frequency_steps, freqUnit, result);
}

void marker_freqvalue_trans(double hertz, int decimals, Formatted_Value& result) {
    Split(hertz, decimals, frequency_steps, freqUnit, result);
}

void secvalue_trans(double seconds, int decimals, Formatted_Value& result) {
    Split(seconds, decimals, time_steps, secUnit, result);
    if (seconds == 0) result.unit_group = time_ns;
}

void ampvalue_trans(double dbm, int decimals, Formatted_Value& result) {
    Level_In(Amp.unit, dbm, decimals, result);
}

void attvalue_trans(double decibels, int decimals, Formatted_Value& result) {
    Decibels(std::max(decibels, 0.0), 0, decimals, dbUnit, result);
}

void deltavalue_trans(double decibels, int decimals, Formatted_Value& result) {
    Decibels(decibels, 0, decimals, dbUnit, result);
}

void bpsvalue_trans(double bits, int decimals, Formatted_Value& result) {
    Split(std::fabs(bits), decimals, bit_rate_steps, bpsUnit, result);
}

int Print_Number(double value, int decimals, bool trim, std::span<char> text) {
    if (text.empty()) return 0;
    std::array<char, 352> whole{};  // the longest double has 309 digits before its point
    if (!std::isfinite(value)) {
        std::snprintf(whole.data(), whole.size(), "---");
    } else {
        std::snprintf(whole.data(), whole.size(), "%.*f", std::clamp(decimals, 0, 30), value);
    }
    std::string_view shown = whole.data();
    if (trim && shown.find('.') != std::string_view::npos) {
        shown = shown.substr(0, shown.find_last_not_of('0') + 1);
        if (shown.back() == '.') shown.remove_suffix(1);
    }
    if (shown.front() == '-' && shown != "---" && shown.find_first_of("123456789") == std::string_view::npos) {
        shown.remove_prefix(1);
    }
    const std::size_t length = std::min(shown.size(), text.size() - 1);
    std::copy_n(shown.begin(), length, text.begin());
    text[length] = '\0';
    return static_cast<int>(length);
}

void Format_Value(const Formatted_Value& value, int decimals, bool trim, std::span<char> text) {
    const auto length = static_cast<std::size_t>(Print_Number(value.mantissa, decimals, trim, text));
    const auto unit = static_cast<std::size_t>(value.unit_group);
    if (unit >= value.unit_names.size() || text.empty()) return;
    std::snprintf(text.data() + length, text.size() - length, " %s", value.unit_names[unit]);
}

void Format_Frequency(double hertz, bool trim, std::span<char> text) {
    Formatted_Value formatted;
    freqvalue_trans(std::isfinite(hertz) ? std::round(hertz) : hertz, 0, formatted);
    Group_Decimals(formatted, 3 * formatted.unit_group, trim, text);
}

void Format_Time(double seconds, std::span<char> text) {
    constexpr int unit_s = 5, unit_ms = 4;
    Formatted_Value formatted;
    secvalue_trans(seconds, 1, formatted);
    const int unit = formatted.unit_group = std::min(formatted.unit_group, unit_s);
    const auto step = std::ranges::find(time_steps, unit, &Unit_Step::index);
    const double shown = std::fabs(seconds) / step->size;
    int decimals = 2;
    if (shown >= 99.9995 || (shown >= 99.995 && unit != unit_s)) {
        decimals = 1;
    } else if (unit == unit_s || (unit == unit_ms && shown < 9.9995)) {
        decimals = 3;
    }
    Finish(seconds, Rounded(shown, decimals), unit, decimals, secUnit, formatted);
    Format_Value(formatted, decimals, seconds == 0, text);
}

void Format_Bandwidth(double hertz, std::span<char> text) {
    Formatted_Value formatted;
    bw_freqvalue_trans(hertz, 3, formatted);
    Format_Value(formatted, 3, true, text);
}

void Format_Level(double dbm, std::span<char> text) {
    constexpr int decimals = 2;
    Formatted_Value formatted;
    ampvalue_trans(dbm, decimals, formatted);
    Format_Value(formatted, decimals, false, text);
}

void Show_MFvalue_Chunit(double hertz, double resolution, std::span<char> text) {
    if (!std::isfinite(hertz)) return Show_No_Value(text);
    const double finest = std::pow(10, std::floor(std::log10(std::max(resolution, 0.1)) + 1e-9));
    const double rounded = std::round(hertz / finest) * finest;
    Formatted_Value formatted;
    marker_freqvalue_trans(rounded, 0, formatted);
    const auto size = group_scale[static_cast<std::size_t>(formatted.unit_group)];
    const int decimals = std::clamp(static_cast<int>(std::lround(std::log10(size / finest))), 0, most_decimals);
    marker_freqvalue_trans(rounded, decimals, formatted);
    Group_Decimals(formatted, decimals, false, text);
}

void Show_MCFvalue_Chunit(double hertz, double resolution, std::span<char> text) {
    Show_MFvalue_Chunit(hertz, resolution, text);
}

void Show_Timevalue_Chunit(double seconds, std::span<char> text) {
    if (!std::isfinite(seconds)) return Show_No_Value(text);
    Formatted_Value formatted;
    secvalue_trans(seconds, 3, formatted);
    Format_Value(formatted, 3, seconds == 0, text);
}

void Show_MAvalue_Chunit(double dbm, std::span<char> text) {
    if (!std::isfinite(dbm)) return Show_No_Value(text);
    Format_Level(dbm, text);
}

void Show_DMAvalue_Chunit(double decibels, std::span<char> text) {
    if (!std::isfinite(decibels)) return Show_No_Value(text);
    Formatted_Value formatted;
    deltavalue_trans(decibels, 2, formatted);
    Format_Value(formatted, 2, false, text);
}

void Show_Noise_Density(double dbm, int decimals, std::span<char> text) {
    if (!std::isfinite(dbm)) return Show_No_Value(text);
    Formatted_Value formatted;
    ampvalue_trans(dbm, decimals, formatted);
    Format_Value(formatted, decimals, false, text);
    const std::size_t length = std::strlen(text.data());
    std::snprintf(text.data() + length, text.size() - length, "%s", Amp.unit == unit_volt ? "/\u221aHz" : "/Hz");
}

void Format_Three_Digits(double dbm, int unit, std::span<char> text) {
    constexpr int digits = 3;
    const auto decimals = [](double mantissa) { return mantissa < 10 ? 2 : mantissa < 100 ? 1 : 0; };
    Formatted_Value formatted;
    for (int tried = digits - 1; tried >= 0; --tried) {
        Level_In(unit, dbm, tried, formatted);
        if (decimals(formatted.mantissa) >= tried) break;
    }
    if (dbm <= no_level) formatted = {.unit_group = unit, .unit_names = ampUnit};
    Format_Value(formatted, decimals(formatted.mantissa), formatted.mantissa == 0, text);
}
