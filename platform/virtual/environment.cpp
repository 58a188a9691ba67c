#include "platform/environment.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/prctl.h>

#include "platform/clock.h"
#include "platform/root.h"

namespace platform {

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
}

}  // namespace platform
