#include <array>

#include "keys/level_entry.h"
#include "records/amp.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/amplitude.h"

namespace {

using namespace shapes;

constexpr ScpiChoiceDef units[] = {{"DBM", unit_dbm}, {"DBMV", unit_dbmv}, {"DBUV", unit_dbuv},
                                   {"V", unit_volt},  {"W", unit_watt},    {nullptr, 0}};

int Unit_Power(ScpiContext& context) {
    return Set_Choice(context, units, [](std::int32_t unit) {
        Set_Amplitude_Unit(unit);
        Show_Level_Entry(Level_Entry::reference);
    });
}

int Unit_PowerQ(ScpiContext& context) { return Answer_Choice(context, units, Amp.unit); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":UNIT:POWer?", Unit_PowerQ},
    {":UNIT:POWer", Unit_Power},
});

}  // namespace

std::span<const ScpiCommand> families::Unit() { return rows; }
