#include "launcher/instrument.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "launcher/process.h"
#include "launcher/root_folder.h"
#include "launcher/status_query.h"

namespace launcher {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

// A sanitizer build on a busy PC comes up ten times slower than a plain one.
constexpr seconds start_limit{180};
constexpr milliseconds query_period{100};
constexpr milliseconds web_stop_limit{3000}, application_stop_limit{8000}, board_stop_limit{3000}, mapper_stop_limit{2000};
constexpr seconds web_restart_gap{10};

/// Thrown where the start is broken off by a stop signal or by the power key.
struct Stopped {};

void Say(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
}

/// Signals that end the instrument arrive through a descriptor. A launcher in the background of a script has them
/// ignored, yet must end.
int Stop_Signals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM}) {
        ::signal(number, SIG_DFL);
        ::sigaddset(&signals, number);
    }
    ::sigaddset(&signals, SIGHUP);
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    const int descriptor = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor < 0)
        throw std::runtime_error(std::string("can't take signals: ") + std::strerror(errno));
    return descriptor;
}

/// Refuses a port that is taken before anything is started.
void Check_Port_Free(const std::string& address, int port) {
    if (port == 0)
        return;
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    ::inet_pton(AF_INET, address.c_str(), &name.sin_addr);
    const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const bool free =
        ::bind(probe, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0 && ::listen(probe, 1) == 0;
    const int error = errno;
    ::close(probe);
    if (!free)
        throw std::runtime_error("can't listen on " + address + " port " + std::to_string(port) + ": " +
                                 std::strerror(error));
}

bool Port_Mapper_Runs() {
    constexpr std::uint16_t mapper_port = 111;
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(mapper_port);
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool runs = ::connect(probe, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
    ::close(probe);
    return runs;
}

std::string Program_Folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

class Instrument {
  public:
    explicit Instrument(const Options& options)
        : options_(options), signals_(Stop_Signals()), programs_(Program_Folder()), root_(options.root) {}
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;
    ~Instrument() {
        Stop(web_, web_stop_limit);
        Stop(application_, application_stop_limit);
        Stop(board_, board_stop_limit);
        Stop(mapper_, mapper_stop_limit);
        ::close(signals_);
    }

    int Run();

  private:
    void Start_Port_Mapper();
    void Start_Board();
    void Start_Application();
    void Start_Web(int port);
    void Await_Keys();
    int Supervise();

    /// Waits until something happens, at most for the time. Throws Stopped on a signal.
    void Wait(milliseconds time);
    /// The rest of the line that a program prints when it is ready, behind the given beginning.
    std::string Await_Line(Process& process, const std::string& beginning);
    /// Throws when a program has ended before the instrument was ready.
    void Check_Start();
    static bool Has_Ended(const Process& process);
    std::string Log(const char* name) const { return options_.root + "/var/log/" + name + ".log"; }

    const Options& options_;
    int signals_;  // taken first, so that no signal leaves a lock behind
    std::string programs_;
    Root_Folder root_;
    Process board_, application_, web_;
    Process mapper_;  ///< where none has run before
    std::string http_;  ///< ADDR:PORT of the front panel
    std::string scpi_;  ///< ADDR:PORT of raw commands
    std::string hislip_, vxi11_;
    steady_clock::time_point start_end_{};
};

bool Instrument::Has_Ended(const Process& process) {
    pollfd ended{process.handle, POLLIN, 0};
    return process.pid >= 0 && ::poll(&ended, 1, 0) > 0;
}

void Instrument::Wait(milliseconds time) {
    std::array<pollfd, 6> waits{{{signals_, POLLIN, 0}}};
    std::size_t count = 1;
    for (const Process* process : {&board_, &application_, &web_}) {
        if (process->handle >= 0)
            waits[count++] = {process->handle, POLLIN, 0};
        if (process->output >= 0 && count < waits.size())
            waits[count++] = {process->output, POLLIN, 0};
    }
    ::poll(waits.data(), count, static_cast<int>(time.count()));
    if (waits[0].revents != 0)
        throw Stopped{};
    Read_Output(board_);
    Read_Output(web_);
}

void Instrument::Check_Start() {
    for (Process* process : {&board_, &application_, &web_}) {
        if (!Has_Ended(*process))
            continue;
        const int status = Reap(*process);
        if (process == &application_ && WIFEXITED(status) && WEXITSTATUS(status) == 0)
            throw Stopped{};
        const std::string line = Last_Line(process->log);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 2 && !line.empty())
            throw std::runtime_error(line);
        throw std::runtime_error(process->name + " ended at its start with " + Describe_Status(status) + ", see " +
                                 process->log);
    }
    if (steady_clock::now() > start_end_)
        throw std::runtime_error("the instrument did not come up within " + std::to_string(start_limit.count()) +
                                 " s, see the logs in " + options_.root + "/var/log");
}

std::string Instrument::Await_Line(Process& process, const std::string& beginning) {
    for (;;) {
        const std::size_t end = process.text.find('\n');
        if (end != std::string::npos && process.text.starts_with(beginning))
            return process.text.substr(beginning.size(), end - beginning.size());
        if (end != std::string::npos)
            process.text.erase(0, end + 1);
        else {
            Check_Start();
            Wait(query_period);
        }
    }
}

void Instrument::Start_Port_Mapper() {
    Say("starting a port mapper");
    const std::string program = "/usr/sbin/rpcbind";
    if (::access(program.c_str(), X_OK) != 0)
        throw std::runtime_error("can't start a port mapper: the package rpcbind is missing");
    mapper_ = Start(program, {"-f"}, {}, Log("rpcbind"), Output::to_log);
    while (!Port_Mapper_Runs()) {
        if (Has_Ended(mapper_))
            throw std::runtime_error("can't start a port mapper: rpcbind ended with " + Describe_Status(Reap(mapper_)) +
                                     (::geteuid() != 0 ? "; it needs root's rights" : ", see " + mapper_.log));
        if (steady_clock::now() > start_end_)
            throw std::runtime_error("can't start a port mapper: rpcbind doesn't listen, see " + mapper_.log);
        Wait(query_period);
    }
}

void Instrument::Start_Board() {
    Say("starting the board");
    std::vector<std::string> arguments{"--root=" + options_.root};
    if (options_.fast)
        arguments.emplace_back("--fast");
    arguments.insert(arguments.end(), options_.board.begin(), options_.board.end());
    board_ = Start(programs_ + "/kva720-board", arguments, {}, Log("kva720-board"), Output::to_read);
    Await_Line(board_, "board ready");
}

void Instrument::Start_Application() {
    Say("starting the instrument");
    std::vector<std::string> environment{"KVA720_ROOT=" + options_.root, "KVA720_LISTEN=" + options_.listen,
                                         "KVA720_SCPI_PORT=" + std::to_string(options_.scpi_port)};
    if (options_.hislip_port >= 0)
        environment.emplace_back("KVA720_HISLIP_PORT=" + std::to_string(options_.hislip_port));
    if (!options_.vxi11)
        environment.emplace_back("KVA720_VXI11=0");
    if (options_.fast)
        environment.emplace_back("KVA720_FAST=1");
    application_ = Start(programs_ + "/kva720", {}, environment, Log("kva720"), Output::to_log);
}

void Instrument::Start_Web(int port) {
    const std::string page = std::filesystem::path(programs_).parent_path().string() + "/share/page";
    web_ = Start(programs_ + "/kva720-web",
                 {"--root=" + options_.root, "--listen=" + options_.listen, "--http-port=" + std::to_string(port),
                  "--page=" + page},
                 {}, Log("kva720-web"), Output::to_read);
}

/// The keys are dead until the start-up pictures are through, some 15 s.
void Instrument::Await_Keys() {
    for (;;) {
        Check_Start();
        const Status status = Ask_Status(options_.root);
        if (status.takes_keys && status.vxi11 != "starting") {
            scpi_ = status.scpi;
            hislip_ = status.hislip;
            vxi11_ = status.vxi11;
            return;
        }
        Wait(query_period);
    }
}

int Instrument::Supervise() {
    std::optional<steady_clock::time_point> web_restart;
    for (;;) {
        Wait(milliseconds(-1));
        if (Has_Ended(application_)) {
            const int status = Reap(application_);
            if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
                return 0;
            Say("kva720 has died with " + Describe_Status(status) + ", see " + application_.log);
            return 1;
        }
        if (Has_Ended(board_)) {
            Say("kva720-board has died with " + Describe_Status(Reap(board_)) + ", see " + board_.log);
            return 1;
        }
        if (!Has_Ended(web_))
            continue;
        // The front panel is a program of its own so that its faults leave the instrument alone.
        Say("kva720-web has died with " + Describe_Status(Reap(web_)) + ", see " + web_.log);
        if (web_restart && steady_clock::now() - *web_restart < web_restart_gap)
            return 1;
        web_restart = steady_clock::now();
        Start_Web(std::stoi(http_.substr(http_.rfind(':') + 1)));
    }
}

int Instrument::Run() {
    Check_Port_Free(options_.listen, options_.http_port);
    Check_Port_Free(options_.listen, options_.scpi_port);
    if (options_.hislip_port >= 0)
        Check_Port_Free(options_.listen, options_.hislip_port);
    start_end_ = steady_clock::now() + start_limit;
    try {
        if (options_.port_mapper && options_.vxi11 && !Port_Mapper_Runs())
            Start_Port_Mapper();
        Start_Board();
        Start_Application();
        Say("starting the front panel");
        Start_Web(options_.http_port);
        http_ = Await_Line(web_, "http ");
        Say("starting: waiting for the start-up pictures");
        Await_Keys();
        std::printf("ready http=%s scpi=%s hislip=%s vxi11=%s root=%s\n", http_.c_str(), scpi_.c_str(),
                    hislip_.c_str(), vxi11_.c_str(), options_.root.c_str());
        std::fflush(stdout);
        return Supervise();
    } catch (const Stopped&) {
        return 0;
    }
}

}  // namespace

int Run_Instrument(const Options& options) {
    return Instrument(options).Run();
}

}  // namespace launcher
