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
constexpr double bounded_work_ns = 1e6;
constexpr std::int64_t batch_ns = 2'000'000;  ///< points are written together that fall due within this
constexpr std::int64_t video_batch_ns = 4'000'000;  ///< of the signal that the video trigger watches
constexpr std::int64_t patience_ns = 500'000'000;  ///< with the automatic trigger
constexpr double highest_gain_db = 100.0;

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
    const bool corrected = message.size() > platform::sweep_preamplifier_gain && s.preamplifier &&
                           std::isfinite(message[platform::sweep_preamplifier_gain]);
    if (corrected) {
        s.gain_db = std::clamp(message[platform::sweep_preamplifier_gain], -highest_gain_db, highest_gain_db);
    }
    return s;
}

Core::Core(std::shared_ptr<const Input> input, Core_Options options, std::span<double> sample_memory)
    : options(options), memory(sample_memory), input(std::move(input)), receiver(this->input, options.seed),
      line(options.pulses) {
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
        case platform::code_sweep:
        case platform::code_emission_mask:
        case platform::code_demodulator:
        case platform::code_record: Take_Settings(message); break;
        case platform::code_measurement: {
            if (message.size() <= platform::measurement_span) {
                return;
            }
            std::vector<double> sweep(message.begin(), message.end());
            std::copy_n(message.begin() + platform::measurement_center, 4, sweep.begin() + platform::sweep_center);
            Take_Settings(sweep);
            break;
        }
        case platform::code_trigger: Take_Trigger(message); break;
        case platform::code_trigger_external: Take_External(message); break;
        case platform::code_gate: Take_Gate(message); break;
        case platform::code_single_sweep:
            if (!has_value) {
                return;
            }
            single = message[1] == 1.0;
            Restart();
            break;
        case platform::code_counter: Take_Counter(message); break;
        default: break;
    }
}

void Core::Take_Settings(std::span<const double> message) {
    const std::optional<Sweep_Settings> settings = Parse_Sweep_Message(message);
    if (!settings) {
        return;
    }
    const std::int64_t input_ns = Input_Time();
    state = State::idle;
    receiver.Configure(*settings);
    have_settings = true;
    if (message.size() > platform::sweep_trigger_frequency &&
        std::isfinite(message[platform::sweep_trigger_frequency])) {
        trigger.frequency_hz = std::clamp(message[platform::sweep_trigger_frequency], 0.0, highest_frequency_hz);
    }
    sweep_input_ns = input_ns;
    sweep_clock_ns = clock_ns.value_or(0);
    Restart();
}

void Core::Take_Counter(std::span<const double> message) {
    if (message.size() < 4 || !std::isfinite(message[1]) || !std::isfinite(message[2]) || !std::isfinite(message[3])) {
        return;
    }
    counter.on = message[1] == 1.0;
    counter.counting = counter.begun = false;
    counter.frequency_hz = std::clamp(message[2], 0.0, highest_frequency_hz);
    counter.time_ns = std::llround(1e9 / std::clamp(message[3], finest_count_hz, coarsest_count_hz));
    platform::Store_Element(memory.data(), platform::counter_frequency, 0.0);
    platform::Store_Element(memory.data(), platform::counter_ratio, 0.0);
}

/// The sweep waits at the counter's frequency while it counts; a gated one has no time of its own to wait in.
bool Core::Count_Begins() {
    const Sweep_Settings& s = receiver.Settings();
    if (!counter.on || counter.begun || counter.frequency_hz < s.start_hz || counter.frequency_hz > s.stop_hz ||
        s.stop_hz <= s.start_hz) {
        return false;
    }
    const double place = (counter.frequency_hz - s.start_hz) * (s.points - 1) / (s.stop_hz - s.start_hz);
    if (point != To_Int(place + 0.5, 0, s.points - 1)) {
        return false;
    }
    counter.begun = counter.counting = true;
    counter.start_ns = sweep_input_ns + s.time_ns / s.points * point;
    if (Gated()) {
        return false;
    }
    counter.waits_ns += counter.time_ns;
    counter.pause_ns += options.fast ? 0 : counter.time_ns;
    return true;
}

void Core::End_Count() {
    counter.counting = false;
    const Receiver::Count_Result result = receiver.Count(counter.frequency_hz, counter.start_ns, counter.time_ns);
    platform::Store_Element(memory.data(), platform::counter_ratio, result.ratio_db);
    platform::Store_Element(memory.data(), platform::counter_frequency, result.frequency_hz);
}

