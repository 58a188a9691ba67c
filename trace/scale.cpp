#include "trace/scale.h"

#include <algorithm>

#include "records/amp.h"
#include "records/freqs.h"
#include "records/trace.h"

std::int16_t dBmTOpixel(double dbm, const Row_Scale& scale, bool clamp) {
    constexpr double beyond = 30'000;  // rows that a 16-bit row can hold
    const double below = static_cast<double>(scale.reference) - dbm;
    const double offset = scale.division * below / Db_Per_Division(scale.code);
    if (!(offset < beyond)) return static_cast<std::int16_t>(clamp ? scale.bottom : beyond);
    const int row = scale.top + static_cast<int>(std::max(offset, -beyond));
    return static_cast<std::int16_t>(clamp ? std::clamp(row, scale.top, scale.bottom) : row);
}

Row_Scale Active_Scale() {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    return {.code = Amp.scale_code[screen] & 3,
            .reference = Amp.displayed_reference[screen],
            .division = ScreenInf.division,
            .top = ScreenInf.clamp_top,
            .bottom = ScreenInf.clamp_bottom,
            .type = Amp.scale_type[screen]};
}

double Shown_Level_Offset() {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    return Amp.displayed_reference[screen] - Amp.reference[screen];
}

double Pixel2dBm(int row) {
    const Row_Scale scale = Active_Scale();
    const double factor = 10.0 / Db_Per_Division(scale.code);
    return scale.reference - (row - scale.top) * 100.0 / factor / ScreenInf.height;
}
