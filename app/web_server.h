#pragma once

/// Thread that serves the web front panel's local socket and the byte streams of remote control until the stop.
void web_server();
