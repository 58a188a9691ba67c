#include "launcher/options.h"

#include <CLI/CLI.hpp>
#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <unistd.h>
#include <utility>

namespace launcher {

namespace {

std::string Default_Root() {
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') {
        const passwd* user = ::getpwuid(::getuid());
        home = user != nullptr ? user->pw_dir : "/tmp";
    }
    return std::string(home) + "/.local/state/kva720";
}

std::string Check_Address(const std::string& text) {
    in_addr address{};
    const bool known = ::inet_pton(AF_INET, text.c_str(), &address) == 1;
    return known ? std::string() : "'" + text + "' is no IPv4 address";
}

std::string Clean_Root(const std::string& text) {
    std::string root = text.empty() ? text : std::filesystem::absolute(text).lexically_normal().string();
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    if (root.empty())
        throw Usage{"the instrument root must be a folder of its own", 2};
    if (root.find('\n') != std::string::npos)
        throw Usage{"the name of the instrument root holds a line end", 2};
    return root;
}

struct Board_Option {
    const char* name;
    const char* help;
};
constexpr std::array<Board_Option, 9> board_options{{
    {"--model", "KVA7200, KVA7200B or KVA7230 (KVA7230)"},
    {"--scene", "scene file as input (a demonstration scene)"},
    {"--recording", "recording as input, SigMF or bare"},
    {"--recording-rate", "sample rate of the recording, Hz"},
    {"--recording-frequency", "centre frequency of the recording, Hz"},
    {"--recording-level", "level of the recording's full scale, dBm (0)"},
    {"--trigger-period", "pulses at the trigger input, one in so many seconds (none)"},
    {"--trigger-width", "width of these pulses, s (half the period)"},
    {"--seed", "seed of the noise"},
}};

}  // namespace

Options Read_Options(int argc, char** argv) {
    Options options;
    bool no_vxi11 = false;
    std::string root = Default_Root();
    std::array<std::string, board_options.size()> board_values;

    CLI::App app("Starts a virtual KVA720 spectrum analyzer.", "kva720-run");
    app.add_option("--root", root, "instrument root, the folder that holds the instrument's files")
        ->capture_default_str();
    app.add_option("--listen", options.listen, "address of all network services")
        ->check(CLI::Validator(Check_Address, "ADDRESS"))
        ->capture_default_str();
    const auto port = CLI::Range(0, 65535);
    app.add_option("--http-port", options.http_port, "front panel, 0: any free port")
        ->check(port)
        ->capture_default_str();
    app.add_option("--scpi-port", options.scpi_port, "raw commands, 0: any free port")
        ->check(port)
        ->capture_default_str();
    app.add_option("--hislip-port", options.hislip_port, "HiSLIP, 0: any free port (what the root says or 4880)")
        ->check(port);
    app.add_flag("--no-vxi11", no_vxi11, "leave VXI-11 off");
    app.add_flag("--rpcbind", options.port_mapper, "start a port mapper if none runs");
    app.add_flag("--fast", options.fast, "no pauses in start-up and sweeps");
    for (std::size_t i = 0; i < board_options.size(); ++i)
        app.add_option(board_options[i].name, board_values[i], board_options[i].help);

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success&) {
        throw Usage{app.help(), 0};
    } catch (const CLI::ParseError& error) {
        throw Usage{error.what(), 2};
    }

    options.root = Clean_Root(root);
    options.vxi11 = !no_vxi11;
    for (std::size_t i = 0; i < board_options.size(); ++i)
        if (app.count(board_options[i].name) > 0)
            options.board.push_back(std::string(board_options[i].name) + '=' + board_values[i]);
    return options;
}

}  // namespace launcher
