#include <array>

#include "keys/level_entry.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/amplitude.h"

namespace {

using namespace shapes;

constexpr int typed = 2;
constexpr int low_ohms = 50, high_ohms = 75;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

int Input_Impedance(ScpiContext& context) {
    return Set_Integer(context, [](std::int32_t ohms) {
        if (ohms != low_ohms && ohms != high_ohms) return illegal_value;
        return Set_Impedance(ohms == high_ohms ? 1 : 0);
    });
}

int Input_ImpedanceQ(ScpiContext& context) {
    return Answer_Integer(context, Amp.impedance[Screen()] == 1 ? high_ohms : low_ohms);
}

int Input_Attenuation(ScpiContext& context) {
    return Set_Decibels(context, [](double decibels) {
        Set_Attenuation(typed, decibels);
        Show_Level_Entry(Level_Entry::attenuation);
    });
}

int Input_AttenuationQ(ScpiContext& context) { return Answer_Integer(context, Amp.attenuation[Screen()]); }

int Input_AttenuationAuto(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) {
        Set_Attenuation_Mode(!automatic);
        Show_Level_Entry(Level_Entry::attenuation);
    });
}

int Input_AttenuationAutoQ(ScpiContext& context) { return Answer_On_Off(context, Amp.attenuation_mode[Screen()] == 0); }

int Input_Offset(ScpiContext& context) {
    return Set_Decibels(context, [](double decibels) {
        Set_InputZcal(typed, decibels);
        Show_Level_Entry(Level_Entry::correction);
    });
}

int Input_OffsetQ(ScpiContext& context) { return Answer_Integer(context, Amp.correction_75[Screen()]); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":INPut:IMPedance?", Input_ImpedanceQ},
    {":INPut:IMPedance", Input_Impedance},
    {":INPut:ATTenuation?", Input_AttenuationQ},
    {":INPut:ATTenuation", Input_Attenuation},
    {":INPut:ATTenuation:AUTO?", Input_AttenuationAutoQ},
    {":INPut:ATTenuation:AUTO", Input_AttenuationAuto},
    {":INPut:OFFSet", Input_Offset},
    {":INPut:OFFSet?", Input_OffsetQ},
});

}  // namespace

std::span<const ScpiCommand> families::Input() { return rows; }
