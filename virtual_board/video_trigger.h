#pragma once
#include <cstdint>
#include <memory>
#include <optional>

#include "virtual_board/receiver.h"

namespace virtual_board {

/// Watches the level at one frequency, behind the sweep's resolution and video filters, for the video trigger.
class Video_Trigger {
public:
    Video_Trigger(std::shared_ptr<const Input> input, std::uint64_t seed) : receiver(std::move(input), seed) {}

    /// The next call is Start.
    void Configure(const Sweep_Settings& sweep, double frequency_hz, double level_dbm, bool falling);
    /// Begins to watch at a simulated time.
    void Start(std::int64_t time_ns);
    /// Goes on watching up to a time; the moment at which the level is crossed. Ends early where the computing time
    /// passes the limit. What lies more than a second back is left out.
    std::optional<std::int64_t> Search(std::int64_t until_ns, double work_limit_ns);
    /// Up to where has been looked.
    std::int64_t Searched_To() const { return block_ns + point_ns * point; }
    std::int64_t Point_Ns() const { return point_ns; }
    double Work_Ns() const { return receiver.Work_Ns(); }

private:
    void Begin_Block(std::int64_t time_ns, bool fresh);
    std::optional<double> Crossing(const Point_Values& values);

    Receiver receiver;
    double level_dbm = 0.0;
    double sign = 1.0;  ///< -1 for the falling slope, which is looked for upside down
    std::int64_t point_ns = 1, block_ns = 0;
    int point = 0;
    bool ready = false;       ///< the level has been on the slope's far side
    double last_level = 0.0;  ///< at the end of the last point, times sign
    bool any = false;
};

}  // namespace virtual_board
