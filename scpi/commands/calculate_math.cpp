#include <array>

#include "records/trace.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/commands/trace_parameter.h"
#include "trace/trace_settings.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

/// A kind of math over its sources; all is read and checked before anything changes.
int Set_Math(ScpiContext& context, Trace_Math_Kind kind) {
    Trace_Math_Record sources = TraceMath;
    double decibels = 0;
    if (!Take_Trace(context, sources.source_1)) return failed;
    if (kind != math_log_offset && !Take_Trace(context, sources.source_2)) return failed;
    const bool taken = kind == math_power_difference ? Take_Nothing(context, While_Busy::refused)
                                                     : Take_Decibels(context, While_Busy::refused, decibels);
    if (!taken) return failed;
    Set_Math_Source(0, sources.source_1);
    Set_Math_Source(1, sources.source_2);
    if (kind == math_log_difference) Set_Log_Reference(typed, decibels);
    if (kind == math_log_offset) Set_Log_Offset(typed, decibels);
    Set_Trace_Math(kind);
    return done;
}

int Math_PowerDifference(ScpiContext& context) { return Set_Math(context, math_power_difference); }
int Math_LogDifference(ScpiContext& context) { return Set_Math(context, math_log_difference); }
int Math_LogOffset(ScpiContext& context) { return Set_Math(context, math_log_offset); }
int Math_Off(ScpiContext& context) {
    return Event(context, [] { Set_Trace_Math(math_off); });
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {":CALCulate:MATH:PDIF", Math_PowerDifference},
    {":CALCulate:MATH:LDIF", Math_LogDifference},
    {":CALCulate:MATH:LOFF", Math_LogOffset},
    {":CALCulate:MATH:OFF", Math_Off},
});

}  // namespace

std::span<const ScpiCommand> families::Calculate_Math() { return rows; }
