#include "keys/frequency_entry.h"

#include <array>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "records/autoset.h"
#include "records/freqs.h"

namespace {

void Show_Hertz(const char* name, double hertz) {
    std::array<char, 40> text{};
    Format_Frequency(hertz, true, text);
    Show_Entry(name, text.data());
}

}  // namespace

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
    Show_Hertz(names[static_cast<std::size_t>(entry)], Shown_Frequency(entry));
}

void Show_Autoset_Span() { Show_Hertz("Autoset span", Autoset_Data.span); }
void Show_Channel_Spacing(double hertz) { Show_Hertz("Channel spacing", hertz); }