void Core::Forget_Count() {
    counter.begun = counter.counting = false;
    counter.pause_ns = counter.waits_ns = 0;
}

void Core::Take_Trigger(std::span<const double> message) {
    const std::optional<Trigger_Settings> settings = Parse_Trigger_Message(message);
    if (!settings) {
        return;
    }
    trigger = *settings;
    Restart_If_Running();
}

void Core::Take_External(std::span<const double> message) {
    if (message.size() < 3 || !std::isfinite(message[1]) || !std::isfinite(message[2])) {
        return;
    }
    trigger.source = To_Int(message[1], platform::trigger_free_run, platform::trigger_external);
    trigger.external_falling = message[2] == 1.0;
    Restart_If_Running();
}

void Core::Take_Gate(std::span<const double> message) {
    const std::optional<Gate_Settings> settings = Parse_Gate_Message(message);
    if (!settings) {
        return;
    }
    gate = *settings;
    Restart_If_Running();
}

/// The reader starts again at the first sample after these messages, so the writer does too.
void Core::Restart_If_Running() {
    if (state != State::idle || resting) {
        Restart();
        return;
    }
    written = 0;
    platform::Store_Element(memory.data(), platform::written_count, 0.0);
}

/// Starts a sweep at point 0 of an empty ring, at the time of the last Advance, or begins to wait for its trigger.
void Core::Restart() {
    written = 0;
    platform::Store_Element(memory.data(), platform::written_count, 0.0);
    if (single || Waits()) {
        platform::Store_Element(memory.data(), platform::sweep_finished, 0.0);
    }
    armed = triggered = resting = false;
    triggered_events = 0;
    line.Forget();
    if (!have_settings) {
        return;
    }
    sweep_input_ns = Input_Time();
    sweep_clock_ns = clock_ns.value_or(0);
    point = 0;
    Forget_Count();
    if (Waits()) {
        Begin_Wait();
        return;
    }
    state = State::sweeping;
    receiver.Begin_Sweep(sweep_input_ns);
}

void Core::Begin_Wait() {
    state = State::waiting;
    if (!Watches_Video()) {
        return;
    }
    if (!video) {
        video.emplace(input, options.seed);
    }
    video->Configure(receiver.Settings(), trigger.frequency_hz, trigger.level_dbm, trigger.falling);
    video->Start(sweep_input_ns);
}

void Core::Look_For_Trigger(double work_limit) {
    const std::int64_t now_ns = Input_Time();
    std::optional<std::int64_t> found;
    if (Watches_Input()) {
        found = line.Next(sweep_input_ns, trigger.external_falling);
    } else {
        found = video->Search(now_ns, work_limit);
    }
    if (trigger.automatic && !Gated()) {
        found = std::min(found.value_or(sweep_input_ns + patience_ns), sweep_input_ns + patience_ns);
    }
    if (found && *found <= now_ns) {
        Begin_Triggered_Sweep(*found);
    }
}

void Core::Begin_Triggered_Sweep(std::int64_t trigger_ns) {
    triggered = true;
    if (armed) {
        armed = false;
        triggered_events++;
    }
    const bool delayed = trigger.source != platform::trigger_free_run;
    const std::int64_t start_ns = trigger_ns + (delayed ? trigger.delay_ns : 0);
    sweep_clock_ns = Clock_Of(start_ns);
    sweep_input_ns = start_ns;
    state = State::sweeping;
    point = 0;
    window.reset();
    next_edge_from_ns = trigger_ns;
    gated_ns = 0.0;
    runs.clear();
    receiver.Begin_Sweep(sweep_input_ns);
}

void Core::Arm(int argument) {
    armed = argument == 1;
    if (armed && (triggered || state == State::sweeping)) {
        armed = false;
        triggered_events++;
    }
}

std::int64_t Core::Sweep_Clock_Ns() const { return options.fast ? fast_sweep_ns : receiver.Settings().time_ns; }

/// Clock at which a point of the present sweep is complete.
std::int64_t Core::Due_Ns(int of_point) const {
    const double part = (of_point + 1.0) / receiver.Settings().points;
    return sweep_clock_ns + counter.pause_ns +
           static_cast<std::int64_t>(std::ceil(static_cast<double>(Sweep_Clock_Ns()) * part));
}

