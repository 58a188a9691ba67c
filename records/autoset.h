#pragma once
#include <cstdint>

/// How the automatic setting looks for a signal and shows it.
struct Autoset_Record {
    double floor = -60;             ///< dBm as shown: the level that a signal needs, while manual
    double span = 3e6;              ///< Hz, in which the signal is shown, while manual
    std::uint8_t floor_manual = 0;  ///< 0: above the noise
    std::uint8_t span_manual = 0;   ///< 0: by the width of the signal
};
inline Autoset_Record Autoset_Data;
