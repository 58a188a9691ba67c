#include <array>

#include "keys/level_entry.h"
#include "records/amp.h"
#include "records/display.h"
#include "records/freqs.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/amplitude.h"
#include "trace/display_line.h"

namespace {

using namespace shapes;

constexpr int typed = 2;
constexpr ScpiChoiceDef positions[] = {
    {"LEFT", labels_left}, {"CENTer", labels_middle}, {"RIGHt", labels_right}, {nullptr, 0}};
enum Spacing : std::int32_t { spacing_logarithmic = 0, spacing_linear };
constexpr ScpiChoiceDef spacings[] = {{"LINear", spacing_linear}, {"LOGarithmic", spacing_logarithmic}, {nullptr, 0}};

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
bool Linear() { return Amp.scale_type[Screen()] != 0; }

int Display_YAuto(ScpiContext& context) {
    return Event(context, [] {
        if (Linear()) return settings_conflict;
        Amp_Auto_Scale();
        Show_Level_Entry(Level_Entry::reference);
        return 0;
    });
}

int Display_YPosition(ScpiContext& context) {
    return Set_Choice(context, positions, [](std::int32_t position) { Set_Label_Position(position); });
}

int Display_YPositionQ(ScpiContext& context) { return Answer_Choice(context, positions, Amp.label_position); }

int Display_YSpacing(ScpiContext& context) {
    return Set_Choice(context, spacings, [](std::int32_t spacing) {
        Set_Linear_Scale(spacing == spacing_linear);
        Show_Level_Entry(Level_Entry::reference);
    });
}

int Display_YSpacingQ(ScpiContext& context) {
    return Answer_Choice(context, spacings, Linear() ? spacing_linear : spacing_logarithmic);
}

int Display_YState(ScpiContext& context) {
    return Set_On_Off(context, [](bool shown) { Set_Level_Labels(shown); });
}

int Display_YStateQ(ScpiContext& context) { return Answer_On_Off(context, Amp.labels != 0); }

int Display_YReference(ScpiContext& context) {
    return Set_Level(context, [](double dbm) {
        Set_Reflevel(typed, dbm);
        Show_Level_Entry(Level_Entry::reference);
    });
}

int Display_YReferenceQ(ScpiContext& context) { return Answer_Level(context, Amp.displayed_reference[Screen()]); }

int Display_YReferenceOffset(ScpiContext& context) {
    return Set_Decibels(context, [](double decibels) {
        Set_ReflevelOffset(typed, decibels);
        Show_Level_Entry(Level_Entry::offset);
    });
}

int Display_YReferenceOffsetQ(ScpiContext& context) { return Answer_Integer(context, Amp.offset[Screen()]); }

int Display_YPerDivision(ScpiContext& context) {
    return Set_Decibels(context, [](double decibels) {
        if (Linear()) return settings_conflict;
        display_scale(typed, decibels);
        Show_Level_Entry(Level_Entry::scale);
        return 0;
    });
}

int Display_YPerDivisionQ(ScpiContext& context) {
    return Answer_Integer(context, Db_Per_Division(Amp.scale_code[Screen()] & 3));
}

int Display_YLine(ScpiContext& context) {
    return Set_Level(context, [](double dbm) {
        Set_Display_Line(typed, dbm);
        Show_Display_Line();
    });
}

int Display_YLineQ(ScpiContext& context) { return Answer_Level(context, Display_Data.line_level); }
int Display_YLineState(ScpiContext& context) { return Set_On_Off(context, Set_Display_Line_State); }
int Display_YLineStateQ(ScpiContext& context) { return Answer_On_Off(context, Display_Data.line_shown != 0); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":DISPlay[:WINDow]:TRACe:Y:DLINe", Display_YLine},
    {":DISPlay[:WINDow]:TRACe:Y:DLINe?", Display_YLineQ},
    {":DISPlay[:WINDow]:TRACe:Y:AUTO", Display_YAuto},
    {":DISPlay[:WINDow]:TRACe:Y:DLINe:STATe", Display_YLineState},
    {":DISPlay[:WINDow]:TRACe:Y:DLINe:STATe?", Display_YLineStateQ},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:POSition", Display_YPosition},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:POSition?", Display_YPositionQ},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:SPACing", Display_YSpacing},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:SPACing?", Display_YSpacingQ},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:STATe", Display_YState},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:STATe?", Display_YStateQ},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:RLEVel?", Display_YReferenceQ},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:RLEVel", Display_YReference},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:RLEVel:OFFSet?", Display_YReferenceOffsetQ},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:RLEVel:OFFSet", Display_YReferenceOffset},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:PDIVision?", Display_YPerDivisionQ},
    {":DISPlay[:WINDow]:TRACe:Y[:SCALe]:PDIVision", Display_YPerDivision},
});

}  // namespace

std::span<const ScpiCommand> families::Display_Y() { return rows; }
