#include <csignal>

#include "app/main_loop.h"
#include "app/start_up.h"
#include "app/workers.h"
#include "platform/environment.h"
#include "platform/stop.h"

namespace {

void Stop(int) { platform::Request_Stop(); }

}  // namespace

int main(int, char**) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTERM, Stop);
    std::signal(SIGINT, Stop);
    platform::Configure_From_Environment();
    const int started = Start_Up();
    if (started == 0) Main_Loop();
    platform::Request_Stop();
    Join_Workers();
    Shut_Down();
    return started;
}
