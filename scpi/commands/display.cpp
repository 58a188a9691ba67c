#include <array>

#include "records/display.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "system/settings.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

int Display_Enable(ScpiContext& context) { return Set_On_Off(context, Set_Screen_On, While_Busy::allowed); }
int Display_EnableQ(ScpiContext& context) { return Answer_On_Off(context, Display_Data.active != 0); }

int Display_Brightness(ScpiContext& context) {
    return Set_Integer(context, [](std::int32_t percent) { Set_Brightness(typed, percent); }, While_Busy::allowed);
}
int Display_BrightnessQ(ScpiContext& context) { return Answer_Integer(context, Display_Data.brightness); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":DISPlay:ENABle?", Display_EnableQ},
    {":DISPlay:ENABle", Display_Enable},
    {":DISPlay:BRIGhtness", Display_Brightness},
    {":DISPlay:BRIGhtness?", Display_BrightnessQ},
});

}  // namespace

std::span<const ScpiCommand> families::Display() { return rows; }
