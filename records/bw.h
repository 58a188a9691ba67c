#pragma once
#include <array>
#include <cstdint>

/// Resolution and video bandwidth of each screen, as indices into their tables.
struct BW_Record {
    std::array<std::uint8_t, 2> rbw_mode{};  ///< 0: automatic, 1: manual
    std::array<std::int32_t, 2> rbw{};       ///< 0 (1 MHz) to 15
    std::array<std::uint8_t, 2> vbw_mode{};  ///< 0: automatic, 1: manual
    std::array<std::int32_t, 2> vbw{};       ///< 0 (1 MHz) to 12 (1 Hz)
    std::int32_t emi = 0;                    ///< 1: the EMI filters are selected, on both screens
    std::array<double, 2> ratio{};           ///< VBW / RBW that a manual VBW keeps; 0: it keeps its own value
    std::array<std::uint8_t, 2> unfit{};     ///< 1: zero span with a manual RBW that is too narrow for it
    std::array<std::int32_t, 2> detector{};  ///< 8 to 12 are the EMI detectors
};
inline BW_Record BW_Data;
inline std::array<std::int32_t, 2> BW_RBW_Mode{};  ///< filter mode column of the settling table, 0 to 2
