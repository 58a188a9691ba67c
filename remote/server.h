#pragma once
#include "remote/local_protocol.h"
#include "remote/setup.h"

namespace remote {

/// Installs the parser's callbacks and opens the serial port, the GPIB and USB files and, where the network settings name a
/// port, the raw listener and that of HiSLIP. What can't be opened stays unused; false where a listener can't be had.
/// baud_index: setting of the serial port, counted from 0. stored_hislip_port: what the settings hold, 1 to 65535.
bool Open_Ports(const Remote_Setup& setup, int baud_index, int stored_hislip_port);
/// Closes all of them, after the server and all other threads that feed the parser have ended.
void Close_Ports();

/// Serves all byte streams and the local socket with one readiness wait until the stop.
void Serve(const Local_Commands& commands);

}  // namespace remote
