#include "virtual_board/video_trigger.h"

#include <algorithm>

namespace virtual_board {

namespace {

constexpr std::int64_t shortest_point_ns = 10'000, longest_point_ns = 100'000;
constexpr int block_points = 600;
constexpr double hysteresis_db = 0.5;
constexpr std::int64_t longest_lag_ns = 1'000'000'000, kept_lag_ns = 100'000'000;

}  // namespace

void Video_Trigger::Configure(const Sweep_Settings& sweep, double frequency_hz, double level, bool falling) {
    Sweep_Settings s = sweep;
    s.start_hz = s.stop_hz = frequency_hz;
    s.fft = s.emi = false;
    point_ns = std::clamp(sweep.time_ns / std::max(sweep.points, 1), shortest_point_ns, longest_point_ns);
    s.points = s.steps = block_points;
    s.time_ns = point_ns * block_points;
    receiver.Configure(s);
    level_dbm = level;
    sign = falling ? -1.0 : 1.0;
}

void Video_Trigger::Start(std::int64_t time_ns) {
    ready = any = false;
    Begin_Block(time_ns, true);
}

void Video_Trigger::Begin_Block(std::int64_t time_ns, bool fresh) {
    block_ns = time_ns;
    point = 0;
    receiver.Begin_Sweep(time_ns, fresh);
}

std::optional<std::int64_t> Video_Trigger::Search(std::int64_t until_ns, double work_limit_ns) {
    if (until_ns - Searched_To() > longest_lag_ns) {
        Start(until_ns - kept_lag_ns);
    }
    while (Searched_To() + point_ns <= until_ns && receiver.Work_Ns() < work_limit_ns) {
        if (point == block_points) {
            Begin_Block(Searched_To(), false);
        }
        const std::int64_t point_start = Searched_To();
        const auto part = Crossing(receiver.Measure(point));
        point++;
        if (part) {
            return point_start + static_cast<std::int64_t>(*part * static_cast<double>(point_ns));
        }
    }
    return std::nullopt;
}

/// The part of the point after which the level is crossed.
std::optional<double> Video_Trigger::Crossing(const Point_Values& values) {
    const double level = sign * level_dbm;
    const double highest = sign * (sign > 0.0 ? values.positive : values.negative);
    const double lowest = sign * (sign > 0.0 ? values.negative : values.positive);
    const double last = sign * values.sample;
    std::optional<double> part;
    if (ready && highest >= level) {
        const bool rose = any && last >= level && last > last_level;
        part = rose ? std::clamp((level - last_level) / (last - last_level), 0.0, 1.0) : 0.5;
    }
    ready = ready || lowest <= level - hysteresis_db;
    last_level = last;
    any = true;
    return part;
}

}  // namespace virtual_board
