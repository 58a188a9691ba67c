#pragma once

namespace platform {

/// Sounds a short warning tone and doesn't wait for its end. 0 or -1 with errno.
int Beep();

/// How many tones a virtual machine's beeper has sounded, for who shall hear them; -1 where nothing counts them.
int Beeps();

}  // namespace platform
