#include "keys/bandwidth_entry.h"

#include <array>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/shown_values.h"
#include "records/freqs.h"
#include "records/sweep.h"

namespace {

/// Three digits or more; the smallest ratio is 1e-6.
void Format_Ratio(double ratio, std::span<char> text) {
    const int decimals = ratio >= 1 ? 2 : ratio >= 0.1 ? 3 : ratio >= 0.01 ? 4 : ratio >= 0.001 ? 5 : 8;
    Print_Number(ratio, decimals, true, text);
}

}  // namespace

void Format_Bandwidth_Entry(Bandwidth_Entry entry, std::span<char> text) {
    switch (entry) {
        case Bandwidth_Entry::rbw: return Format_Bandwidth(Shown_RBW(), text);
        case Bandwidth_Entry::vbw: return Format_Bandwidth(Shown_VBW(), text);
        case Bandwidth_Entry::ratio: return Format_Ratio(Shown_VBW_Ratio(), text);
        case Bandwidth_Entry::sweep_time:
            return Format_Time(Sweep_Data.time[static_cast<std::size_t>(ScreenActive)], text);
    }
}

void Show_Bandwidth_Entry(Bandwidth_Entry entry) {
    constexpr std::array names{"Resolution bandwidth", "Video bandwidth", "VBW/RBW", "Sweep time"};
    std::array<char, 40> text{};
    Format_Bandwidth_Entry(entry, text);
    Show_Entry(names[static_cast<std::size_t>(entry)], text.data());
}
