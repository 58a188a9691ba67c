#pragma once

namespace remote {

/// What the transports ask of the instrument above them; any of it may be null.
struct Remote_Setup {
    void (*reset)() = nullptr;              ///< *RST: the factory preset; under Command_Main_Mutex
    void (*leave_file_modes)() = nullptr;   ///< before new input; without locks but scpi_lock_mutex
    /// False when no sweep will end, so that nobody waits for it. Without locks.
    bool (*sweep_can_come)() = nullptr;
};

}  // namespace remote
