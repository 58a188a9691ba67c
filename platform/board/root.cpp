#include "platform/root.h"

namespace platform {

void Set_Root(std::string) {}

const std::string& Root() {
    static const std::string empty;
    return empty;
}

std::string Rooted(std::string_view instrument_path) {
    const bool absolute = !instrument_path.empty() && instrument_path.front() == '/';
    return (absolute ? "" : "/") + std::string(instrument_path);
}

}  // namespace platform
