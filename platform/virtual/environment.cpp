#include "platform/environment.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/prctl.h>

#include "platform/clock.h"
#include "platform/root.h"

namespace platform {
namespace {

Network_Settings network;

/// The number that a variable holds; the default where it is unset. Ends the process over anything else.
int Port(const char* variable, int standard) {
    const char* text = std::getenv(variable);
    if (text == nullptr)
        return standard;
    constexpr int most = 65535;
    int port = -1;
    const auto [end, error] = std::from_chars(text, text + std::strlen(text), port);
    if (error == std::errc() && *end == '\0' && port >= 0 && port <= most)
        return port;
    std::fprintf(stderr, "kva720: %s is no port\n", variable);
    std::exit(2);
}

}  // namespace

const Network_Settings& Network() {
    return network;
}

void Configure_From_Environment() {
    // The main loop's short sleeps may last as long as nobody sees: a PC has other work than to wake up every 60 us.
    constexpr unsigned long slack_ns = 1'000'000;
    ::prctl(PR_SET_TIMERSLACK, slack_ns);
    const char* root = std::getenv("KVA720_ROOT");
    Set_Root(root != nullptr ? root : "");
    // The PC's own files are no instrument's.
    if (Root().empty()) {
        std::fputs("kva720: KVA720_ROOT names no instrument root (kva720-run sets it)\n", stderr);
        std::exit(2);
    }
    const char* fast = std::getenv("KVA720_FAST");
    if (fast != nullptr && std::strcmp(fast, "1") == 0)
        Set_Clock_Mode(Clock_Mode::fast);
    const char* address = std::getenv("KVA720_LISTEN");
    if (address != nullptr)
        network.address = address;
    network.scpi_port = Port("KVA720_SCPI_PORT", 5025);
    network.hislip_port = Port("KVA720_HISLIP_PORT", stored_port);
    const char* vxi11 = std::getenv("KVA720_VXI11");
    network.vxi11 = vxi11 == nullptr || std::strcmp(vxi11, "0") != 0;
    network.required = true;
}

}  // namespace platform
