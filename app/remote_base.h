#pragma once

/// Status registers and error queue at their power-on values, the parser's surroundings and the ports of remote control.
/// False when a port that the instrument shall not start without is taken.
bool Start_Remote_Base();

/// Ends the modes that the file menu and the information screen enter, for a remote command that comes then. Takes
/// Command_Main_Mutex.
void Leave_File_Modes();
