#pragma once

/// Screens over the graticule that tell of the instrument. The sweep rests while one is shown.

/// Shows the instrument's identity, versions and interfaces; mode and table are kept for the return.
void Show_System_Information();
