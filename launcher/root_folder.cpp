#include "launcher/root_folder.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/virtual/device_files.h"

namespace launcher {

namespace {

namespace fs = std::filesystem;

/// True when the open lock file is still the one that others find under its name.
bool Still_There(int lock, const std::string& path) {
    struct stat ours {}, named {};
    return ::fstat(lock, &ours) == 0 && ::stat(path.c_str(), &named) == 0 && ours.st_ino == named.st_ino &&
           ours.st_dev == named.st_dev;
}

int Lock(const std::string& folder) {
    const std::string path = folder + "/.lock";
    for (;;) {
        const int lock = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (lock < 0)
            throw std::runtime_error("can't write to the instrument root " + folder + ": " + std::strerror(errno));
        if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
            ::close(lock);
            throw std::runtime_error("an instrument runs already on the root " + folder);
        }
        if (Still_There(lock, path))
            return lock;
        ::close(lock);  // its last owner has just taken it away
    }
}

}  // namespace

Root_Folder::Root_Folder(const std::string& folder) : folder_(folder) {
    std::error_code error;
    fs::create_directories(folder + "/var/log", error);
    if (error)
        throw std::runtime_error("can't make the instrument root " + folder + ": " + error.message());
    lock_ = Lock(folder);
    Clear_Devices();
}

Root_Folder::~Root_Folder() {
    Clear_Devices();
    ::unlink((folder_ + "/.lock").c_str());
    ::close(lock_);
}

void Root_Folder::Clear_Devices() const {
    namespace files = platform::device_files;
    const std::string controller = files::controller_suffix;
    for (const std::string& name :
         {std::string(files::dsp_link), std::string(files::fpga_int), std::string(files::keypad),
          std::string(files::power_key), std::string(files::trigger), std::string(files::serial),
          std::string(files::serial_user), std::string(files::gpib), files::gpib + controller, std::string(files::usb),
          files::usb + controller, std::string("/tmp/web_store/talmiron.sock")}) {
        const fs::path path = folder_ + name;
        std::error_code error;
        const auto type = fs::symlink_status(path, error).type();
        if (type == fs::file_type::socket || type == fs::file_type::fifo || type == fs::file_type::symlink)
            fs::remove(path, error);
    }
}

}  // namespace launcher
