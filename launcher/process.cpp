#include "launcher/process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

// Debian 12's header leaves out the C linkage.
extern "C" {
#include <sys/pidfd.h>
}

namespace launcher {

namespace {

constexpr std::size_t text_limit = 4096;

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error("can't " + what + ": " + std::strerror(errno));
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Environment_With(const std::vector<std::string>& settings) {
    std::vector<std::string> all = settings;
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (!std::string_view(*entry).starts_with("KVA720_"))
            all.emplace_back(*entry);
    return all;
}

/// The child's side up to the program's start. Only calls that are safe after a fork.
[[noreturn]] void Become(const char* program, char** arguments, char** environment, int output, int log, int parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127);
    // A Ctrl-C of the terminal is ours to hand on, in order.
    ::setpgid(0, 0);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    const int nothing = ::open("/dev/null", O_RDONLY);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::execve(program, arguments, environment);
    const char* reason = std::strerror(errno);
    for (const char* part : {"can't start ", program, ": ", reason, "\n"})
        [[maybe_unused]] const auto written = ::write(STDERR_FILENO, part, std::strlen(part));
    ::_exit(127);
}

}  // namespace

Process Start(const std::string& program, const std::vector<std::string>& arguments,
              const std::vector<std::string>& environment, const std::string& log, Output output) {
    Process process;
    process.name = program.substr(program.rfind('/') + 1);
    process.log = log;

    std::vector<std::string> all_arguments{program};
    all_arguments.insert(all_arguments.end(), arguments.begin(), arguments.end());
    const std::vector<std::string> all_settings = Environment_With(environment);
    const std::vector<char*> argument_pointers = Pointers(all_arguments);
    const std::vector<char*> setting_pointers = Pointers(all_settings);

    const int log_file = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    if (log_file < 0)
        Fail("write " + log);
    std::array<int, 2> pipe{-1, -1};
    if (output == Output::to_read && ::pipe2(pipe.data(), O_CLOEXEC) != 0)
        Fail("make a pipe");
    const int parent = ::getpid();
    process.pid = ::fork();
    if (process.pid == 0)
        Become(program.c_str(), const_cast<char**>(argument_pointers.data()),
               const_cast<char**>(setting_pointers.data()), output == Output::to_read ? pipe[1] : log_file, log_file,
               parent);
    const int error = errno;
    ::close(log_file);
    if (pipe[1] >= 0)
        ::close(pipe[1]);
    errno = error;
    if (process.pid < 0)
        Fail("start " + program);
    process.output = pipe[0];
    if (process.output >= 0)
        ::fcntl(process.output, F_SETFL, O_NONBLOCK);
    process.handle = ::pidfd_open(process.pid, 0);
    if (process.handle >= 0) {
        ::fcntl(process.handle, F_SETFD, FD_CLOEXEC);
        return process;
    }
    const int handle_error = errno;
    ::kill(process.pid, SIGKILL);
    Reap(process);
    errno = handle_error;
    Fail("watch " + program);
}

void Read_Output(Process& process) {
    std::array<char, 512> bytes;
    while (process.output >= 0) {
        const auto size = ::read(process.output, bytes.data(), bytes.size());
        if (size < 0)
            return;
        if (size == 0) {
            ::close(process.output);
            process.output = -1;
            return;
        }
        const auto room = text_limit - process.text.size();
        process.text.append(bytes.data(), std::min<std::size_t>(room, static_cast<std::size_t>(size)));
    }
}

int Reap(Process& process) {
    int status = 0;
    while (::waitpid(process.pid, &status, 0) < 0 && errno == EINTR) {
    }
    for (int* descriptor : {&process.handle, &process.output}) {
        if (*descriptor >= 0)
            ::close(*descriptor);
        *descriptor = -1;
    }
    process.pid = -1;
    return status;
}

void Stop(Process& process, std::chrono::milliseconds limit) {
    if (process.pid < 0)
        return;
    ::kill(process.pid, SIGTERM);
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd ended{process.handle, POLLIN, 0};
        const int ready = ::poll(&ended, 1, static_cast<int>(std::max(left, std::chrono::milliseconds(0)).count()));
        if (ready > 0)
            break;
        if (ready < 0 && errno == EINTR)
            continue;
        ::kill(process.pid, SIGKILL);
        break;
    }
    Reap(process);
}

std::string Describe_Status(int status) {
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status)) + " (" + ::strsignal(WTERMSIG(status)) + ")";
    return "status " + std::to_string(WEXITSTATUS(status));
}

std::string Last_Line(const std::string& log) {
    std::ifstream file(log);
    std::string line, last;
    while (std::getline(file, line))
        if (line.find_first_not_of(" \t\r") != std::string::npos)
            last = line;
    return last;
}

}  // namespace launcher
