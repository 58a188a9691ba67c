#include <algorithm>
#include <array>
#include <cstring>

#include "records/freqs.h"
#include "records/trace.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/readers.h"
#include "scpi/writers.h"
#include "trace/scale.h"

namespace {

using namespace shapes;

constexpr Screen_Geometry whole;
constexpr int most_reduced = 225;

using Rows = std::array<std::uint16_t, trace_points>;

/// Rows of the active trace on the whole graticule, also while it stands on half of the screen.
Rows Active_Rows() {
    const Trace_Record& record = Trace_Data[static_cast<std::size_t>(ScreenActive)];
    const std::size_t trace = record.active & 3;
    Rows rows;
    rows.fill(whole.clamp_bottom);
    if (record.mode[trace] == trace_blank) return rows;
    Row_Scale scale = Active_Scale();
    scale.division = whole.division;
    scale.top = whole.clamp_top;
    scale.bottom = whole.clamp_bottom;
    dBmTOpixels(record.value[trace], scale, rows.data());
    return rows;
}

int Answer_Block(ScpiContext& context, const char* data, std::size_t length) {
    if (!SCPI_NoParameters(context)) return failed;
    SCPI_ResultArbitraryBlock(context, data, length);
    return done;
}

int PixelQ(ScpiContext& context) {
    std::array<char, 2 * trace_points> block;
    char* byte = block.data();
    for (const std::uint16_t row : Active_Rows()) {
        *byte++ = static_cast<char>(row & 0xff);
        *byte++ = static_cast<char>(row >> 8);
    }
    return Answer_Block(context, block.data(), block.size());
}

/// Every step-th column in one byte.
int Answer_Reduced(ScpiContext& context, std::size_t step) {
    std::array<char, trace_points> block;
    std::size_t length = 0;
    const Rows rows = Active_Rows();
    for (std::size_t column = 0; column < rows.size(); column += step) {
        block[length++] = static_cast<char>(std::clamp((rows[column] - whole.clamp_top) / 2, 0, most_reduced));
    }
    return Answer_Block(context, block.data(), length);
}

int Pixel_ReduceQ(ScpiContext& context) { return Answer_Reduced(context, 1); }
int Pixel_HalfQ(ScpiContext& context) { return Answer_Reduced(context, 2); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":PIXel?", PixelQ},
    {":PIXel:REDuce?", Pixel_ReduceQ},
    {":PIXel:REDuce:HALF?", Pixel_HalfQ},
});

}  // namespace

std::span<const ScpiCommand> families::Pixel() { return rows; }
