#include "platform/backlight.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

#include "platform/root.h"
#include "platform/virtual/device_files.h"

namespace platform {

int Set_Backlight(int percent) {
    const int file = ::open(Rooted(device_files::backlight).c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return -1;
    const auto level = static_cast<std::uint8_t>(std::clamp(percent, 0, 100));
    const bool written = ::pwrite(file, &level, 1, 0) == 1;
    ::close(file);
    return written ? 0 : -1;
}

int Get_Backlight() {
    const int file = ::open(Rooted(device_files::backlight).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return -1;
    std::uint8_t level = 0;
    const bool read = ::pread(file, &level, 1, 0) == 1;
    ::close(file);
    if (!read)
        errno = ENXIO;
    return read ? std::min<int>(level, 100) : -1;
}

}  // namespace platform
