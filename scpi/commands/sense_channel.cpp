#include <array>

#include "keys/frequency_entry.h"
#include "measure/channel.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"

// Spacings of the measurements with channels, and the steps between these.

namespace {

using namespace shapes;

constexpr int typed = 2;

template <double Channel_Record::*spacing>
int Set_Spacing(ScpiContext& context) {
    return Set_Frequency(context, [](double hertz) {
        Set_Channel_Spacing(spacing, typed, hertz);
        Show_Channel_Spacing(Channel_Data.*spacing);
    });
}

template <double Channel_Record::*spacing>
int Answer_Spacing(ScpiContext& context) {
    return Answer_Real(context, Channel_Data.*spacing);
}

template <int direction>
int Step(ScpiContext& context) {
    return Event(context, [] {
        if (!Step_Channel(direction)) return settings_conflict;
        Show_Frequency_Entry(Frequency_Entry::center);
        return 0;
    });
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:ACPR:SPACe", Set_Spacing<&Channel_Record::acpr_spacing>},
    {"[:SENSe]:ACPR:SPACe?", Answer_Spacing<&Channel_Record::acpr_spacing>},
    {"[:SENSe]:CHANnel:SPACe:DOWN", Step<-1>},
    {"[:SENSe]:CHANnel:SPACe:UP", Step<1>},
    {"[:SENSe]:CNR:CHANnel:SPACe", Set_Spacing<&Channel_Record::cnr_spacing>},
    {"[:SENSe]:CNR:CHANnel:SPACe?", Answer_Spacing<&Channel_Record::cnr_spacing>},
    {"[:SENSe]:CSO:CHANnel:SPACe", Set_Spacing<&Channel_Record::cso_spacing>},
    {"[:SENSe]:CSO:CHANnel:SPACe?", Answer_Spacing<&Channel_Record::cso_spacing>},
    {"[:SENSe]:CTB:CHANnel:SPACe", Set_Spacing<&Channel_Record::ctb_spacing>},
    {"[:SENSe]:CTB:CHANnel:SPACe?", Answer_Spacing<&Channel_Record::ctb_spacing>},
    {"[:SENSe]:OCBW:SPACe", Set_Spacing<&Channel_Record::occupied_spacing>},
    {"[:SENSe]:OCBW:SPACe?", Answer_Spacing<&Channel_Record::occupied_spacing>},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Channel() { return rows; }
