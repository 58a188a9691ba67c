#include "platform/serial.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/root.h"

namespace platform {

namespace {

constexpr std::array<std::pair<int, speed_t>, 10> speeds{{
    {300, B300}, {600, B600}, {1200, B1200}, {2400, B2400}, {4800, B4800},
    {9600, B9600}, {19200, B19200}, {38400, B38400}, {57600, B57600}, {115200, B115200},
}};

}  // namespace

int Open_Serial(const char* device, int baud_rate) {
    const auto speed = std::ranges::find(speeds, baud_rate, &std::pair<int, speed_t>::first);
    if (speed == speeds.end()) {
        errno = EINVAL;
        return -1;
    }
    const int line = ::open(Rooted(device).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (line < 0) return -1;
    termios settings{};
    settings.c_cflag = CS8 | CREAD | CLOCAL | CRTSCTS;
    settings.c_iflag = IGNPAR;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    ::cfsetispeed(&settings, speed->second);
    ::cfsetospeed(&settings, speed->second);
    // A pseudo-terminal takes the flow control and has none.
    if (::tcflush(line, TCIOFLUSH) == 0 && ::tcsetattr(line, TCSANOW, &settings) == 0) return line;
    const int error = errno;
    ::close(line);
    errno = error;
    return -1;
}

void Close_Serial(int device) {
    if (device >= 0) ::close(device);
}

}  // namespace platform
