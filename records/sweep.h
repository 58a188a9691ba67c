#pragma once
#include <array>
#include <cstdint>

/// How narrow filters are measured: 3 kHz and narrower by FFT; 3 and 1 kHz swept, too; by FFT or not at all.
enum Sweep_Mode : std::uint8_t { sweep_mode_auto = 0, sweep_mode_swept, sweep_mode_fft };

/// Sweep settings of each screen.
struct Sweep_Record {
    std::array<std::int32_t, 2> steps{};         ///< measurement steps of one sweep
    std::array<double, 2> shortest{};            ///< s, shortest sweep time of the present settings
    std::array<double, 2> time{};                ///< s, sweep time in force
    std::array<std::uint8_t, 2> time_mode{};     ///< 0: automatic (the shortest), 1: typed
    std::array<std::uint8_t, 2> mode{};          ///< a Sweep_Mode
    std::array<std::uint8_t, 2> rule{};          ///< 0: fast, 1: accurate, with longer settling of the filters
    std::array<std::uint8_t, 2> uncal{};         ///< 1: the settings need longer than the longest sweep time
    std::int32_t hold = 0;                       ///< 1: the sweep is on hold; most hard keys show attention 24
    std::uint8_t single = 0;                     ///< 1: single sweep
    std::uint8_t single_started = 0;             ///< 1: a single sweep has been sent to the core
    std::uint8_t single_left = 0;                ///< sweeps until a single sweep stops: two where two halves are swept
    std::uint8_t external_trigger_pending = 0;   ///< 1: the next transfer hands the trigger state over, back to free run
    std::uint8_t fft = 0;                        ///< 1: the present settings sweep in FFT mode
    std::int32_t busy = 0;
};
inline Sweep_Record Sweep_Data;
