#pragma once
#include "keys/page.h"

/// A page has become the one that is shown: what stands on the screen with some pages alone comes and goes. Defined with
/// the menus.
void Page_Shown(const Menu_Page& page);
