#pragma once
#include <cstdint>
#include <ctime>
#include <optional>
#include <span>

namespace platform {

constexpr std::size_t rtc_time_registers = 7;

/// Calendar time of the clock's registers 0 to 6: seconds, minutes, hours (of 24), day of the week (0 Sunday), day,
/// month, year of the century, each two decimal digits in one byte. Nothing when they hold no time, as after the
/// battery was out.
std::optional<std::tm> Rtc_Time(std::span<const std::uint8_t, rtc_time_registers> registers);

}  // namespace platform
