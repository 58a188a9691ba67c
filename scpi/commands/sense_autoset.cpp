#include <array>

#include "keys/frequency_entry.h"
#include "keys/level_entry.h"
#include "measure/autoset.h"
#include "records/autoset.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

int Sense_AutosetRun(ScpiContext& context) {
    return Event(context, [] { return Start_Autoset() ? 0 : settings_conflict; });
}

int Sense_AutosetFloor(ScpiContext& context) {
    return Set_Level(context, [](double dbm) {
        Set_Autoset_Floor(typed, dbm);
        Show_Autoset_Floor();
    });
}

int Sense_AutosetFloorQ(ScpiContext& context) { return Answer_Level(context, Autoset_Data.floor); }

int Sense_AutosetFloorAuto(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) { Set_Autoset_Floor_Mode(!automatic); });
}

int Sense_AutosetFloorAutoQ(ScpiContext& context) { return Answer_On_Off(context, Autoset_Data.floor_manual == 0); }

int Sense_AutosetSpan(ScpiContext& context) {
    return Set_Frequency(context, [](double hertz) {
        Set_Autoset_Span(typed, hertz);
        Show_Autoset_Span();
    });
}

int Sense_AutosetSpanQ(ScpiContext& context) { return Answer_Real(context, Autoset_Data.span); }

int Sense_AutosetSpanAuto(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) { Set_Autoset_Span_Mode(!automatic); });
}

int Sense_AutosetSpanAutoQ(ScpiContext& context) { return Answer_On_Off(context, Autoset_Data.span_manual == 0); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:ASET:AMPLitude", Sense_AutosetFloor},
    {"[:SENSe]:ASET:AMPLitude?", Sense_AutosetFloorQ},
    {"[:SENSe]:ASET:AMPLitude:AUTO", Sense_AutosetFloorAuto},
    {"[:SENSe]:ASET:AMPLitude:AUTO?", Sense_AutosetFloorAutoQ},
    {"[:SENSe]:ASET:RUN", Sense_AutosetRun},
    {"[:SENSe]:ASET:SPAN", Sense_AutosetSpan},
    {"[:SENSe]:ASET:SPAN?", Sense_AutosetSpanQ},
    {"[:SENSe]:ASET:SPAN:AUTO", Sense_AutosetSpanAuto},
    {"[:SENSe]:ASET:SPAN:AUTO?", Sense_AutosetSpanAutoQ},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Autoset() { return rows; }
