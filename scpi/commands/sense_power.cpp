#include <array>

#include "records/amp.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/amplitude.h"

namespace {

using namespace shapes;

int Sense_PowerGain(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) { Set_Preamplifier(automatic); });
}

int Sense_PowerGainQ(ScpiContext& context) { return Answer_On_Off(context, Amp.preamplifier_auto != 0); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:POWer[:RF]:GAIN?", Sense_PowerGainQ},
    {"[:SENSe]:POWer[:RF]:GAIN", Sense_PowerGain},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Power() { return rows; }
