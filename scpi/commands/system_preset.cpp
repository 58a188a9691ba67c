#include "system/preset.h"

#include <array>

#include "records/sys.h"
#include "records/user_preset.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "system/settings.h"

namespace {

using namespace shapes;

constexpr int mass_storage_error = -250;

enum Preset_Type : std::int32_t { preset_factory = 0, preset_user = 1 };
constexpr ScpiChoiceDef preset_types[] = {{"FACTory", preset_factory}, {"USER", preset_user}, {nullptr, 0}};

int System_Preset(ScpiContext& context) { return Event(context, Preset_Instrument, While_Busy::allowed); }

int System_PresetType(ScpiContext& context) {
    return Set_Choice(context, preset_types, [](std::int32_t type) {
        return Set_Preset_Type(type) ? 0 : settings_conflict;
    });
}

int System_PresetTypeQ(ScpiContext& context) { return Answer_Choice(context, preset_types, Sys_Data.user_preset); }

int System_PresetUserSave(ScpiContext& context) {
    return Event(context, [] { return Save_User_Preset() ? 0 : mass_storage_error; });
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {":SYSTem:PRESet", System_Preset},
    {":SYSTem:PRESet:TYPE", System_PresetType},
    {":SYSTem:PRESet:TYPE?", System_PresetTypeQ},
    {":SYSTem:PRESet:USER:SAVE", System_PresetUserSave},
});

}  // namespace

std::span<const ScpiCommand> families::System_Preset() { return rows; }
