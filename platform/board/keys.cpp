#include "platform/keys.h"

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>

#include "platform/posix/wait.h"

namespace platform {

int Open_Key_Device(const char* device) { return ::open(device, O_RDWR | O_NONBLOCK | O_CLOEXEC); }

std::optional<std::uint8_t> Read_Key(int device) { return Read_Byte(device); }

// The power key is a key; nothing but a finger presses it.
int Press_Power_Key() {
    errno = EOPNOTSUPP;
    return -1;
}

void Close_Key_Device(int device) {
    if (device >= 0) ::close(device);
}

}  // namespace platform
