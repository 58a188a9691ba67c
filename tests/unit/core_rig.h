#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numeric>
#include <span>
#include <string_view>
#include <vector>

#include "platform/dsp_message.h"
#include "platform/sample_memory.h"
#include "virtual_board/core.h"
#include "virtual_board/scene.h"

/// A signal-processing core with its sample memory, stepped by tests.
namespace virtual_board_test {

using Message = std::array<double, platform::message_elements>;

/// A sweep message with enough steps and time for its RBW, as the instrument's coupling would choose.
inline Message Sweep_Message(double center_hz, double span_hz, int rbw_index, bool fft = false) {
    const double rbw = virtual_board::Rbw_Hertz(rbw_index, false);
    const double steps = std::max(601.0, std::ceil(2.0 * span_hz / rbw));
    Message message{};
    message[0] = platform::code_sweep;
    message[platform::sweep_center] = center_hz;
    message[platform::sweep_start] = center_hz - 0.5 * span_hz;
    message[platform::sweep_stop] = center_hz + 0.5 * span_hz;
    message[platform::sweep_span] = span_hz;
    message[platform::sweep_rbw_index] = rbw_index;
    message[platform::sweep_time] = fft ? std::max(0.05, 2.0 / rbw) : steps * std::max(60e-6, 3.0 / rbw);
    message[platform::sweep_fft] = fft ? 1.0 : 0.0;
    message[platform::sweep_points] = platform::points_per_sweep;
    message[platform::sweep_steps] = steps;
    return message;
}

struct Trace {
    std::vector<double> positive, negative, sample, average, quasi_peak, emi_average;
};

inline double Mean(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

/// Mean power in dBm of dBm values.
inline double Power_Mean(const std::vector<double>& dbm) {
    double sum = 0.0;
    for (const double value : dbm) {
        sum += std::pow(10.0, 0.1 * value);
    }
    return 10.0 * std::log10(sum / static_cast<double>(dbm.size()));
}

inline double Highest(const std::vector<double>& values) { return *std::ranges::max_element(values); }
inline double Lowest(const std::vector<double>& values) { return *std::ranges::min_element(values); }
inline int Place_Of_Highest(const std::vector<double>& values) {
    return static_cast<int>(std::ranges::max_element(values) - values.begin());
}

/// dBm of a sample in zero span.
inline double Volts_To_Dbm(double volts) { return 20.0 * std::log10(volts) + 10.0; }

struct Core_Rig {
    std::vector<double> memory = std::vector<double>(platform::sample_memory_elements);
    virtual_board::Core core;
    platform::Duration now{0};

    explicit Core_Rig(std::shared_ptr<const virtual_board::Input> input, virtual_board::Core_Options options = {})
        : core(std::move(input), options, memory) {
        core.Advance(now);
    }
    explicit Core_Rig(std::string_view scene, virtual_board::Core_Options options = {})
        : Core_Rig(virtual_board::Parse_Scene(scene, "scene"), options) {}

    int Count() const { return static_cast<int>(memory[platform::written_count]); }

    void Step(double seconds) {
        now += platform::Duration(std::llround(seconds * 1e9));
        core.Advance(now);
    }

    /// Sends the message and lets the core make whole sweeps (at most 50, the ring). Returns their samples in a row.
    Trace Sweep(const Message& message, int sweeps = 1) {
        core.Handle_Message(message);
        for (int i = 0; i < sweeps; i++) {
            Step(message[platform::sweep_time]);
        }
        const auto block = [&](std::size_t first) {
            const auto start = memory.begin() + static_cast<std::ptrdiff_t>(first);
            return std::vector<double>(start, start + Count());
        };
        return {block(platform::positive_peak_samples), block(platform::negative_peak_samples),
                block(platform::sample_samples),        block(platform::average_samples),
                block(platform::quasi_peak_samples),    block(platform::emi_average_samples)};
    }
};

}  // namespace virtual_board_test
