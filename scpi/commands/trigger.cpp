#include <array>

#include "keys/shown_values.h"
#include "keys/trigger_entry.h"
#include "records/trigger.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/trigger.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

/// A value by its setter, then shown as after the same entry on the panel.
template <int (*setter)(int, double), Trigger_Entry entry>
void Set(double value) {
    setter(typed, value);
    Show_Trigger_Entry(entry);
}

constexpr ScpiChoiceDef sources[] = {
    {"IMMediate", trigger_by_none}, {"VIDeo", trigger_by_video}, {"EXTernal", trigger_by_input}, {nullptr, 0}};
constexpr ScpiChoiceDef modes[] = {{"AUTO", 1}, {"NORMal", 0}, {nullptr, 0}};
constexpr ScpiChoiceDef slopes[] = {{"POSitive", 0}, {"NEGative", 1}, {nullptr, 0}};

int Trigger_Delay(ScpiContext& context) {
    return Set_Number(context, {suffix_none, suffix_second},
                      [](const ScpiNumber& number) { Set<Set_Trigger_Delay, Trigger_Entry::delay>(number.value); });
}
int Trigger_DelayQ(ScpiContext& context) { return Answer_Real(context, Trigger_Data.delay); }

int Trigger_External_Slope(ScpiContext& context) {
    return Set_Choice(context, slopes, [](std::int32_t falling) { return Set_Input_Slope(falling != 0); });
}
int Trigger_External_SlopeQ(ScpiContext& context) {
    return Answer_Choice(context, slopes, Trigger_Data.input_falling);
}

int Trigger_Mode(ScpiContext& context) {
    return Set_Choice(context, modes, [](std::int32_t automatic) { return Set_Trigger_Mode(automatic != 0); });
}
int Trigger_ModeQ(ScpiContext& context) { return Answer_Choice(context, modes, Trigger_Data.automatic); }

int Trigger_Source(ScpiContext& context) {
    return Set_Choice(context, sources, [](std::int32_t choice) { return Set_Trigger_Source(choice); });
}
int Trigger_SourceQ(ScpiContext& context) { return Answer_Choice(context, sources, Trigger_Data.source); }

int Trigger_Video_Frequency(ScpiContext& context) {
    return Set_Frequency(context, Set<Set_Video_Frequency, Trigger_Entry::frequency>);
}
int Trigger_Video_FrequencyQ(ScpiContext& context) { return Answer_Real(context, Shown_Video_Frequency()); }

int Trigger_Video_Level(ScpiContext& context) {
    return Set_Level(context, Set<Set_Video_Level, Trigger_Entry::level>);
}
int Trigger_Video_LevelQ(ScpiContext& context) { return Answer_Level(context, Shown_Video_Level()); }

int Trigger_Video_Slope(ScpiContext& context) {
    return Set_Choice(context, slopes, [](std::int32_t falling) { return Set_Video_Slope(falling != 0); });
}
int Trigger_Video_SlopeQ(ScpiContext& context) { return Answer_Choice(context, slopes, Trigger_Data.video_falling); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":TRIGger[:SEQuence]:DELay", Trigger_Delay},
    {":TRIGger[:SEQuence]:DELay?", Trigger_DelayQ},
    {":TRIGger[:SEQuence]:EXTernal:SLOPe", Trigger_External_Slope},
    {":TRIGger[:SEQuence]:EXTernal:SLOPe?", Trigger_External_SlopeQ},
    {":TRIGger[:SEQuence]:MODE", Trigger_Mode},
    {":TRIGger[:SEQuence]:MODE?", Trigger_ModeQ},
    {":TRIGger[:SEQuence]:SOURce", Trigger_Source},
    {":TRIGger[:SEQuence]:SOURce?", Trigger_SourceQ},
    {":TRIGger[:SEQuence]:VIDeo:FREQuency", Trigger_Video_Frequency},
    {":TRIGger[:SEQuence]:VIDeo:FREQuency?", Trigger_Video_FrequencyQ},
    {":TRIGger[:SEQuence]:VIDeo:LEVel", Trigger_Video_Level},
    {":TRIGger[:SEQuence]:VIDeo:LEVel?", Trigger_Video_LevelQ},
    {":TRIGger[:SEQuence]:VIDeo:SLOPe", Trigger_Video_Slope},
    {":TRIGger[:SEQuence]:VIDeo:SLOPe?", Trigger_Video_SlopeQ},
});

}  // namespace

std::span<const ScpiCommand> families::Trigger() { return rows; }
