#include "keys/frequency_entry.h"

#include <array>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "records/freqs.h"

double Shown_Frequency(Frequency_Entry entry) {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    const double offset = Freqs.offset[screen];
    switch (entry) {
        case Frequency_Entry::center: return Freqs.center[screen] + offset;
        case Frequency_Entry::start: return Freqs.start[screen] + offset;
        case Frequency_Entry::stop: return Freqs.stop[screen] + offset;
        case Frequency_Entry::step: return Freqs.step[screen];
        case Frequency_Entry::offset: return offset;
        default: return Freqs.span[screen];
    }
}

void Show_Frequency_Entry(Frequency_Entry entry) {
    constexpr std::array names{"Center frequency",      "Start frequency",  "Stop frequency",
                               "Center frequency step", "Frequency offset", "Span"};
    std::array<char, 40> text{};
    Format_Frequency(Shown_Frequency(entry), true, text);
    Show_Entry(names[static_cast<std::size_t>(entry)], text.data());
}
