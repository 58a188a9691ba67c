#include <array>
#include <cmath>

#include "scpi/commands/families.h"
#include "scpi/commands/marker_number.h"
#include "trace/marker_display.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

/// A setting of the delta marker, which the marker becomes.
template <int (*setter)(int, double), Marker_Entry entry>
int Set_Delta(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Set_Place(context, [&](double value) {
            Set_Marker_Type(marker, true);
            setter(typed, value);
            Show_Marker_Entry(entry);
        });
    });
}

template <double (*read)(int)>
int Answer_Delta(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Answer_Reading(context, Delta_Marker(marker) ? read(marker) : NAN);
    });
}

constexpr auto CALCulate_DELTamarkerX = Set_Delta<Set_Marker_Delta, Marker_Entry::delta>;
constexpr auto CALCulate_DELTamarkerXQ = Answer_Delta<Delta_Distance>;
constexpr auto CALCulate_DELTamarkerYQ = Answer_Delta<Level_Difference>;
constexpr auto CALCulate_DELTamarkerPAIRSPAN = Set_Delta<Set_Marker_Move_Pair_Span, Marker_Entry::pair_span>;
constexpr auto CALCulate_DELTamarkerPAIRCENTer = Set_Delta<Set_Marker_Move_Pair_Center, Marker_Entry::pair_center>;

constexpr auto rows = std::to_array<ScpiCommand>({
    {":CALCulate:DELTamarker#:X", CALCulate_DELTamarkerX},
    {":CALCulate:DELTamarker#:X?", CALCulate_DELTamarkerXQ},
    {":CALCulate:DELTamarker#:Y?", CALCulate_DELTamarkerYQ},
    {":CALCulate:DELTamarker#:PAIR:SPAN", CALCulate_DELTamarkerPAIRSPAN},
    {":CALCulate:DELTamarker#:PAIR:CENTer", CALCulate_DELTamarkerPAIRCENTer},
});

}  // namespace

std::span<const ScpiCommand> families::Calculate_Deltamarker() { return rows; }
