#include "platform/beeper.h"

#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

#include "platform/root.h"
#include "platform/virtual/device_files.h"

namespace platform {

namespace {

bool Read_Count(int file, std::uint32_t& count) { return ::pread(file, &count, sizeof count, 0) == sizeof count; }

}  // namespace

int Beep() {
    const int file = ::open(Rooted(device_files::beeper).c_str(), O_RDWR | O_CLOEXEC);
    if (file < 0) return -1;
    std::uint32_t count = 0;
    const bool known = Read_Count(file, count);
    count = (count + 1) & 0x7fffffff;
    const bool written = known && ::pwrite(file, &count, sizeof count, 0) == sizeof count;
    ::close(file);
    return written ? 0 : -1;
}

int Beeps() {
    const int file = ::open(Rooted(device_files::beeper).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return -1;
    std::uint32_t count = 0;
    const bool known = Read_Count(file, count);
    ::close(file);
    return known ? static_cast<int>(count) : -1;
}

}  // namespace platform
