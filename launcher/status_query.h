#pragma once
#include <string>

namespace launcher {

/// What a running instrument says of itself.
struct Status {
    bool takes_keys = false;  ///< it has come up
    std::string scpi, hislip = "off";  ///< ADDRESS:PORT of raw commands and of HiSLIP
    std::string vxi11 = "off";         ///< "on", "off" or, while that is not known, "starting"
};

/// Asks the instrument of a root over its local socket. It takes no keys also when it doesn't answer in half a second.
Status Ask_Status(const std::string& root);

}  // namespace launcher
