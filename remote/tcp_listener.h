#pragma once
#include <string>

namespace remote {

/// A non-blocking listening socket on an IPv4 address; port 0: any free one. -1, with a line on standard error, when it
/// can't be had.
int Listen_On(const std::string& address, int port);

/// "ADDRESS:PORT" of a listening socket.
std::string Bound_Address(int socket);

/// Sends what is written at once, and notices some day that the other side's machine has gone silently.
void Prepare_Client(int socket);

}  // namespace remote
