#pragma once
#include <string>
#include <vector>

namespace launcher {

struct Options {
    std::string root;  ///< absolute, without a slash at its end
    std::string listen = "127.0.0.1";
    int http_port = 8080;     ///< 0: any free one
    int scpi_port = 5025;
    int hislip_port = -1;     ///< -1: what the root's file says
    bool vxi11 = true;
    bool port_mapper = false;  ///< start one if none runs
    bool fast = false;
    std::vector<std::string> board;  ///< options that the virtual board reads and checks
};

/// Thrown when the program has nothing to start: text for the help or the one line of an error, and the exit status.
struct Usage {
    std::string text;
    int status;
};

/// Throws Usage.
Options Read_Options(int argc, char** argv);

}  // namespace launcher
