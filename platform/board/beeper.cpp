#include "platform/beeper.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace platform {

/// The kernel ends the tone by itself.
int Beep() {
    constexpr unsigned long clock_of_pitch = 1'193'180, pitch = 880, milliseconds = 120;
    const int console = ::open("/dev/tty0", O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (console < 0) return -1;
    const int result = ::ioctl(console, KDMKTONE, milliseconds << 16 | clock_of_pitch / pitch);
    ::close(console);
    return result < 0 ? -1 : 0;
}

int Beeps() {
    errno = ENOTSUP;
    return -1;
}

}  // namespace platform
