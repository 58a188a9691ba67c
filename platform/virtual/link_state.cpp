#include "platform/link_state.h"

#include <fstream>

#include "platform/root.h"
#include "platform/virtual/device_files.h"

namespace platform {

bool Lan_Link_Up() {
    char link = '1';
    std::ifstream(Rooted(device_files::lan)) >> link;
    return link != '0';
}

}  // namespace platform
