#pragma once

namespace platform {

/// Waits until the descriptor is ready for events (as of poll) or the stop is requested. True when the descriptor is
/// ready, hung up or in error; false on the stop request.
bool Wait_Ready(int descriptor, short events);

}  // namespace platform
