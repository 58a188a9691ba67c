#pragma once
#include <chrono>
#include <ctime>

/// All waiting and all time of the instrument.
namespace platform {

using Duration = std::chrono::nanoseconds;

enum class Clock_Mode {
    real,     ///< waits and pauses take their time
    fast,     ///< waits take their time, pauses take none
    stepped,  ///< time stands still but for Step_Clock (tests)
};

/// Call before any thread waits. Stepped time starts at 0 with the wall clock at 2026-01-02 03:04:05.
void Set_Clock_Mode(Clock_Mode mode);
Clock_Mode Current_Clock_Mode();

/// Monotonic time since an arbitrary start.
Duration Now();

/// Local calendar time of the PC or, when stepped, of the test.
std::tm Wall_Clock();

/// Waits, as polling loops do. Returns false as soon as the stop is requested.
bool Sleep_For(Duration time);

/// Pauses for the eye of a person (pictures, notices); takes no time in fast mode. Returns false on a stop request.
bool Pause_For(Duration time);

/// Moves stepped time forward and wakes those whose time has come.
void Step_Clock(Duration time);

}  // namespace platform
