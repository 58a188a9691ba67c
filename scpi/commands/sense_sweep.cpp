#include <array>
#include <cmath>

#include "keys/bandwidth_entry.h"
#include "records/freqs.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/sweep_time.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

constexpr ScpiChoiceDef modes[] = {
    {"AUTO", sweep_mode_auto}, {"SWEep", sweep_mode_swept}, {"FFT", sweep_mode_fft}, {nullptr, 0}};

int Sense_SweepMode(ScpiContext& context) {
    return Set_Choice(context, modes,
                      [](std::int32_t mode) { return Set_Sweep_Mode(mode) == 0 ? 0 : settings_conflict; });
}

int Sense_SweepModeQ(ScpiContext& context) { return Answer_Choice(context, modes, Sweep_Data.mode[Screen()]); }

int Sense_SweepTime(ScpiContext& context) {
    return Set_Number(context, {suffix_none, suffix_second}, [](const ScpiNumber& number) {
        if (!std::isfinite(number.value)) return data_out_of_range;
        Set_Sweep_Time(typed, number.value);
        Show_Bandwidth_Entry(Bandwidth_Entry::sweep_time);
        return 0;
    });
}

int Sense_SweepTimeQ(ScpiContext& context) { return Answer_Real(context, Sweep_Data.time[Screen()]); }

int Sense_SweepTimeAuto(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) {
        Set_Sweep_Time_Mode(!automatic);
        Show_Bandwidth_Entry(Bandwidth_Entry::sweep_time);
    });
}

int Sense_SweepTimeAutoQ(ScpiContext& context) { return Answer_On_Off(context, Sweep_Data.time_mode[Screen()] == 0); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:SWEep:MODE", Sense_SweepMode},
    {"[:SENSe]:SWEep:MODE?", Sense_SweepModeQ},
    {"[:SENSe]:SWEep:TIME", Sense_SweepTime},
    {"[:SENSe]:SWEep:TIME?", Sense_SweepTimeQ},
    {"[:SENSe]:SWEep:TIME:AUTO", Sense_SweepTimeAuto},
    {"[:SENSe]:SWEep:TIME:AUTO?", Sense_SweepTimeAutoQ},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Sweep() { return rows; }