/// Clock at a simulated time from the start of the present sweep or wait on.
std::int64_t Core::Clock_Of(std::int64_t input_ns) const {
    const std::int64_t elapsed = input_ns - sweep_input_ns;
    if (!options.fast || state != State::sweeping) {
        return sweep_clock_ns + elapsed;
    }
    const double factor = static_cast<double>(receiver.Settings().time_ns) / fast_sweep_ns;
    return sweep_clock_ns + static_cast<std::int64_t>(std::ceil(static_cast<double>(elapsed) / factor));
}

/// Simulated time at the last Advance. It runs with the clock but for fast sweeps, which take their own sweep time.
std::int64_t Core::Input_Time() const {
    const std::int64_t elapsed = clock_ns.value_or(sweep_clock_ns) - sweep_clock_ns;
    if (!options.fast || state != State::sweeping || elapsed < 0) {
        return sweep_input_ns + elapsed;
    }
    const double factor = static_cast<double>(receiver.Settings().time_ns) / fast_sweep_ns;
    return sweep_input_ns + static_cast<std::int64_t>(static_cast<double>(elapsed) * factor);
}

double Core::Work_Ns() const { return receiver.Work_Ns() + (video ? video->Work_Ns() : 0.0); }

void Core::Advance(platform::Duration now, Effort effort) {
    const std::int64_t now_ns = now.count();
    if (!clock_ns) {
        // The first call tells where the clock stands; a sweep asked for before starts here.
        sweep_clock_ns = now_ns;
    }
    clock_ns = std::max(now_ns, clock_ns.value_or(now_ns));
    const double work_end = Work_Ns() + bounded_work_ns;
    if (state == State::waiting) {
        const double limit = effort == Effort::bounded ? video ? video->Work_Ns() + bounded_work_ns : 0.0 : HUGE_VAL;
        Look_For_Trigger(limit);
    }
    while (state == State::sweeping && Point_Complete()) {
        if (effort == Effort::bounded && Work_Ns() > work_end) {
            return;
        }
        if (Count_Begins()) {
            continue;
        }
        if (counter.counting) {
            End_Count();
        }
        Write_Point();
    }
}

bool Core::Point_Complete() { return Gated() ? Fill_Gated_Point(Input_Time()) : Due_Ns(point) <= *clock_ns; }

/// The next stretch in which the gate is open, as far as its edge is known.
bool Core::Open_Gate() {
    while (!window) {
        const auto edge = line.Next(next_edge_from_ns, trigger.external_falling);
        if (!edge) {
            return false;
        }
        const std::int64_t open_ns = *edge + gate.delay_ns, end_ns = open_ns + gate.length_ns;
        next_edge_from_ns = end_ns;
        if (end_ns > sweep_input_ns) {
            window = {.at_ns = std::max(0.0, static_cast<double>(open_ns - sweep_input_ns)),
                      .end_ns = static_cast<double>(end_ns - sweep_input_ns)};
        }
    }
    return true;
}

/// Takes the time until now in which the gate was open; true when that completes the point.
bool Core::Fill_Gated_Point(std::int64_t until_ns) {
    const double spacing = receiver.Value_Spacing_Ns();
    const std::size_t values = receiver.Values_Per_Point();
    const double whole = spacing * static_cast<double>(values);
    const double until = static_cast<double>(until_ns - sweep_input_ns);
    // What is missing by less is missing by rounding.
    constexpr double rounding_ns = 1e-3;
    while (gated_ns < whole - rounding_ns) {
        if (!Open_Gate() || until <= window->at_ns) {
            return false;
        }
        const double taken = std::min(std::min(until, window->end_ns) - window->at_ns, whole - gated_ns);
        const auto value_at = [&](double time) {
            return std::min(values, static_cast<std::size_t>(std::ceil(std::max(0.0, time - rounding_ns) / spacing)));
        };
        const std::size_t first = value_at(gated_ns), end = value_at(gated_ns + taken);
        if (end > first) {
            const double time = window->at_ns + spacing * static_cast<double>(first) - gated_ns;
            const std::int64_t first_ns = sweep_input_ns + std::llround(time);
            const bool continued =
                !runs.empty() &&
                std::abs(static_cast<double>(first_ns - runs.back().first_ns) -
                         spacing * static_cast<double>(first - runs.back().first)) < 2.0;
            if (continued) {
                runs.back().count += end - first;
            } else {
                runs.push_back({first, end - first, first_ns});
            }
        }
        gated_ns += taken;
        window->at_ns += taken;
        if (window->at_ns >= window->end_ns - rounding_ns) {
            window.reset();
        }
    }
    return true;
}

