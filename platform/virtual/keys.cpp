#include "platform/keys.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "platform/root.h"
#include "platform/virtual/device_files.h"
#include "platform/posix/wait.h"

namespace platform {

int Open_Key_Device(const char* device) {
    return ::open(Rooted(device).c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

std::optional<std::uint8_t> Read_Key(int device) {
    if (device < 0) return std::nullopt;
    while (Wait_Ready(device, POLLIN)) {
        std::uint8_t key = 0;
        const auto size = ::read(device, &key, 1);
        if (size == 1)
            return key;
        if (size == 0 || (errno != EAGAIN && errno != EINTR))
            return std::nullopt;
    }
    return std::nullopt;
}

int Press_Power_Key() {
    const int device = Open_Key_Device(device_files::power_key);
    if (device < 0)
        return -1;
    const std::uint8_t press = 1;
    const bool written = ::write(device, &press, 1) == 1;
    const int error = errno;
    ::close(device);
    errno = error;
    return written ? 0 : -1;
}

void Close_Key_Device(int device) {
    if (device >= 0)
        ::close(device);
}

}  // namespace platform
