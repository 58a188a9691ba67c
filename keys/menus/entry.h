#pragma once
#include <string_view>

#include "keys/page.h"

/// What the menu families share.
namespace menus {

/// Shows a family's first page with nothing highlighted; digits are no value until a soft key gives them one.
void Open_First_Page(Menu_Page& page);

/// Makes the parameter of a soft key the one that digits, arrows and knob work on. The unit type chooses its unit page,
/// see Num_HwKey.
void Begin_Entry(char unit_type, bool may_be_negative);

/// A key without value: digits are ignored.
void No_Entry();

/// Shows a name and a frequency in Hz, a time in s or a level in dBm in the entry field.
void Show_Frequency_Entry(std::string_view name, double hertz);
void Show_Time_Entry(std::string_view name, double seconds);
void Show_Level_Entry(std::string_view name, double dbm);

}  // namespace menus
