#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/clock.h"
#include "platform/dsp_message.h"
#include "virtual_board/input.h"
#include "virtual_board/receiver.h"
#include "virtual_board/trigger.h"
#include "virtual_board/video_trigger.h"

namespace virtual_board {

enum class Effort { whole, bounded };

struct Core_Options {
    std::uint64_t seed = 1;  ///< of the noise
    bool fast = false;       ///< a sweep takes 5 ms, whatever its sweep time; waits for triggers take theirs
    Trigger_Pulses pulses{}; ///< at the trigger input
};

/// The settings of a sweep message, or of one with its elements, with every number held in range; nothing where a number that matters is not finite,
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
    /// Bounded effort ends the call after some 1 ms of computing, wherever it stands; Next_Due then says at once.
    void Advance(platform::Duration now, Effort effort = Effort::whole);

    /// The trigger input is raised or lowered, at the time of the last Advance.
    void Set_Trigger_Input(bool high) { line.Set(high, Input_Time()); }

    /// The driver's request to re-arm: 1 reports the trigger of the present wait, also one that has come already; where there is
    /// nothing to wait for, at once.
    void Arm(int argument);

    /// When the next call of Advance is worth its while; nothing where no sweep runs.
    std::optional<platform::Duration> Next_Due() const;

    /// The oldest event for the FPGA interrupt device not yet fetched (a platform::Fpga_Event), if any.
    std::optional<std::uint8_t> Take_Event();

private:
    enum class State { idle, waiting, sweeping };

    void Take_Settings(std::span<const double> message);
    void Take_Counter(std::span<const double> message);
    bool Count_Begins();
    void End_Count();
    void Forget_Count();
    void Take_Trigger(std::span<const double> message);
    void Take_External(std::span<const double> message);
    void Take_Gate(std::span<const double> message);
    void Restart();
    void Restart_If_Running();

    bool Fft() const { return receiver.Settings().fft || receiver.By_Fft(); }
    bool Gated() const { return gate.on && !Fft(); }
    bool Watches_Video() const { return trigger.source == platform::trigger_video && !Fft() && !Gated(); }
    bool Watches_Input() const { return trigger.source == platform::trigger_external || Gated(); }
    bool Waits() const { return Watches_Video() || Watches_Input(); }
    void Begin_Wait();
    void Look_For_Trigger(double work_limit);
    void Begin_Triggered_Sweep(std::int64_t trigger_ns);
    std::optional<std::int64_t> Wait_Due_Ns() const;

    std::int64_t Sweep_Clock_Ns() const;
    std::int64_t Due_Ns(int point) const;
    std::int64_t Clock_Of(std::int64_t input_ns) const;
    std::int64_t Input_Time() const;
    bool Point_Complete();
    bool Open_Gate();
    bool Fill_Gated_Point(std::int64_t until_ns);
    std::optional<std::int64_t> Gate_Due_Ns() const;
    double Work_Ns() const;
    void Write_Point();
    void End_Sweep();
    void Skip_Sweeps();

    Core_Options options;
    std::span<double> memory;
    std::shared_ptr<const Input> input;
    Receiver receiver;
    State state = State::idle;
    bool have_settings = false;
    bool single = false;
    bool resting = false;  ///< after a triggered sweep
    std::optional<std::int64_t> clock_ns;  ///< of the last Advance
    std::int64_t sweep_clock_ns = 0;       ///< clock at the start of the present sweep or wait
    std::int64_t sweep_input_ns = 0;       ///< simulated input time then
    int point = 0;                         ///< next point of the present sweep
    int written = 0;                       ///< count of written samples
    int finished_events = 0, triggered_events = 0;

    Trigger_Settings trigger;
    Gate_Settings gate;
    Trigger_Line line;
    std::optional<Video_Trigger> video;
    bool armed = false, triggered = false;

    /// A stretch of time in which the gate is open, and how much of the present point has passed in such.
    struct Window {
        double at_ns, end_ns;  ///< from the start of the sweep
    };
    std::optional<Window> window;
    std::int64_t next_edge_from_ns = 0;
    double gated_ns = 0.0;
    std::vector<Receiver::Run> runs;

    struct Counter {
        bool on = false;
        double frequency_hz = 0.0;
        std::int64_t time_ns = 0;   ///< how long one count takes
        bool begun = false;         ///< in the present sweep
        bool counting = false;
        std::int64_t start_ns = 0;  ///< simulated time at which the count began
        std::int64_t pause_ns = 0;  ///< how long the present sweep waits for it, by the clock,
        std::int64_t waits_ns = 0;  ///< and in simulated time
    } counter;
};

}  // namespace virtual_board
