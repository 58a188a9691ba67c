#pragma once
#include <filesystem>

/// Linux's device classes under "/sys/class", by the folder of the class.
namespace platform {

/// True if a network interface of hardware, other than a loopback, has a carrier.
bool Has_Carrier(const std::filesystem::path& net_class);

/// Brightness in percent of the first back-light of the class. 0 or -1 with errno.
int Set_Brightness(const std::filesystem::path& backlight_class, int percent);

/// Present brightness in percent, or -1 with errno.
int Get_Brightness(const std::filesystem::path& backlight_class);

}  // namespace platform
