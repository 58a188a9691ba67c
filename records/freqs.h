#pragma once
#include <array>
#include <cstdint>

constexpr int screens = 2;  ///< halves of the split display
using Per_Screen_Hz = std::array<double, screens>;

/// Frequency axis of each screen, in Hz, without the offset.
struct Freqs_Record {
    Per_Screen_Hz center{};
    Per_Screen_Hz start{};
    Per_Screen_Hz stop{};
    Per_Screen_Hz step{};       ///< centre-frequency step
    Per_Screen_Hz span{};
    Per_Screen_Hz last_span{};  ///< the span before the most recent change
    Per_Screen_Hz offset{};     ///< added for display only
};

inline Freqs_Record Freqs;
inline std::array<std::uint8_t, screens> stepautoman{};  ///< 0: step follows the span, else manual
inline int ScreenActive = 0;                             ///< the screen that every setter works on

inline double MAXFREQUENCY = 3'250'050'000;  ///< Hz: the highest centre, start and stop
inline double MAXSPAN = 3'250'000'000;       ///< Hz: full span runs from 0 to here
