#include "platform/shell.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

namespace platform {

namespace {

constexpr int status_no_shell = 127;
constexpr int status_signal = 128;  ///< plus the signal that ended the command, as shells have it

/// What the instrument's process ignores or blocks is no business of its commands.
class Plain_Signals {
public:
    Plain_Signals() {
        ::posix_spawnattr_init(&attributes_);
        sigset_t standard, blocked;
        ::sigemptyset(&blocked);
        ::sigemptyset(&standard);
        for (const int signal : {SIGPIPE, SIGINT, SIGQUIT, SIGTERM}) ::sigaddset(&standard, signal);
        ::posix_spawnattr_setsigdefault(&attributes_, &standard);
        ::posix_spawnattr_setsigmask(&attributes_, &blocked);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    Plain_Signals(const Plain_Signals&) = delete;
    Plain_Signals& operator=(const Plain_Signals&) = delete;
    ~Plain_Signals() { ::posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t* Get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

int Exit_Status(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return status_no_shell;
    return WIFEXITED(status) ? WEXITSTATUS(status) : status_signal + WTERMSIG(status);
}

}  // namespace

int Run_Command(std::string_view command) {
    std::string shell = "sh", option = "-c", text(command);
    const std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
    const Plain_Signals signals;
    pid_t child = -1;
    const int error = ::posix_spawn(&child, "/bin/sh", nullptr, signals.Get(), arguments.data(), ::environ);
    if (error == 0) return Exit_Status(child);
    std::fprintf(stderr, "/bin/sh: %s\n", std::strerror(error));
    return status_no_shell;
}

}  // namespace platform
