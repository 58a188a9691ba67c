#include "platform/link_state.h"

#include <fstream>
#include <system_error>

#include "platform/board/system_classes.h"

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr int type_ethernet = 1;

int Read_Number(const fs::path& file) {
    int number = -1;
    std::ifstream(file) >> number;
    return number;
}

}  // namespace

bool Has_Carrier(const fs::path& net_class) {
    std::error_code error;
    for (const fs::directory_entry& interface : fs::directory_iterator(net_class, error)) {
        const fs::path& folder = interface.path();
        const bool hardware = fs::exists(folder / "device", error);
        // An interface that is switched off refuses to tell its carrier.
        if (hardware && Read_Number(folder / "type") == type_ethernet && Read_Number(folder / "carrier") == 1)
            return true;
    }
    return false;
}

bool Lan_Link_Up() { return Has_Carrier("/sys/class/net"); }

}  // namespace platform
