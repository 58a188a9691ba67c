#pragma once
#include <string>

namespace platform {

/// Takes root, clock mode and network settings from the environment: KVA720_ROOT (a folder; without it the process ends
/// with one line on standard error and status 2), KVA720_FAST=1 (pauses take no time), KVA720_LISTEN (an IPv4 address,
/// 127.0.0.1) and KVA720_SCPI_PORT (5025). The board needs none and does nothing.
/// Call first in main.
void Configure_From_Environment();

/// Where network services listen.
struct Network_Settings {
    std::string address = "127.0.0.1";
    int scpi_port = -1;     ///< raw commands; 0: any free one, -1: none
    bool required = false;  ///< the instrument doesn't start without its ports
};
const Network_Settings& Network();

}  // namespace platform