void Core::Write_Point() {
    const bool gated = Gated();
    const Point_Values values = gated ? receiver.Measure(point, runs) : receiver.Measure(point);
    runs.clear();
    gated_ns = 0.0;
    const bool zero_span = receiver.Settings().start_hz == receiver.Settings().stop_hz;
    const double gain_db = receiver.Settings().gain_db;
    const auto place = static_cast<std::size_t>(written % platform::sample_block);
    const auto store = [&](std::size_t block, double dbm) {
        Store_Sample(memory, block + place, zero_span ? Zero_Span_Volts(dbm + gain_db) : dbm + gain_db);
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
    sweep_clock_ns += counter.pause_ns;
    sweep_input_ns = Moved_On(sweep_input_ns, 1, counter.waits_ns);
    Forget_Count();
    const bool waits = Waits();
    if (single || waits) {
        // What comes next starts at the time that has been reached, also where the gate stretched the sweep.
        const std::int64_t input_ns = Gated() ? Input_Time() : Moved_On(sweep_input_ns, 1, receiver.Settings().time_ns);
        sweep_clock_ns = Gated() ? *clock_ns : sweep_clock_ns + Sweep_Clock_Ns();
        sweep_input_ns = input_ns;
        point = 0;
        state = State::idle;
        triggered = false;
        resting = !single;
        finished_events++;
        platform::Store_Element(memory.data(), platform::sweep_finished, 1.0);
        return;
    }
    sweep_clock_ns += Sweep_Clock_Ns();
    sweep_input_ns = Moved_On(sweep_input_ns, 1, receiver.Settings().time_ns);
    point = 0;
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

/// Clock at which the present wait may end; nothing where only the trigger input can tell.
std::optional<std::int64_t> Core::Wait_Due_Ns() const {
    std::optional<std::int64_t> due;
    if (Watches_Input()) {
        due = line.Next(sweep_input_ns, trigger.external_falling);
    } else {
        due = video->Searched_To() + std::max(video->Point_Ns(), video_batch_ns);
    }
    if (trigger.automatic && !Gated()) {
        due = std::min(due.value_or(sweep_input_ns + patience_ns), sweep_input_ns + patience_ns);
    }
    return due ? std::optional(Clock_Of(*due)) : std::nullopt;
}

/// Clock at which the gate next opens or closes, or the present point is complete.
std::optional<std::int64_t> Core::Gate_Due_Ns() const {
    if (window) {
        const double missing = receiver.Value_Spacing_Ns() * static_cast<double>(receiver.Values_Per_Point()) - gated_ns;
        const double part = std::min(window->end_ns, window->at_ns + missing);
        return Clock_Of(sweep_input_ns + static_cast<std::int64_t>(std::ceil(part)));
    }
    const auto edge = line.Next(next_edge_from_ns, trigger.external_falling);
    return edge ? std::optional(Clock_Of(*edge + gate.delay_ns)) : std::nullopt;
}

std::optional<platform::Duration> Core::Next_Due() const {
    if (state == State::idle) {
        return std::nullopt;
    }
    if (state == State::waiting) {
        const auto due = Wait_Due_Ns();
        return due ? std::optional(platform::Duration(*due)) : std::nullopt;
    }
    std::optional<std::int64_t> due = Gated() ? Gate_Due_Ns() : Due_Ns(point);
    if (!due) {
        return std::nullopt;
    }
    if (clock_ns && *due > *clock_ns) {
        due = std::max(*due, *clock_ns + batch_ns);
    }
    if ((single || Waits()) && !Gated()) {
        due = std::min(*due, Due_Ns(receiver.Settings().points - 1));
    }
    return platform::Duration(*due);
}

std::optional<std::uint8_t> Core::Take_Event() {
    if (triggered_events > 0) {
        triggered_events--;
        return platform::fpga_triggered;
    }
    if (finished_events == 0) {
        return std::nullopt;
    }
    finished_events--;
    return platform::fpga_sweep_finished;
}

}  // namespace virtual_board
