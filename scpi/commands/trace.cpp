#include <array>
#include <charconv>
#include <cmath>

#include "keys/level_units.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/normalisation.h"
#include "records/sys.h"
#include "records/trace.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/readers.h"
#include "scpi/writers.h"
#include "trace/scale.h"

namespace {

using namespace shapes;

constexpr int no_data = -230;
constexpr int highest_number = 5;

enum Trace_Data_Choice : std::int32_t { choice_band = 5, choice_level = 6, choice_trace = 7 };
constexpr ScpiChoiceDef parameter_mnemonic[] = {
    {"BAND#", choice_band}, {"LEVel#", choice_level}, {"TRACe#", choice_trace}, {nullptr, 0}};

/// A level in dBm, in the amplitude unit with four digits; with three for less than 10 dBm in size.
void Write_Level(ScpiContext& context, double dbm) {
    std::array<char, 24> text{};
    const double level = AmplUnitTrans(dbm, Amp.unit, 1);
    const int decimals = Amp.unit != unit_dbm || std::fabs(level) >= 10 ? 3 : 2;
    char* const end = text.data() + text.size();
    const char* const written = std::to_chars(text.data(), end, level, std::chars_format::scientific, decimals).ptr;
    SCPI_ResultCharacters(context, text.data(), static_cast<std::size_t>(written - text.data()));
}

/// What is read, and its number; false with the error pushed.
bool Take_Source(ScpiContext& context, std::int32_t& choice, std::int32_t& number) {
    ScpiToken token;
    if (!SCPI_Parameter(context, &token, true) || !SCPI_ParamToChoice(context, token, parameter_mnemonic, &choice)) {
        return false;
    }
    if (!SCPI_ParameterNumbers(token, SCPI_ChoiceToName(parameter_mnemonic, choice), {&number, 1})) return false;
    return Take_Nothing(context, While_Busy::allowed);
}

/// Trace 5 is the reference of the normalisation; null where there is none.
const std::array<float, trace_points>* Stored_Levels(std::int32_t number) {
    if (number <= traces) {
        return &Trace_Data[static_cast<std::size_t>(ScreenActive)].value[static_cast<std::size_t>(number - 1)];
    }
    return Sys_Data.tracking_normalised && !CheckNormInit ? &Normalisation_Trace : nullptr;
}

/// Bands and levels are those of an EMC scan, of which none is kept so far.
int Trace_DataQ(ScpiContext& context) {
    std::int32_t choice = 0, number = 1;
    if (!Take_Source(context, choice, number)) return failed;
    if (number < 1 || number > highest_number) return Refuse(context, data_out_of_range);
    const auto* levels = choice == choice_trace ? Stored_Levels(number) : nullptr;
    if (!levels) return Refuse(context, no_data);
    const double offset = Shown_Level_Offset();
    for (const float level : *levels) Write_Level(context, static_cast<double>(level) + offset);
    return done;
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {":TRACe[:DATA]?", Trace_DataQ},
});

}  // namespace

std::span<const ScpiCommand> families::Trace() { return rows; }
