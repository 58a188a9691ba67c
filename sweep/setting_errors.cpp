#include "sweep/setting_errors.h"

#include <algorithm>
#include <array>

#include "keys/messages.h"
#include "records/keystate.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"

namespace {

struct Setting_Error {
    int code;
    Warning warning;
    int covers;  ///< of Check_warning
};

constexpr std::array<Setting_Error, 5> errors{{{error_span_or_bandwidth, warning_span_or_bandwidth, covers_rbw},
                                               {error_zero_span_rbw, warning_zero_span_rbw, covers_rbw},
                                               {error_sweep_time_long, warning_sweep_time_long, covers_time_long},
                                               {error_sweep_time_short, warning_sweep_time_short, covers_time_short},
                                               {error_uncal, warning_uncal, covers_uncal}}};

}  // namespace

void Raise_Setting_Error(int source, int code) {
    constexpr int source_typed = 2;
    const auto* error = std::ranges::find(errors, code, &Setting_Error::code);
    if (error == errors.end()) return;
    if (source == source_typed || Check_warning != error->covers) SCPI_ErrorPush(scpi_context, code);
    display_warning(error->warning);
}

void Setting_Taken() {
    if (Check_warning >= covers_rbw && Check_warning <= covers_uncal) clear_warning();
}

void Set_Bandwidth_Condition(bool invalid) {
    constexpr auto condition = reg_questionable_frequency + set_condition;
    if (invalid) {
        SCPI_RegSetBits(scpi_context, condition, questionable_bandwidth);
    } else {
        SCPI_RegClearBits(scpi_context, condition, questionable_bandwidth);
    }
}
