#pragma once
#include <cstdint>
#include <span>

/// Levels and pixel rows. Stored levels are those at the input, in dBm, and have their rows with the reference level at
/// the input; what is shown, typed and answered is higher by Shown_Level_Offset.

struct Row_Scale {
    int code = 0;           ///< 0, 1, 2, 3: 10, 5, 2, 1 dB per division
    int reference = 0;      ///< dBm at the top row
    int division = 45;      ///< pixels; there are ten
    int top = 58, bottom = 508;
    int type = 0;           ///< 0 logarithmic, 1 linear: 0 V at the lower end of the tenth division
};

/// Row of a level, truncated toward zero: pixels a division below the reference; clamped to the top and bottom row where
/// asked. NaN stands at the bottom.
std::int16_t dBmTOpixel(double dbm, const Row_Scale& scale, bool clamp);

/// The rows of many levels, clamped.
void dBmTOpixels(std::span<const float> dbm, const Row_Scale& scale, std::uint16_t* rows);

/// The same on the logarithmic scale, whatever the type.
std::int16_t dBm2pixel(double dbm, const Row_Scale& scale, bool clamp);

/// Row of a voltage on the linear scale whose top is reference volts.
std::int16_t VoltsTOpixel(double volts, double reference, const Row_Scale& scale, bool clamp);

/// Scale of the active screen, for stored levels.
Row_Scale Active_Scale();

/// Stored level in dBm of a row of the active screen; no_level at and below 0 V.
double Pixel2dBm(int row);

/// What is added to a stored level of the active screen, dB: reference-level offset and 75 ohm correction.
double Shown_Level_Offset();

/// Level in dBm, as shown, of a horizontal line of the graticule of the active screen, 0 (top) to 10; no_level for 0 V.
double Line_Level(int line);
