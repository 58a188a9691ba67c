#include <array>

#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "system/lan_settings.h"

namespace {

using namespace shapes;

/// What fails is in the queue already.
int System_CommunicateLanReset(ScpiContext& context) {
    return Event(context, [] { Reset_Network(); });
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {":SYSTem:COMMunicate:LANReset", System_CommunicateLanReset},
});

}  // namespace

std::span<const ScpiCommand> families::System_Communicate() { return rows; }
