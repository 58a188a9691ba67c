#pragma once

namespace platform {

/// True while the LAN socket has a link. A PC's loopback always has one.
bool Lan_Link_Up();

}  // namespace platform
