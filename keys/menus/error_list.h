#pragma once

namespace menus {

/// Shows the newest state of the error queue, oldest entry first, 20 entries a page.
void Open_Error_List();

/// Its soft keys: 0 previous page, 1 next page, 2 clear.
void Press_Error_List(int key);

}  // namespace menus
