#pragma once

namespace platform {

/// Brightness of the screen's back-light, 0 (dark) to 100 percent; out-of-range values are held. 0 or -1 with errno.
int Set_Backlight(int percent);

/// Present brightness in percent, or -1 with errno.
int Get_Backlight();

}  // namespace platform
