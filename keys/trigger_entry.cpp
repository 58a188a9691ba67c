#include "keys/trigger_entry.h"

#include <array>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/shown_values.h"
#include "records/trigger.h"

namespace {

void Format_Timing(double seconds, std::span<char> text) {
    constexpr int decimals = 6;
    Formatted_Value value;
    secvalue_trans(seconds, decimals, value);
    Format_Value(value, decimals, true, text);
}

}  // namespace

void Format_Trigger_Entry(Trigger_Entry entry, std::span<char> text) {
    switch (entry) {
        case Trigger_Entry::delay: return Format_Timing(Trigger_Data.delay, text);
        case Trigger_Entry::level: return Format_Level(Shown_Video_Level(), text);
        case Trigger_Entry::frequency: return Format_Frequency(Shown_Video_Frequency(), true, text);
        case Trigger_Entry::gate_delay: return Format_Timing(Trigger_Data.gate_delay, text);
        case Trigger_Entry::gate_length: return Format_Timing(Trigger_Data.gate_length, text);
    }
}

void Show_Trigger_Entry(Trigger_Entry entry) {
    constexpr std::array names{"Trigger delay", "Trigger level", "Trigger frequency", "Gate delay", "Gate length"};
    std::array<char, 40> text{};
    Format_Trigger_Entry(entry, text);
    Show_Entry(names[static_cast<std::size_t>(entry)], text.data());
}
