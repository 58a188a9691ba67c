#include "virtual_board/trigger.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/dsp_message.h"

namespace virtual_board {

namespace {

constexpr double highest_frequency_hz = 1e11;
constexpr double most_level_dbm = 400.0;
constexpr double longest_time_s = 1000.0;

bool All_Finite(std::span<const double> message, std::size_t last) {
    return message.size() > last && std::ranges::all_of(message.subspan(1, last), [](double x) { return std::isfinite(x); });
}

std::int64_t Time_Ns(double counts) {
    const double seconds = std::clamp(counts / platform::timing_clock_hz, 0.0, longest_time_s);
    return std::llround(seconds * 1e9);
}

}  // namespace

std::optional<Trigger_Settings> Parse_Trigger_Message(std::span<const double> message) {
    if (!All_Finite(message, platform::trigger_automatic)) {
        return std::nullopt;
    }
    Trigger_Settings s;
    const double highest = platform::trigger_external;
    s.source = static_cast<int>(std::clamp(message[platform::trigger_source], 0.0, highest));
    s.level_dbm = std::clamp(message[platform::trigger_level], -most_level_dbm, most_level_dbm);
    s.falling = message[platform::trigger_slope] == 1.0;
    s.external_falling = message[platform::trigger_external_slope] == 1.0;
    s.automatic = message[platform::trigger_automatic] == 1.0;
    s.frequency_hz = std::clamp(message[platform::trigger_frequency], 0.0, highest_frequency_hz);
    s.delay_ns = Time_Ns(message[platform::trigger_delay]);
    return s;
}

std::optional<Gate_Settings> Parse_Gate_Message(std::span<const double> message) {
    if (!All_Finite(message, platform::gate_length)) {
        return std::nullopt;
    }
    Gate_Settings s;
    s.on = message[platform::gate_on] == 1.0;
    s.delay_ns = Time_Ns(message[platform::gate_delay]);
    s.length_ns = std::max<std::int64_t>(Time_Ns(message[platform::gate_length]), 40);
    return s;
}

void Trigger_Line::Set(bool now_high, std::int64_t time_ns) {
    if (now_high == high) {
        return;
    }
    high = now_high;
    if (by_hand.size() == most_edges) {
        by_hand.pop_front();
    }
    by_hand.push_back({time_ns, !now_high});
}

std::optional<std::int64_t> Trigger_Line::Next(std::int64_t from_ns, bool falling) const {
    std::optional<std::int64_t> next;
    for (const Edge& edge : by_hand) {
        if (edge.falling == falling && edge.time_ns >= from_ns) {
            next = edge.time_ns;
            break;
        }
    }
    if (pulses.period_ns > 0) {
        const std::int64_t offset = falling ? pulses.width_ns : 0;
        const std::int64_t from = std::max<std::int64_t>(from_ns - offset, 0);
        const std::int64_t edge = (from + pulses.period_ns - 1) / pulses.period_ns * pulses.period_ns + offset;
        next = next ? std::min(*next, edge) : edge;
    }
    return next;
}

}  // namespace virtual_board
