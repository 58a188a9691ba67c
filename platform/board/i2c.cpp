#include "platform/i2c.h"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <array>
#include <cerrno>

#include "platform/board/rtc_registers.h"

namespace platform {

namespace {

constexpr const char* bus_device = "/dev/i2c-0";
constexpr std::uint16_t rtc_address = 0x68;

int Transfer(int bus, std::span<i2c_msg> messages) {
    i2c_rdwr_ioctl_data transfer{messages.data(), static_cast<std::uint32_t>(messages.size())};
    return ::ioctl(bus, I2C_RDWR, &transfer) < 0 ? -1 : 0;
}

/// Value of two decimal digits, or nothing outside the range.
std::optional<int> Digits(std::uint8_t digits, int low, int high) {
    const int value = (digits >> 4) * 10 + (digits & 0x0f);
    const bool decimal = (digits >> 4) <= 9 && (digits & 0x0f) <= 9;
    return decimal && value >= low && value <= high ? std::optional(value) : std::nullopt;
}

}  // namespace

std::optional<std::tm> Rtc_Time(std::span<const std::uint8_t, rtc_time_registers> registers) {
    const auto second = Digits(registers[0], 0, 59), minute = Digits(registers[1], 0, 59);
    const auto hour = Digits(registers[2], 0, 23), weekday = Digits(registers[3], 0, 6);
    const auto day = Digits(registers[4], 1, 31), month = Digits(registers[5], 1, 12);
    const auto year = Digits(registers[6], 0, 99);
    if (!second || !minute || !hour || !weekday || !day || !month || !year) return std::nullopt;
    std::tm time{};
    time.tm_sec = *second;
    time.tm_min = *minute;
    time.tm_hour = *hour;
    time.tm_wday = *weekday;
    time.tm_mday = *day;
    time.tm_mon = *month - 1;
    time.tm_year = 100 + *year;
    time.tm_isdst = -1;
    return time;
}

int Open_I2c() { return ::open(bus_device, O_RDWR | O_CLOEXEC); }

int Read_Rtc(int bus, std::tm& time) {
    std::uint8_t first = 0;
    std::array<std::uint8_t, rtc_time_registers> registers{};
    std::array<i2c_msg, 2> messages{
        {{rtc_address, 0, 1, &first}, {rtc_address, I2C_M_RD, registers.size(), registers.data()}}};
    if (Transfer(bus, messages) != 0) return -1;
    const auto read = Rtc_Time(registers);
    if (!read) {
        errno = EIO;
        return -1;
    }
    time = *read;
    return 0;
}

int Write_Rtc(int bus, std::uint8_t reg, std::uint8_t value) {
    std::array<std::uint8_t, 2> bytes{reg, value};
    std::array<i2c_msg, 1> messages{{{rtc_address, 0, bytes.size(), bytes.data()}}};
    return Transfer(bus, messages);
}

void Close_I2c(int bus) {
    if (bus >= 0) ::close(bus);
}

}  // namespace platform
