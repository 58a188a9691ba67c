#pragma once
#include <array>
#include <optional>
#include <string_view>

/// The instrument's settings that are entered as text: in a field of the page, or as the body of a request.
namespace web {

enum class Unit { hertz, dbm };

struct Setting {
    const char* name;  ///< as the local socket knows it
    Unit unit;
};

constexpr std::array<Setting, 3> settings{{
    {"center", Unit::hertz},
    {"span", Unit::hertz},
    {"reference", Unit::dbm},
}};

constexpr std::size_t longest_value = 40;  ///< bytes of a value's text

/// Null for a name that is none.
const Setting* Find_Setting(std::string_view name);

/// A typed value in Hz or dBm. A frequency without a unit is in MHz; k, M and G do without "Hz", capitals do not
/// matter. Nothing for a text that is no value or out of all reason; the instrument's own limits are the instrument's.
std::optional<double> Parse_Value(Unit unit, std::string_view text);

}  // namespace web
