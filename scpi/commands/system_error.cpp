#include <array>

#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/error_queue.h"
#include "scpi/writers.h"

namespace {

using namespace shapes;

/// The message is that of the code, without the input that the entry carries.
int SCPI_SystemErrorNextQ(ScpiContext& context) {
    if (!Take_Nothing(context, While_Busy::allowed)) return failed;
    const int code = SCPI_ErrorPop(context);
    SCPI_ResultInt(context, code);
    SCPI_ResultText(context, SCPI_ErrorTranslate(code));
    return done;
}

int System_ErrorClear(ScpiContext& context) {
    return Event(context, [&] { SCPI_ErrorClear(context); }, While_Busy::allowed);
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {":SYSTem:ERRor[:NEXT]?", SCPI_SystemErrorNextQ},
    {":SYSTem:ERRor:CLEar", System_ErrorClear},
});

}  // namespace

std::span<const ScpiCommand> families::System_Error() { return rows; }
