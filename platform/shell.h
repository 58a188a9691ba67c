#pragma once
#include <string_view>

namespace platform {

/// Runs one of the instrument's fixed shell commands and returns its exit status (0 success).
/// The board hands it to the shell as it stands. The virtual side prefixes every instrument path with the root, never
/// stops, reboots or changes the PC ("shutdown -h now" ends the virtual instrument, as a real one goes dark), refuses
/// what it does not know with status 127 and a line on standard error, and answers 0 to everything once the instrument
/// is stopping, so that no repeated command holds up the end.
int Run_Command(std::string_view command);

}  // namespace platform
