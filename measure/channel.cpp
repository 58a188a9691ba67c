#include "measure/channel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "records/freqs.h"
#include "records/function.h"
#include "sweep/frequency.h"

namespace {

constexpr int source_typed = 2;

struct Table_Spacing {
    std::int32_t table;
    double Channel_Record::*spacing;
};
constexpr std::array<Table_Spacing, 5> spacings{{{table_acpr, &Channel_Record::acpr_spacing},
                                                 {table_occupied_bandwidth, &Channel_Record::occupied_spacing},
                                                 {table_cnr, &Channel_Record::cnr_spacing},
                                                 {table_cso, &Channel_Record::cso_spacing},
                                                 {table_ctb, &Channel_Record::ctb_spacing}}};

}  // namespace

void Channel_Init() { Channel_Data = {}; }

int Set_Channel_Spacing(double Channel_Record::*spacing, int source, double hertz) {
    if (source != source_typed) hertz = Span_Stepped(Channel_Data.*spacing, Pending_Steps());
    if (!std::isfinite(hertz)) return 0;
    Channel_Data.*spacing = std::clamp(hertz, 0.0, MAXSPAN);
    Redraw_Keys();
    return 0;
}

const double* Running_Channel_Spacing() {
    const auto running = std::ranges::find_if(spacings, [](const auto& s) { return (Global_Table & s.table) != 0; });
    return running == spacings.end() ? nullptr : &(Channel_Data.*(running->spacing));
}

bool Step_Channel(int direction) {
    const double* const spacing = Running_Channel_Spacing();
    if (!spacing) return false;
    const auto screen = static_cast<std::size_t>(ScreenActive);
    const double center = std::clamp(Freqs.center[screen] + direction * *spacing, 0.0, MAXFREQUENCY);
    Set_Cent(source_typed, center + Freqs.offset[screen]);
    return true;
}
