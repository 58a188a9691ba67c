#include <array>

#include "keys/trigger_entry.h"
#include "records/trigger.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/trigger.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

template <int (*setter)(int, double), Trigger_Entry entry>
int Set_Time(ScpiContext& context) {
    return Set_Number(context, {suffix_none, suffix_second}, [](const ScpiNumber& number) {
        setter(typed, number.value);
        Show_Trigger_Entry(entry);
    });
}

constexpr auto Sense_Sweep_Egate_Delay = Set_Time<Set_Gate_Delay, Trigger_Entry::gate_delay>;
constexpr auto Sense_Sweep_Egate_Length = Set_Time<Set_Gate_Length, Trigger_Entry::gate_length>;
int Sense_Sweep_Egate_DelayQ(ScpiContext& context) { return Answer_Real(context, Trigger_Data.gate_delay); }
int Sense_Sweep_Egate_LengthQ(ScpiContext& context) { return Answer_Real(context, Trigger_Data.gate_length); }

int Sense_Sweep_Egate_State(ScpiContext& context) {
    return Set_On_Off(context, [](bool on) { return Set_Gate(on); });
}
int Sense_Sweep_Egate_StateQ(ScpiContext& context) { return Answer_On_Off(context, Trigger_Data.gate != 0); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:SWEep:EGATe:DELlay", Sense_Sweep_Egate_Delay},
    {"[:SENSe]:SWEep:EGATe:DELlay?", Sense_Sweep_Egate_DelayQ},
    {"[:SENSe]:SWEep:EGATe:LENGth", Sense_Sweep_Egate_Length},
    {"[:SENSe]:SWEep:EGATe:LENGth?", Sense_Sweep_Egate_LengthQ},
    {"[:SENSe]:SWEep:EGATe:STATe", Sense_Sweep_Egate_State},
    {"[:SENSe]:SWEep:EGATe:STATe?", Sense_Sweep_Egate_StateQ},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Sweep_Gate() { return rows; }
