#pragma once
#include <chrono>
#include <cstdint>
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

/// Local calendar time of the instrument: the PC's or, when stepped, the test's, moved by the clock's offset.
std::tm Wall_Clock();

/// Sets the instrument's clock. The virtual one keeps its offset to the PC's clock, which is never touched; the board sets
/// the machine's. False with errno on failure. Any thread.
bool Set_Wall_Clock(const std::tm& calendar);

/// The offset in seconds, to be kept over the power-off; always 0 on the board, whose clock runs on.
std::int64_t Wall_Clock_Offset();
void Set_Wall_Clock_Offset(std::int64_t seconds);

/// Waits, as polling loops do. Returns false as soon as the stop is requested.
bool Sleep_For(Duration time);

/// Pauses for the eye of a person (pictures, notices); takes no time in fast mode. Returns false on a stop request.
bool Pause_For(Duration time);

/// Moves stepped time forward and wakes those whose time has come.
void Step_Clock(Duration time);

}  // namespace platform
