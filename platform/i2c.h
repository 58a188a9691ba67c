#pragma once
#include <cstdint>
#include <ctime>

/// The I2C bus with the real-time clock.
namespace platform {

/// Opens the bus; returns its descriptor, or -1 with errno.
int Open_I2c();

/// Reads the clock's calendar time (tm_year counted from 1900). 0, or -1 with errno.
int Read_Rtc(int bus, std::tm& time);

/// Writes one register of the clock. 0, or -1 with errno.
int Write_Rtc(int bus, std::uint8_t reg, std::uint8_t value);

void Close_I2c(int bus);

}  // namespace platform
