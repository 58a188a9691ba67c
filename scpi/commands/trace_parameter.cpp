#include "scpi/commands/trace_parameter.h"

#include "records/trace.h"
#include "scpi/commands/shapes.h"
#include "scpi/error_queue.h"
#include "scpi/readers.h"

namespace {

constexpr int header_suffix_out_of_range = -114;
constexpr ScpiChoiceDef words[] = {{"TRACe#", 0}, {nullptr, 0}};

bool Is_Trace(std::int32_t number) { return number >= 1 && number <= traces; }

}  // namespace

bool shapes::Take_Trace(ScpiContext& context, std::uint16_t& trace) {
    ScpiToken token;
    std::int32_t choice = 0, number = 1;
    if (!SCPI_Parameter(context, &token, true) || !SCPI_ParamToChoice(context, token, words, &choice)) return false;
    if (!SCPI_ParameterNumbers(token, words[0].name, {&number, 1})) return false;
    if (!Is_Trace(number)) {
        SCPI_ErrorPush(context, data_out_of_range);
        return false;
    }
    trace = static_cast<std::uint16_t>(number - 1);
    return true;
}

bool shapes::Trace_Of_Header(ScpiContext& context, int& trace) {
    std::int32_t number = 1;
    SCPI_CommandNumbers(context, {&number, 1});
    if (!Is_Trace(number)) {
        SCPI_ErrorPush(context, header_suffix_out_of_range);
        return false;
    }
    trace = number - 1;
    return true;
}
