#pragma once

/// The file name of a limit line while it is typed; defined with the menus.
void Show_Limit_Name();
