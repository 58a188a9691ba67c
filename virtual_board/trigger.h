#pragma once
#include <cstdint>
#include <deque>
#include <optional>
#include <span>

/// Trigger and gate settings, and the trigger input.
namespace virtual_board {

/// What a sweep waits for. All values are finite and in range.
struct Trigger_Settings {
    int source = 0;  ///< a platform::Trigger_Source
    double level_dbm = -50.0;
    bool falling = false;  ///< slope of the video trigger
    bool external_falling = false;
    bool automatic = false;
    double frequency_hz = 0.0;
    std::int64_t delay_ns = 0;
};

struct Gate_Settings {
    bool on = false;
    std::int64_t delay_ns = 0;
    std::int64_t length_ns = 1;
};

/// The messages' settings with every number held in range; nothing where a number is not finite or is missing.
std::optional<Trigger_Settings> Parse_Trigger_Message(std::span<const double> message);
std::optional<Gate_Settings> Parse_Gate_Message(std::span<const double> message);

/// Pulses at the trigger input: high from every whole period for the width. Period 0: none.
struct Trigger_Pulses {
    std::int64_t period_ns = 0;
    std::int64_t width_ns = 0;
};

/// Edges at the trigger input, from a generator and by hand. Times are simulated ones.
class Trigger_Line {
public:
    explicit Trigger_Line(const Trigger_Pulses& pulses) : pulses(pulses) {}
    /// The line is raised or lowered by hand.
    void Set(bool high, std::int64_t time_ns);
    /// Edges by hand until now are no longer found.
    void Forget() { by_hand.clear(); }
    /// The first edge of the slope at or after a time, as far as one is known: the generator's lie in the future, too.
    std::optional<std::int64_t> Next(std::int64_t from_ns, bool falling) const;

private:
    static constexpr std::size_t most_edges = 1024;
    struct Edge {
        std::int64_t time_ns;
        bool falling;
    };
    Trigger_Pulses pulses;
    bool high = false;
    std::deque<Edge> by_hand;
};

}  // namespace virtual_board
