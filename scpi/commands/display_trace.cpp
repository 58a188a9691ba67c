#include <array>

#include "records/display.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/commands/trace_parameter.h"
#include "trace/hold_level.h"
#include "trace/scale.h"
#include "trace/split.h"
#include "trace/trace_settings.h"

namespace {

using namespace shapes;

constexpr ScpiChoiceDef mode_words[] = {{"WRITe", trace_clear_write}, {"MAXHold", trace_max_hold},
                                        {"MINHold", trace_min_hold},  {"VIEW", trace_view},
                                        {"BLANk", trace_blank},       {nullptr, 0}};

int Trace_WriteMode(ScpiContext& context) {
    int trace = 0;
    if (!Trace_Of_Header(context, trace)) return failed;
    return Set_Choice(context, mode_words, [trace](std::int32_t mode) { Set_Trace_Mode(trace, mode); });
}

int Trace_HoldLevel(ScpiContext& context) {
    int trace = 0;
    if (!Trace_Of_Header(context, trace)) return failed;
    return Set_Level(context, [trace](double dbm) { Set_Max_Hold_Level(trace, dbm); });
}

int Trace_HoldLevelQ(ScpiContext& context) {
    int trace = 0;
    if (!Trace_Of_Header(context, trace)) return failed;
    const Trace_Record& record = Trace_Data[static_cast<std::size_t>(ScreenActive)];
    const auto level = static_cast<double>(record.max_hold_level[static_cast<std::size_t>(trace)]);
    return Answer_Level(context, level + Shown_Level_Offset());
}

int Trace_HoldRestart(ScpiContext& context) { return Set_On_Off(context, Set_Hold_Restart); }
int Trace_HoldRestartQ(ScpiContext& context) { return Answer_On_Off(context, Max_Hold_Restart != 0); }

/// Views are chosen also while the halves of the split screen are swept in turn.
template <class Action>
int Choose_View(ScpiContext& context, Action choose) {
    const auto act = [choose] {
        if (Instrument_Busy()) return settings_conflict;
        choose();
        return 0;
    };
    return Event(context, act, While_Busy::allowed);
}

int Display_Normal(ScpiContext& context) {
    return Choose_View(context, [] { Set_Split(split_none); });
}

int Display_SplitAlternate(ScpiContext& context) {
    return Event(context, [] { Set_Split(split_alternate); });
}

int Display_SplitActive(ScpiContext& context) {
    return Choose_View(context, [] {
        if (Display_Data.split == split_active) {
            Set_Active_Half(1 - ScreenActive);
        } else {
            Set_Split(split_active);
        }
    });
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {":DISPlay[:WINDow]:TRACe#:MODE", Trace_WriteMode},
    {":DISPlay[:WINDow]:TRACe#:MODE:MAXHold?", Trace_HoldLevelQ},
    {":DISPlay[:WINDow]:TRACe#:MODE:MAXHold", Trace_HoldLevel},
    {":DISPlay[:WINDow]:TRACe:MAXHold:ENHance:STATe", Trace_HoldRestart},
    {":DISPlay[:WINDow]:TRACe:MAXHold:ENHance:STATe?", Trace_HoldRestartQ},
    {":DISPlay[:WINDow]:NORMal", Display_Normal},
    {":DISPlay[:WINDow]:SPLit:NORMal:ALTernate", Display_SplitAlternate},
    {":DISPlay[:WINDow]:SPLit:NORMal:ACTive", Display_SplitActive},
});

}  // namespace

std::span<const ScpiCommand> families::Display_Trace() { return rows; }
