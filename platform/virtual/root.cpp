#include "platform/root.h"

#include <filesystem>

namespace platform {

namespace {

std::string& Folder() {
    static std::string folder;
    return folder;
}

}  // namespace

void Set_Root(std::string folder) {
    if (!folder.empty())
        folder = std::filesystem::absolute(folder).lexically_normal().string();
    while (!folder.empty() && folder.back() == '/')
        folder.pop_back();
    Folder() = std::move(folder);
}

const std::string& Root() {
    return Folder();
}

std::string Rooted(std::string_view instrument_path) {
    if (instrument_path.find("..") == std::string_view::npos) {
        const bool absolute = !instrument_path.empty() && instrument_path.front() == '/';
        return Folder() + (absolute ? "" : "/") + std::string(instrument_path);
    }
    // As with a changed root of the file system, no ".." leads above it.
    return Folder() + ("/" / std::filesystem::path(instrument_path)).lexically_normal().string();
}

}  // namespace platform
