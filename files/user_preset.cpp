#include "records/user_preset.h"

#include <filesystem>

#include "files/state.h"
#include "platform/root.h"

namespace {

constexpr const char* user_preset_file = "/mnt/nand/UserPrset1.sta";

}  // namespace

bool Save_User_Preset() { return Save_LocalState_SpecAndSem(user_preset_file); }

bool Recall_User_Preset() { return Recall_Lostate_ForLocal(user_preset_file, 0); }

bool User_Preset_Saved() {
    std::error_code error;
    return std::filesystem::is_regular_file(platform::Rooted(user_preset_file), error);
}
