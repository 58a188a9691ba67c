#include "platform/backlight.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <optional>
#include <system_error>

#include "platform/board/system_classes.h"

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr const char* backlight_class = "/sys/class/backlight";

struct Backlight {
    fs::path level_file;
    long maximum;  ///< brightness at 100 percent
};

std::optional<Backlight> Find_Backlight(const fs::path& folder) {
    std::error_code error;
    const fs::directory_iterator first(folder, error);
    if (error || first == fs::directory_iterator()) {
        errno = ENODEV;
        return std::nullopt;
    }
    Backlight backlight{first->path() / "brightness", 0};
    std::ifstream(first->path() / "max_brightness") >> backlight.maximum;
    if (backlight.maximum > 0) return backlight;
    errno = EIO;
    return std::nullopt;
}

}  // namespace

int Set_Brightness(const fs::path& folder, int percent) {
    const auto backlight = Find_Backlight(folder);
    if (!backlight) return -1;
    const long long level = (backlight->maximum * static_cast<long long>(std::clamp(percent, 0, 100)) + 50) / 100;
    std::ofstream file(backlight->level_file);
    file << level << '\n';
    return file.flush() ? 0 : -1;
}

int Get_Brightness(const fs::path& folder) {
    const auto backlight = Find_Backlight(folder);
    if (!backlight) return -1;
    long long level = -1;
    std::ifstream(backlight->level_file) >> level;
    if (level < 0) {
        errno = EIO;
        return -1;
    }
    const long long percent = (level * 100 + backlight->maximum / 2) / backlight->maximum;
    return static_cast<int>(std::min(percent, 100LL));
}

int Set_Backlight(int percent) { return Set_Brightness(backlight_class, percent); }

int Get_Backlight() { return Get_Brightness(backlight_class); }

}  // namespace platform
