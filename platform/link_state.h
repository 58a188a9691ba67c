#pragma once

namespace platform {

/// True while the LAN socket has a link; a PC's unless the virtual cable is pulled.
bool Lan_Link_Up();

}  // namespace platform
