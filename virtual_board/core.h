#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/clock.h"
#include "platform/dsp_message.h"
#include "virtual_board/input.h"
#include "virtual_board/receiver.h"

namespace virtual_board {

enum class Effort { whole, bounded };

struct Core_Options {
    std::uint64_t seed = 1;  ///< of the noise
    bool fast = false;       ///< a sweep takes 5 ms, whatever its sweep time
};

/// The sweep message's settings with every number held in range; nothing where a number that matters is not finite,
/// or where the message is too short.
std::optional<Sweep_Settings> Parse_Sweep_Message(std::span<const double> message);

/// The signal-processing core: takes the link's messages and writes detector samples as their time comes.
///
/// Knows no clock of its own: time is what Advance is told, and messages act at the time of the last Advance. The
/// samples depend on the input, the seed, the messages and the times of these, not on how often Advance is called, as
/// long as it is not more than two sweeps late. Used by one thread at a time; only the sample memory is shared.
class Core {
public:
    /// sample_memory holds platform::sample_memory_elements doubles and outlives the core.
    /// Throws std::invalid_argument if it is smaller or the input is null.
    Core(std::shared_ptr<const Input> input, Core_Options options, std::span<double> sample_memory);

    /// Acts on a message, command code first. Unknown codes and unusable messages change nothing.
    void Handle_Message(std::span<const double> message);

    /// Writes every sample that is due at now, a time since any start that never goes back. More than two sweeps late,
    /// it completes the one begun and leaves out the others but the last two.
    /// Bounded effort ends the call after some 10 ms of computing, wherever it stands; Next_Due then says at once.
    void Advance(platform::Duration now, Effort effort = Effort::whole);

    /// When the next call of Advance is worth its while; nothing where no sweep runs.
    std::optional<platform::Duration> Next_Due() const;

    /// The oldest event for the FPGA interrupt device not yet fetched (a platform::Fpga_Event), if any.
    std::optional<std::uint8_t> Take_Event();

private:
    void Take_Settings(std::span<const double> message);
    void Take_Counter(std::span<const double> message);
    bool Gate_Opens();
    void End_Count();
    void Restart();
    std::int64_t Sweep_Clock_Ns() const;
    std::int64_t Due_Ns(int point) const;
    std::int64_t Input_Time() const;
    void Write_Point();
    void End_Sweep();
    void Skip_Sweeps();

    Core_Options options;
    std::span<double> memory;
    Receiver receiver;
    bool have_settings = false;
    bool sweeping = false;
    bool single = false;
    std::optional<std::int64_t> clock_ns;  ///< of the last Advance
    std::int64_t sweep_clock_ns = 0;       ///< clock at the present sweep's start
    std::int64_t sweep_input_ns = 0;       ///< simulated input time at the present sweep's start
    int point = 0;                         ///< next point of the present sweep
    int written = 0;                       ///< count of written samples
    int finished_events = 0;

    struct Counter {
        bool on = false;
        double frequency_hz = 0.0;
        std::int64_t gate_ns = 0;
        bool opened = false;           ///< in the present sweep
        bool counting = false;
        std::int64_t start_ns = 0;     ///< simulated time at which the gate opened
        std::int64_t pause_ns = 0;     ///< what the present sweep lasts longer, by the clock
    } counter;
};

}  // namespace virtual_board
