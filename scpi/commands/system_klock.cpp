#include <array>

#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "system/settings.h"

namespace {

using namespace shapes;

int System_KeyLock(ScpiContext& context) { return Set_On_Off(context, Set_Key_Lock, While_Busy::allowed); }

constexpr auto rows = std::to_array<ScpiCommand>({{":SYSTem:KLOCk", System_KeyLock}});

}  // namespace

std::span<const ScpiCommand> families::System_Klock() { return rows; }
