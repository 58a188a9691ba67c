#pragma once
#include <string>

namespace platform {

/// Takes root, clock mode and network settings from the environment: KVA720_ROOT (a folder; without it the process ends
/// with one line on standard error and status 2), KVA720_FAST=1 (pauses take no time), KVA720_LISTEN (an IPv4 address,
/// 127.0.0.1), KVA720_SCPI_PORT (5025), KVA720_HISLIP_PORT (what the root's file says) and KVA720_VXI11=0 (without it). The board
/// needs none and does nothing.
/// Call first in main.
void Configure_From_Environment();

constexpr int stored_port = -2;

/// Where network services listen.
struct Network_Settings {
    std::string address = "127.0.0.1";
    int scpi_port = -1;     ///< raw commands; 0: any free one, -1: none
    int hislip_port = -1;   ///< likewise; stored_port: the one that the instrument's settings hold
    bool vxi11 = false;     ///< VXI-11 is served where there is a port mapper
    bool required = false;  ///< the instrument doesn't start without its ports
};
const Network_Settings& Network();

}  // namespace platform
