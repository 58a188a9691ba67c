#pragma once
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

}  // namespace menus
