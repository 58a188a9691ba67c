#pragma once
#include <string>

/// VXI-11 as the rest of the instrument sees it.
namespace remote {

/// Starts the server's thread where it doesn't run, unless the network settings leave VXI-11 off. A start that has
/// failed is tried again after 10 s, then without a word; a server that runs is registered again where it has to be.
/// Called again and again by the LAN watcher, while there is a link or not.
void Watch_Vxi11(bool link_up);

/// Waits for the thread, after the stop has been requested.
void Stop_Vxi11();

/// "on" when the port mapper leads to this instrument, "off", or "starting" while that is not known yet. Any thread.
const char* Vxi11_State();

/// File below the root that names the ports while the server runs: lines "tcp ADDRESS:PORT" and "udp ADDRESS:PORT".
constexpr const char* vxi11_port_file = "/tmp/vxi11_ports";

/// Serves on an address until the stop, on the thread that calls, known to the port mapper or not. Prints the failure
/// and returns false when it can't. quiet: not what the port mapper fails in.
bool vxi_server(const std::string& address, bool mapped, bool quiet);

}  // namespace remote
