#include "web/setting.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>

namespace web {
namespace {

struct Suffix {
    std::string_view letters;  // small
    double factor;
};

constexpr std::array<Suffix, 8> frequency_suffixes{{
    {"", 1e6},
    {"hz", 1},
    {"k", 1e3},
    {"khz", 1e3},
    {"m", 1e6},
    {"mhz", 1e6},
    {"g", 1e9},
    {"ghz", 1e9},
}};
constexpr std::array<Suffix, 3> level_suffixes{{{"", 1}, {"dbm", 1}, {"db", 1}}};

constexpr double most_hertz = 1e12, most_dbm = 1e3;

std::string_view Trim(std::string_view text) {
    const auto blank = [](char letter) { return letter == ' ' || letter == '\t' || letter == '\r' || letter == '\n'; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return text;
}

bool Equal_Small(std::string_view text, std::string_view small) {
    return std::ranges::equal(text, small, [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
}

/// Takes the sign off the text; a keyboard of a phone may give a minus that is no hyphen.
bool Take_Minus(std::string_view& text) {
    for (const std::string_view minus : {"-", "\u2212", "+"}) {
        if (!text.starts_with(minus)) continue;
        text.remove_prefix(minus.size());
        return minus != "+";
    }
    return false;
}

std::optional<double> Factor(std::span<const Suffix> suffixes, std::string_view letters) {
    const auto found = std::ranges::find_if(suffixes, [&](auto& row) { return Equal_Small(letters, row.letters); });
    return found == suffixes.end() ? std::nullopt : std::optional(found->factor);
}

}  // namespace

const Setting* Find_Setting(std::string_view name) {
    const auto found = std::ranges::find_if(settings, [&](const auto& setting) { return name == setting.name; });
    return found == settings.end() ? nullptr : &*found;
}

std::optional<double> Parse_Value(Unit unit, std::string_view text) {
    if (text.size() > longest_value) return std::nullopt;
    text = Trim(text);
    const bool negative = Take_Minus(text);
    // No second sign, and no words such as "inf".
    if (text.empty() || !(text[0] == '.' || (text[0] >= '0' && text[0] <= '9'))) return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{}) return std::nullopt;
    const auto letters = Trim({end, text.data() + text.size()});
    const auto factor = unit == Unit::hertz ? Factor(frequency_suffixes, letters) : Factor(level_suffixes, letters);
    if (!factor) return std::nullopt;
    value *= negative ? -*factor : *factor;
    const double most = unit == Unit::hertz ? most_hertz : most_dbm;
    if (!std::isfinite(value) || std::abs(value) > most) return std::nullopt;
    return value;
}

}  // namespace web
