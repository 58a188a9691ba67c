#pragma once
#include <array>
#include <cstdint>

/// What the transfers of the measurement modes tell the core.
struct Measurement_Record {
    std::int32_t value = 0;                     ///< of measurement mode 6
    std::int32_t double_channel = 0;            ///< 1: both channels are shown
    std::array<std::int32_t, 2> detector_order{}, lock_order{};  ///< of each channel
    std::int32_t mask_setup_pending = 0;        ///< 1: the emission mask's setup has to be sent
};
inline Measurement_Record Measurement_Data;

/// The earphone of the demodulation modes.
struct Demodulation_Record {
    std::uint8_t earphone = 0;  ///< 1: on
    std::uint8_t volume = 0;    ///< percent
};
inline Demodulation_Record Demodulation_Data;
