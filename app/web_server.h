#pragma once

/// Thread that serves the web front panel's local socket until the stop.
void web_server();
