#include "platform/root.h"
#include "web/server.h"

#include <CLI/CLI.hpp>

#include <pthread.h>
#include <signal.h>

#include <cstdio>

namespace {

constexpr int status_bad_start = 2;

int Fail(const std::string& line) {
    std::fprintf(stderr, "kva720-web: %s\n", line.c_str());
    return status_bad_start;
}

}  // namespace

int main(int argc, char** argv) {
    web::Server_Options options;
    std::string root;
    CLI::App app("The instrument's front panel in a browser");
    app.add_option("--listen", options.listen, "IPv4 address to listen on")->capture_default_str();
    app.add_option("--http-port", options.port, "port, 0 for any free one")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    app.add_option("--page", options.page, "folder of the page's files")->required();
    app.add_option("--root", root, "instrument root")->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return Fail(error.what());
    }
    platform::Set_Root(root);

    // Blocked before any thread starts, so that they come to sigwait below.
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    std::string error;
    const auto server = web::Server::Start(options, error);
    if (!server) return Fail(error);
    std::printf("http %s:%d\n", options.listen.c_str(), server->Port());
    std::fflush(stdout);

    int signal_number = 0;
    sigwait(&ends, &signal_number);
    return 0;
}
