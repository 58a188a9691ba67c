#include "virtual_board/core.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "platform/fpga_int.h"
#include "platform/sample_memory.h"

namespace virtual_board {

namespace {

constexpr double highest_frequency_hz = 1e11;
constexpr double shortest_sweep_s = 1e-3;
constexpr double longest_sweep_s = 1e4;
constexpr int most_steps = 760'000;
constexpr double shortest_step_s = 10e-6;
constexpr double highest_attenuation_db = 100.0;
constexpr double finest_count_hz = 0.1, coarsest_count_hz = 1e6;

constexpr std::int64_t fast_sweep_ns = 5'000'000;
constexpr double bounded_work_ns = 10e6;
constexpr std::int64_t batch_ns = 2'000'000;  ///< points are written together that fall due within this

/// Firmware versions times 100.
constexpr double dsp_firmware = 100.0;
constexpr double tracking_firmware = 100.0;
constexpr double rf_firmware = 100.0;

/// Integer of a message element that is known to be finite.
int To_Int(double value, int low, int high) {
    return static_cast<int>(std::clamp(value, static_cast<double>(low), static_cast<double>(high)));
}

/// Linear voltage of a level, as zero-span samples are given: 20 log10(v) + 10 is dBm.
double Zero_Span_Volts(double dbm) { return std::pow(10.0, 0.05 * (dbm - 10.0)); }

/// Simulated time moved on by some sweeps; it starts again at 0 after 36 years, which fast sweeps can reach.
std::int64_t Moved_On(std::int64_t input_ns, std::int64_t sweeps, std::int64_t sweep_ns) {
    const auto moved = static_cast<std::uint64_t>(input_ns) +
                       static_cast<std::uint64_t>(sweeps) * static_cast<std::uint64_t>(sweep_ns);
    return static_cast<std::int64_t>(moved & ((std::uint64_t{1} << 60) - 1));
}

void Store_Sample(std::span<double> memory, std::size_t element, double value) {
    std::atomic_ref<double>(memory[element]).store(value, std::memory_order_relaxed);
}

}  // namespace

std::optional<Sweep_Settings> Parse_Sweep_Message(std::span<const double> message) {
    constexpr std::array needed = {platform::sweep_center, platform::sweep_start,       platform::sweep_stop,
                                   platform::sweep_span,   platform::sweep_rbw_index,   platform::sweep_vbw_index,
                                   platform::sweep_time,   platform::sweep_attenuation, platform::sweep_fft,
                                   platform::sweep_points, platform::sweep_steps,       platform::sweep_preamplifier,
                                   platform::sweep_emi};
    for (const std::size_t element : needed) {
        if (element >= message.size() || !std::isfinite(message[element])) {
            return std::nullopt;
        }
    }
    const auto frequency = [&](std::size_t element) {
        return std::clamp(message[element], -highest_frequency_hz, highest_frequency_hz);
    };
    Sweep_Settings s;
    const double center = frequency(platform::sweep_center);
    const double span = std::max(0.0, frequency(platform::sweep_span));
    s.start_hz = frequency(platform::sweep_start);
    s.stop_hz = frequency(platform::sweep_stop);
    if (span == 0.0) {
        s.start_hz = s.stop_hz = center;
    } else if (s.stop_hz <= s.start_hz) {
        s.start_hz = center - 0.5 * span;
        s.stop_hz = center + 0.5 * span;
    }
    s.emi = message[platform::sweep_emi] == 1.0;
    s.rbw_hz = Rbw_Hertz(To_Int(message[platform::sweep_rbw_index], -1, 100), s.emi);
    s.vbw_hz = Vbw_Hertz(To_Int(message[platform::sweep_vbw_index], -1, 100));
    const double time_s = std::clamp(message[platform::sweep_time], shortest_sweep_s, longest_sweep_s);
    s.time_ns = std::llround(time_s * 1e9);
    s.attenuation_db = std::clamp(message[platform::sweep_attenuation], 0.0, highest_attenuation_db);
    s.preamplifier = message[platform::sweep_preamplifier] == 1.0;
    s.fft = message[platform::sweep_fft] == 1.0;
    const int points = To_Int(message[platform::sweep_points], 0, platform::sample_block);
    s.points = points < 2 ? platform::points_per_sweep : points;
    const int steps_in_time = To_Int(time_s / shortest_step_s, 1, most_steps);
    s.steps = std::max(s.points, std::min(steps_in_time, To_Int(message[platform::sweep_steps], 1, most_steps)));
    return s;
}

Core::Core(std::shared_ptr<const Input> input, Core_Options options, std::span<double> sample_memory)
    : options(options), memory(sample_memory), receiver(std::move(input), options.seed) {
    if (memory.size() < platform::sample_memory_elements) {
        throw std::invalid_argument("the sample memory is too small");
    }
    platform::Store_Element(memory.data(), platform::written_count, 0.0);
    platform::Store_Element(memory.data(), platform::dsp_version, dsp_firmware);
    platform::Store_Element(memory.data(), platform::tracking_version, tracking_firmware);
    platform::Store_Element(memory.data(), platform::rf_version, rf_firmware);
}

void Core::Handle_Message(std::span<const double> message) {
    if (message.empty() || !std::isfinite(message[0])) {
        return;
    }
    const bool has_value = message.size() > 1 && std::isfinite(message[1]);
    switch (To_Int(message[0], -1, 1000)) {
        case platform::code_sweep: Take_Settings(message); break;
        case platform::code_single_sweep:
            if (!has_value) {
                return;
            }
            single = message[1] == 1.0;
            Restart();
            break;
        case platform::code_counter: Take_Counter(message); break;
        case platform::code_trigger:
            // The reader starts again at the first sample after this message, so the writer does too.
            if (sweeping) {
                Restart();
            }
            break;
        default: break;
    }
}

void Core::Take_Settings(std::span<const double> message) {
    const std::optional<Sweep_Settings> settings = Parse_Sweep_Message(message);
    if (!settings) {
        return;
    }
    const std::int64_t input_ns = Input_Time();
    sweeping = false;
    receiver.Configure(*settings);
    have_settings = true;
    sweep_input_ns = input_ns;
    sweep_clock_ns = clock_ns.value_or(0);
    Restart();
}

void Core::Take_Counter(std::span<const double> message) {
    if (message.size() < 4 || !std::isfinite(message[1]) || !std::isfinite(message[2]) || !std::isfinite(message[3])) {
        return;
    }
    counter.on = message[1] == 1.0;
    counter.counting = counter.opened = false;
    counter.frequency_hz = std::clamp(message[2], 0.0, highest_frequency_hz);
    counter.gate_ns = std::llround(1e9 / std::clamp(message[3], finest_count_hz, coarsest_count_hz));
    platform::Store_Element(memory.data(), platform::counter_frequency, 0.0);
    platform::Store_Element(memory.data(), platform::counter_ratio, 0.0);
}

/// The gate opens when the sweep comes to the frequency, and the sweep waits there until it closes.
bool Core::Gate_Opens() {
    const Sweep_Settings& s = receiver.Settings();
    if (!counter.on || counter.opened || counter.frequency_hz < s.start_hz || counter.frequency_hz > s.stop_hz ||
        s.stop_hz <= s.start_hz) {
        return false;
    }
    const double place = (counter.frequency_hz - s.start_hz) * (s.points - 1) / (s.stop_hz - s.start_hz);
    if (point != To_Int(place + 0.5, 0, s.points - 1)) {
        return false;
    }
    counter.opened = counter.counting = true;
    counter.start_ns = sweep_input_ns + s.time_ns / s.points * point;
    counter.pause_ns = options.fast ? 0 : counter.gate_ns;
    return true;
}

void Core::End_Count() {
    counter.counting = false;
    const Receiver::Count_Result result = receiver.Count(counter.frequency_hz, counter.start_ns, counter.gate_ns);
    platform::Store_Element(memory.data(), platform::counter_ratio, result.ratio_db);
    platform::Store_Element(memory.data(), platform::counter_frequency, result.frequency_hz);
}

/// Starts a sweep at point 0 of an empty ring, at the time of the last Advance.
void Core::Restart() {
    written = 0;
    platform::Store_Element(memory.data(), platform::written_count, 0.0);
    if (single) {
        platform::Store_Element(memory.data(), platform::sweep_finished, 0.0);
    }
    if (!have_settings) {
        return;
    }
    sweep_input_ns = Input_Time();
    sweep_clock_ns = clock_ns.value_or(0);
    sweeping = true;
    point = 0;
    counter.opened = counter.counting = false;
    counter.pause_ns = 0;
    receiver.Begin_Sweep(sweep_input_ns);
}

std::int64_t Core::Sweep_Clock_Ns() const { return options.fast ? fast_sweep_ns : receiver.Settings().time_ns; }

/// Clock at which a point of the present sweep is complete.
std::int64_t Core::Due_Ns(int of_point) const {
    const double part = (of_point + 1.0) / receiver.Settings().points;
    return sweep_clock_ns + counter.pause_ns +
           static_cast<std::int64_t>(std::ceil(static_cast<double>(Sweep_Clock_Ns()) * part));
}

/// Simulated time at the last Advance. It runs with the clock but for fast sweeps, which take their own sweep time.
std::int64_t Core::Input_Time() const {
    const std::int64_t elapsed = clock_ns.value_or(sweep_clock_ns) - sweep_clock_ns;
    if (!options.fast || !sweeping) {
        return sweep_input_ns + elapsed;
    }
    const double factor = static_cast<double>(receiver.Settings().time_ns) / fast_sweep_ns;
    return sweep_input_ns + static_cast<std::int64_t>(static_cast<double>(elapsed) * factor);
}

void Core::Advance(platform::Duration now, Effort effort) {
    const std::int64_t now_ns = now.count();
    if (!clock_ns) {
        // The first call tells where the clock stands; a sweep asked for before starts here.
        sweep_clock_ns = now_ns;
    }
    clock_ns = std::max(now_ns, clock_ns.value_or(now_ns));
    const double work_end = receiver.Work_Ns() + bounded_work_ns;
    while (sweeping && Due_Ns(point) <= *clock_ns) {
        if (effort == Effort::bounded && receiver.Work_Ns() > work_end) {
            return;
        }
        if (Gate_Opens()) {
            continue;
        }
        if (counter.counting) {
            End_Count();
        }
        Write_Point();
    }
}

void Core::Write_Point() {
    const Point_Values values = receiver.Measure(point);
    const bool zero_span = receiver.Settings().start_hz == receiver.Settings().stop_hz;
    const auto place = static_cast<std::size_t>(written % platform::sample_block);
    const auto store = [&](std::size_t block, double dbm) {
        Store_Sample(memory, block + place, zero_span ? Zero_Span_Volts(dbm) : dbm);
    };
    store(platform::positive_peak_samples, values.positive);
    store(platform::negative_peak_samples, values.negative);
    store(platform::sample_samples, values.sample);
    store(platform::average_samples, values.average);
    store(platform::quasi_peak_samples, values.quasi_peak);
    store(platform::emi_average_samples, values.emi_average);
    written = (written + 1) % platform::sample_counter_end;
    platform::Store_Element(memory.data(), platform::written_count, written);
    point++;
    if (point == receiver.Settings().points) {
        End_Sweep();
    }
}

void Core::End_Sweep() {
    sweep_clock_ns += Sweep_Clock_Ns() + counter.pause_ns;
    sweep_input_ns = Moved_On(sweep_input_ns, 1, receiver.Settings().time_ns + (counter.opened ? counter.gate_ns : 0));
    point = 0;
    counter.opened = false;
    counter.pause_ns = 0;
    if (single) {
        sweeping = false;
        finished_events++;
        platform::Store_Element(memory.data(), platform::sweep_finished, 1.0);
        return;
    }
    Skip_Sweeps();
    receiver.Begin_Sweep(sweep_input_ns);
}

/// Leaves out whole sweeps where more than two are overdue.
void Core::Skip_Sweeps() {
    const std::int64_t overdue = (*clock_ns - sweep_clock_ns) / Sweep_Clock_Ns();
    if (overdue <= 2) {
        return;
    }
    const std::int64_t skipped = overdue - 2;
    sweep_clock_ns += skipped * Sweep_Clock_Ns();
    sweep_input_ns = Moved_On(sweep_input_ns, skipped, receiver.Settings().time_ns);
}

std::optional<platform::Duration> Core::Next_Due() const {
    if (!sweeping) {
        return std::nullopt;
    }
    std::int64_t due = Due_Ns(point);
    if (clock_ns && due > *clock_ns) {
        due = std::max(due, *clock_ns + batch_ns);
    }
    if (single) {
        due = std::min(due, Due_Ns(receiver.Settings().points - 1));
    }
    return platform::Duration(due);
}

std::optional<std::uint8_t> Core::Take_Event() {
    if (finished_events == 0) {
        return std::nullopt;
    }
    finished_events--;
    return platform::fpga_sweep_finished;
}

}  // namespace virtual_board
