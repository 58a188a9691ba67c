#pragma once
#include "launcher/options.h"

namespace launcher {

/// Starts the instrument's three programs, prints the ready line when it takes keys, and stays until it ends. Returns
/// the exit status: 0 after a stop or a power-off, 1 when a program has died. Throws std::runtime_error with one line
/// when it can't be started; nothing runs then.
int Run_Instrument(const Options& options);

}  // namespace launcher
