#pragma once

namespace remote {

/// Asked by a command that waits for the end of a sweep: passes at most some 5 ms, on the server thread serving the front
/// panel meanwhile. False when no sweep will come, the client that waits has gone, or the stop is requested.
bool Keep_Waiting();

}  // namespace remote
