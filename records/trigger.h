#pragma once
#include <cstdint>

#include "records/freqs.h"

enum Trigger_Choice : std::uint8_t { trigger_by_none = 0, trigger_by_video, trigger_by_input };

/// What a sweep waits for, and the gate.
struct Trigger_Record {
    std::uint8_t source = trigger_by_none;  ///< a Trigger_Choice
    std::uint8_t automatic = 0;             ///< 1: a sweep starts without trigger when none has come for 0.5 s
    std::uint8_t video_falling = 0;         ///< slope of the video trigger
    std::uint8_t input_falling = 0;         ///< slope of the trigger input, also for the gate
    std::uint8_t gate = 0;                  ///< 1: the sweep runs only while the gate is open
    double delay = 0;                       ///< s, from the trigger to the start of the sweep
    double video_level = -50;               ///< dBm at the input
    Per_Screen_Hz video_frequency{};        ///< Hz, whose level is watched; outside the sweep it becomes the centre
    double gate_delay = 0;                  ///< s, from an edge of the trigger input to the opening of the gate
    double gate_length = 1e-3;              ///< s
};
inline Trigger_Record Trigger_Data;

inline std::int64_t Trigger_Waiting_Since = -1;  ///< ns of the clock; -1: no sweep waits for its trigger
inline std::int32_t Trigger_Wait_Shown = 0;  ///< 1: the screen says that the sweep waits for its trigger
