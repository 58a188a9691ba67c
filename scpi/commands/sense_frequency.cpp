#include <array>

#include "keys/frequency_entry.h"
#include "records/freqs.h"
#include "records/function.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/frequency.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

bool Always() { return true; }

/// A value by its setter, where the mode has it, then shown as after the same entry on the panel.
template <int (*setter)(int, double), Frequency_Entry entry, bool (*can_be_set)() = Always>
int Set(ScpiContext& context) {
    return Set_Frequency(context, [](double hertz) {
        if (!can_be_set()) return settings_conflict;
        setter(typed, hertz);
        Show_Frequency_Entry(entry);
        return 0;
    });
}

template <int (*setter)()>
int Change_Span(ScpiContext& context) {
    return Event(context, [] {
        if (!Span_Can_Be_Set()) return settings_conflict;
        setter();
        Show_Frequency_Entry(Frequency_Entry::span);
        return 0;
    });
}

template <Frequency_Entry entry>
int Answer(ScpiContext& context) {
    return Answer_Real(context, Shown_Frequency(entry));
}

/// There is no centre while this table is on.
int Sense_FrequencyCenter(ScpiContext& context) {
    return Set_Frequency(context, [](double hertz) {
        if (Global_Table == table_without_center) return settings_conflict;
        Set_Cent(typed, hertz);
        Show_Frequency_Entry(Frequency_Entry::center);
        return 0;
    });
}

int Sense_FREQ_CENT_STEP_AUTO(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) {
        Set_Step_Mode(!automatic);
        Show_Frequency_Entry(Frequency_Entry::step);
    });
}

int Sense_FREQ_CENT_STEP_AUTOQ(ScpiContext& context) {
    return Answer_On_Off(context, stepautoman[static_cast<std::size_t>(ScreenActive)] == 0);
}

constexpr auto Sense_FrequencyCenterQ = Answer<Frequency_Entry::center>;
constexpr auto Sense_FrequencySpan = Set<Set_Span, Frequency_Entry::span, Span_Can_Be_Set>;
constexpr auto Sense_FrequencySpanQ = Answer<Frequency_Entry::span>;
constexpr auto Sense_FrequencyStart = Set<Set_Start_Freq, Frequency_Entry::start, Edges_Can_Be_Set>;
constexpr auto Sense_FrequencyStartQ = Answer<Frequency_Entry::start>;
constexpr auto Sense_FrequencyStop = Set<Set_Stop_Freq, Frequency_Entry::stop, Edges_Can_Be_Set>;
constexpr auto Sense_FrequencyStopQ = Answer<Frequency_Entry::stop>;
constexpr auto Sense_FREQ_CENT_STEP = Set<Set_Step_Freq, Frequency_Entry::step>;
constexpr auto Sense_FREQ_CENT_STEPQ = Answer<Frequency_Entry::step>;
constexpr auto Sense_FrequencyOffset = Set<Set_Offset_Freq, Frequency_Entry::offset>;
constexpr auto Sense_FrequencyOffsetQ = Answer<Frequency_Entry::offset>;
constexpr auto Sense_FrequencySpanFull = Change_Span<Set_Full_Span>;
constexpr auto Sense_FrequencySpanPrevious = Change_Span<Set_Last_Span>;

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:FREQuency:SPAN?", Sense_FrequencySpanQ},
    {"[:SENSe]:FREQuency:SPAN", Sense_FrequencySpan},
    {"[:SENSe]:FREQuency:CENTer?", Sense_FrequencyCenterQ},
    {"[:SENSe]:FREQuency:CENTer", Sense_FrequencyCenter},
    {"[:SENSe]:FREQuency:STARt?", Sense_FrequencyStartQ},
    {"[:SENSe]:FREQuency:STARt", Sense_FrequencyStart},
    {"[:SENSe]:FREQuency:STOP?", Sense_FrequencyStopQ},
    {"[:SENSe]:FREQuency:STOP", Sense_FrequencyStop},
    {"[:SENSe]:FREQuency:CENTer:STEP", Sense_FREQ_CENT_STEP},
    {"[:SENSe]:FREQuency:CENTer:STEP?", Sense_FREQ_CENT_STEPQ},
    {"[:SENSe]:FREQuency:CENTer:STEP:AUTO", Sense_FREQ_CENT_STEP_AUTO},
    {"[:SENSe]:FREQuency:CENTer:STEP:AUTO?", Sense_FREQ_CENT_STEP_AUTOQ},
    {"[:SENSe]:FREQuency:OFFSet", Sense_FrequencyOffset},
    {"[:SENSe]:FREQuency:OFFSet?", Sense_FrequencyOffsetQ},
    {"[:SENSe]:FREQuency:SPAN:FULL", Sense_FrequencySpanFull},
    {"[:SENSe]:FREQuency:SPAN:PREVious", Sense_FrequencySpanPrevious},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Frequency() { return rows; }
