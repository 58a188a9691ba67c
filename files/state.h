#pragma once
#include <string_view>

/// Writes the present settings to a state file (an instrument path), whole or not at all; false with errno on failure.
bool Save_LocalState_SpecAndSem(std::string_view path);

/// Recalls a state file. A file that is missing, cut, of another version or with values out of range changes nothing and
/// gives false. screen: half of the split display that a single state goes to.
bool Recall_Lostate_ForLocal(std::string_view path, int screen);
