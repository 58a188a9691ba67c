#include "trace/limit_lines.h"

#include "records/analysis.h"
#include "scpi/status.h"

namespace {
constexpr std::uint32_t limit_test_failed = 512;
}

void limitline_init() {
    LimitlineScreen = 0;
    SCPI_RegClearBits(scpi_context, reg_questionable + set_condition, limit_test_failed);
}

void LimitLine_Init_For_Opening() { limitline_init(); }
