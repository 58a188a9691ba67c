#pragma once

/// The settings that the user keeps as his preset, in "/mnt/nand/UserPrset1.sta". Defined with the state files.

/// Saves the present settings, over older ones; false with errno on failure.
bool Save_User_Preset();

/// Puts the kept settings into the records; false, and nothing changes, where there are none or they are damaged.
bool Recall_User_Preset();

bool User_Preset_Saved();
