#include "platform/whole_file.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "platform/root.h"

namespace platform {
namespace {

bool Write_All(int file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(file, content.data(), content.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// A rename is on the disk only when its folder is.
void Sync_Folder(const std::string& path) {
    const int folder = open(path.substr(0, path.find_last_of('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    fsync(folder);
    close(folder);
}

}  // namespace

bool Write_Whole_File(std::string_view path, std::string_view content) {
    const std::string target = Rooted(path), fresh = target + ".new";
    const int file = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) return false;
    const bool written = Write_All(file, content) && fsync(file) == 0;
    const bool closed = close(file) == 0;
    if (!written || !closed || std::rename(fresh.c_str(), target.c_str()) != 0) {
        const int cause = errno;
        unlink(fresh.c_str());
        errno = cause;
        return false;
    }
    Sync_Folder(target);
    return true;
}

bool Read_Whole_File(std::string_view path, std::size_t limit, std::string& content) {
    std::FILE* file = std::fopen(Rooted(path).c_str(), "rb");
    if (!file) return false;
    content.assign(limit + 1, '\0');
    const std::size_t size = std::fread(content.data(), 1, content.size(), file);
    std::fclose(file);
    content.resize(size);
    return size <= limit;
}

}  // namespace platform
