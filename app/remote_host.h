#pragma once

/// Ends the modes that the file menu and the information screen enter, for a remote command that comes then. Takes
/// Command_Main_Mutex.
void Leave_File_Modes();
