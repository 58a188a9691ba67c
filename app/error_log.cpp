#include "records/error_log.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/root.h"

namespace {

constexpr const char* log_path = "/var/log/error.log";
std::mutex own_threads;  // a record lock keeps other processes out, not this one's threads

bool Lock_Whole(int file, short type) {
    struct flock lock{};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    while (fcntl(file, F_SETLKW, &lock) < 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

std::FILE* Open_For_Appending(const char* path) {
    std::FILE* file = nullptr;
    while (!(file = std::fopen(path, "a"))) {
        if (!platform::Sleep_For(std::chrono::milliseconds(10))) return nullptr;
    }
    return file;
}

}  // namespace

void ErrorMessage(const char* text) {
    const std::lock_guard guard(own_threads);
    const std::string path = platform::Rooted(log_path);
    const int locked = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (locked < 0) {
        std::fprintf(stderr, "%s: %s: %s\n", path.c_str(), std::strerror(errno), text);
        return;
    }
    Lock_Whole(locked, F_WRLCK);
    if (std::FILE* log = Open_For_Appending(path.c_str())) {
        std::fprintf(log, "\n%s", text);
        std::fclose(log);
    }
    close(locked);
}
