#pragma once
#include <cstdint>

enum Split_Mode : std::int32_t { split_none = 0, split_alternate, split_active };

/// Display settings and the state of the screen.
struct Display_Record {
    std::int32_t brightness = 100;   ///< percent
    std::int32_t active = 1;         ///< 0: the screen is dark; the next key wakes it
    std::int32_t clock_shown = 1;
    std::int32_t key_lock = 0;       ///< 1: hard keys are locked
    std::int32_t split = split_none; ///< two halves of their own settings, swept in turn or the active one alone
    std::int32_t line_shown = 0;     ///< 1: the display line stands on the graticule
    double line_level = -50;         ///< dBm as shown
};
inline Display_Record Display_Data;
