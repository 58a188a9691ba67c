#include <array>

#include "records/sys.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "system/settings.h"

namespace {

using namespace shapes;

int System_AlarmState(ScpiContext& context) { return Set_On_Off(context, Set_Alarm); }
int System_AlarmStateQ(ScpiContext& context) { return Answer_On_Off(context, Sys_Data.alarm != 0); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":SYSTem:ALARm:STATe", System_AlarmState},
    {":SYSTem:ALARm:STATe?", System_AlarmStateQ},
});

}  // namespace

std::span<const ScpiCommand> families::System_Alarm() { return rows; }
