#include <array>
#include <span>

#include "keys/level_units.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/limit.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/readers.h"
#include "scpi/writers.h"
#include "trace/limit_lines.h"

namespace {

using namespace shapes;

constexpr int suffix_out_of_range = -114, too_many_parameters = -108, no_data = -230;
constexpr double no_value = 9.91e37;

constexpr ScpiChoiceDef modes[] = {{"UNIon", 0}, {"INTersect", 1}, {nullptr, 0}};
constexpr ScpiChoiceDef criteria[] = {
    {"TRACe", criterion_trace}, {"PEAK", criterion_peak}, {"MINimum", criterion_minimum}, {nullptr, 0}};

double Frequency_Offset() { return Freqs.offset[static_cast<std::size_t>(ScreenActive)]; }

/// act takes the line of the header, from 0, and returns what a handler returns.
template <class Act>
int With_Line(ScpiContext& context, Act&& act) {
    std::int32_t number = 1;
    SCPI_CommandNumbers(context, {&number, 1});
    if (number < 1 || number > static_cast<std::int32_t>(limit_lines)) return Refuse(context, suffix_out_of_range);
    return act(static_cast<std::size_t>(number - 1));
}

/// 0 pass, 1 fail.
int Calculate_LimitFailQ(ScpiContext& context) {
    if (!SCPI_NoParameters(context)) return failed;
    if (!Limit_Test.on || !Limit_Lines_Chosen()) return Refuse(context, settings_conflict);
    if (Limit_Test.verdict == verdict_none) return Refuse(context, no_data);
    return Answer_Integer(context, Limit_Test.verdict == verdict_fail);
}

int Calculate_LimitClear(ScpiContext& context) {
    return With_Line(context, [&](std::size_t line) { return Event(context, [&] { Clear_Limit_Line(line); }); });
}

int Sense_LimitDelete(ScpiContext& context) {
    return With_Line(context, [&](std::size_t line) { return Event(context, [&] { Delete_Limit_Line(line); }); });
}

/// Pairs of frequency and level up to the end of the parameters; false with the error pushed.
bool Take_Points(ScpiContext& context, std::array<Limit_Point, limit_points>& points, std::size_t& count) {
    for (count = 0; count == 0 || context.input_count < context.parser_state.parameters; ++count) {
        if (count == limit_points) {
            Refuse(context, too_many_parameters);
            return false;
        }
        double frequency = 0;
        if (!Read_Frequency(context, frequency) || !Read_Level(context, points[count].amplitude)) return false;
        points[count].frequency = frequency - Frequency_Offset();
    }
    return Take_Nothing(context, While_Busy::refused);
}

int Calculate_LimitData(ScpiContext& context) {
    return With_Line(context, [&](std::size_t line) {
        std::array<Limit_Point, limit_points> points;
        std::size_t count = 0;
        if (!Take_Points(context, points, count)) return failed;
        Set_Limit_Points(line, std::span(points.data(), count));
        return done;
    });
}

int Calculate_LimitDataQ(ScpiContext& context) {
    return With_Line(context, [&](std::size_t line) {
        if (!SCPI_NoParameters(context)) return failed;
        const Limit_Node* node = Limit_Lines[line].first;
        if (!node) SCPI_ResultDouble(context, no_value);
        for (; node; node = node->next) {
            SCPI_ResultDouble(context, node->frequency + Frequency_Offset());
            SCPI_ResultDouble(context, AmplUnitTrans(node->amplitude, Amp.unit, 1));
        }
        return done;
    });
}

int Calculate_LimitTrace(ScpiContext& context) {
    return With_Line(context, [&](std::size_t line) {
        std::int32_t trace = 0;
        double margin = 0;
        if (!SCPI_ParamInt(context, &trace, true)) return failed;
        if (!Take_Decibels(context, While_Busy::refused, margin)) return failed;
        if (trace < 1 || trace > traces) return Refuse(context, data_out_of_range);
        const bool made = Limit_From_Trace(line, static_cast<std::size_t>(trace - 1), margin);
        return made ? done : Refuse(context, settings_conflict);
    });
}

int Calculate_LimitMarker(ScpiContext& context) {
    return With_Line(context, [&](std::size_t line) {
        return Set_Decibels(context, [&](double margin) {
            return Limit_From_Marker(line, margin) ? 0 : settings_conflict;
        });
    });
}

/// Lines are counted from 1, 0 is none.
template <class Choose>
int Choose_Line(ScpiContext& context, Choose&& choose) {
    return Set_Integer(context, [&](std::int32_t number) {
        if (number < 0 || number > static_cast<std::int32_t>(limit_lines)) return data_out_of_range;
        choose(number == 0 ? no_limit_line : number - 1);
        return 0;
    });
}

int Calculate_LimitLow(ScpiContext& context) {
    return Choose_Line(context, [](int line) { Choose_Limit_Lines(Limit_Test.high, line); });
}

int Calculate_LimitHigh(ScpiContext& context) {
    return Choose_Line(context, [](int line) { Choose_Limit_Lines(line, Limit_Test.low); });
}

int Calculate_LimitMode(ScpiContext& context) { return Set_Choice(context, modes, Set_Limit_Mode); }
int Calculate_LimitModeQ(ScpiContext& context) { return Answer_Choice(context, modes, Limit_Test.mode); }

int Calculate_LimitState(ScpiContext& context) { return Set_On_Off(context, Set_Limit_Test); }
int Calculate_LimitStateQ(ScpiContext& context) { return Answer_On_Off(context, Limit_Test.on != 0); }

int Calculate_LimitType(ScpiContext& context) { return Set_Choice(context, criteria, Set_Pass_Criterion); }
int Calculate_LimitTypeQ(ScpiContext& context) { return Answer_Choice(context, criteria, PassCriterion); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":CALCulate:LIMit:FAIL?", Calculate_LimitFailQ},
    {":CALCulate:LIMit#:CLEar", Calculate_LimitClear},
    {":CALCulate:LIMit#:DATA", Calculate_LimitData},
    {":CALCulate:LIMit#:DATA?", Calculate_LimitDataQ},
    {":CALCulate:LIMit#:MARKer", Calculate_LimitMarker},
    {":CALCulate:LIMit#:TRACe", Calculate_LimitTrace},
    {":CALCulate:LIMit:LOW", Calculate_LimitLow},
    {":CALCulate:LIMit:HIGH", Calculate_LimitHigh},
    {":CALCulate:LIMit:MODE", Calculate_LimitMode},
    {":CALCulate:LIMit:MODE?", Calculate_LimitModeQ},
    {":CALCulate:LIMit:STATe", Calculate_LimitState},
    {":CALCulate:LIMit:STATe?", Calculate_LimitStateQ},
    {":CALCulate:LIMit:TYPE", Calculate_LimitType},
    {":CALCulate:LIMit:TYPE?", Calculate_LimitTypeQ},
    {"[:SENSe]:LIMit#:DELete", Sense_LimitDelete},
});

}  // namespace

std::span<const ScpiCommand> families::Calculate_Limit() { return rows; }
