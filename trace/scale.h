#pragma once
#include <cstdint>

/// Levels in dBm and pixel rows.

struct Row_Scale {
    int code = 0;           ///< 0, 1, 2, 3: 10, 5, 2, 1 dB per division
    int reference = 0;      ///< dBm at the top row
    int division = 45;      ///< pixels
    int top = 58, bottom = 508;
    int type = 0;           ///< 0 logarithmic
};

/// Row of a level: the top plus 45 pixels a division below the reference, truncated toward zero; clamped to the top and
/// bottom row where asked. NaN stands at the bottom.
std::int16_t dBmTOpixel(double dbm, const Row_Scale& scale, bool clamp);

/// Scale of the active screen.
Row_Scale Active_Scale();

/// Level in dBm of a row of the active screen.
double Pixel2dBm(int row);

/// What is added to a stored level of the active screen, dB: reference-level offset and 75 ohm correction.
double Shown_Level_Offset();

constexpr int Db_Per_Division(int code) { return code == 0 ? 10 : code == 1 ? 5 : code == 2 ? 2 : 1; }
