#pragma once

/// The one road by which the process ends: somebody asks for the stop, every waiting call of the seam returns, the
/// threads are joined.
namespace platform {

/// Asks every waiting call of the seam to return. Any thread; also safe in a signal handler.
void Request_Stop();

bool Stop_Requested();

/// A descriptor that is readable from the stop request on, for use beside other descriptors in poll().
int Stop_Fd();

/// Takes the stop request back. For tests, which start several instruments in one process.
void Reset_Stop();

}  // namespace platform
