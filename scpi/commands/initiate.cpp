#include <array>

#include "records/sweep.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "trace/single_sweep.h"

namespace {

using namespace shapes;

/// No effect and no error while busy.
int Initiate_Immediate(ScpiContext& context) {
    const auto start = [] {
        if (!Instrument_Busy()) Start_Single_Sweep();
    };
    return Event(context, start, While_Busy::allowed);
}

/// Holds both halves of the split screen, also while they are swept in turn.
int Initiate_Continuous(ScpiContext& context) {
    const auto set = [](bool continuous) {
        if (Instrument_Busy()) return settings_conflict;
        Set_Continuous_Sweep(continuous);
        return 0;
    };
    return Set_On_Off(context, set, While_Busy::allowed);
}

int Initiate_ContinuousQ(ScpiContext& context) { return Answer_On_Off(context, Sweep_Data.single == 0); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":INITiate[:IMMediate]", Initiate_Immediate},
    {":INITiate:CONTinuous?", Initiate_ContinuousQ},
    {":INITiate:CONTinuous", Initiate_Continuous},
});

}  // namespace

std::span<const ScpiCommand> families::Initiate() { return rows; }
