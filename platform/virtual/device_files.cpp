#include "platform/virtual/device_files.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace platform::device_files {

namespace {

/// A root can lie deeper than a socket name is long, so the name goes through the folder's descriptor.
class Socket_Name {
  public:
    explicit Socket_Name(const std::string& path) {
        const auto slash = path.rfind('/');
        if (slash == std::string::npos)
            return;
        folder_ = ::open(path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        address_.sun_family = AF_UNIX;
        const int length = std::snprintf(address_.sun_path, sizeof address_.sun_path, "/proc/self/fd/%d/%s", folder_,
                                         path.c_str() + slash + 1);
        fits_ = length > 0 && static_cast<std::size_t>(length) < sizeof address_.sun_path;
    }
    Socket_Name(const Socket_Name&) = delete;
    Socket_Name& operator=(const Socket_Name&) = delete;
    ~Socket_Name() {
        if (folder_ >= 0)
            ::close(folder_);
    }

    bool Usable() const { return folder_ >= 0 && fits_; }
    const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&address_); }
    socklen_t Size() const { return sizeof address_; }

  private:
    int folder_ = -1;
    bool fits_ = false;
    sockaddr_un address_{};
};

int Give_Up(int descriptor) {
    const int error = errno;
    if (descriptor >= 0)
        ::close(descriptor);
    errno = error;
    return -1;
}

}  // namespace

int Connect_Device(const std::string& path, int type) {
    const Socket_Name name(path);
    if (!name.Usable()) {
        errno = ENOENT;
        return -1;
    }
    const int descriptor = ::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0 || ::connect(descriptor, name.Address(), name.Size()) != 0)
        return Give_Up(descriptor);
    return descriptor;
}

int Listen_Device(const std::string& path) {
    const Socket_Name name(path);
    if (!name.Usable()) {
        errno = ENOENT;
        return -1;
    }
    ::unlink(path.c_str());
    const int descriptor = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0 || ::bind(descriptor, name.Address(), name.Size()) != 0 || ::listen(descriptor, 64) != 0)
        return Give_Up(descriptor);
    return descriptor;
}

}  // namespace platform::device_files
