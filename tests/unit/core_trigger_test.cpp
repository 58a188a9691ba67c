#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "core_rig.h"
#include "platform/fpga_int.h"

namespace {

using namespace virtual_board_test;
using virtual_board::Core_Options;

constexpr double counts = platform::timing_clock_hz;
/// 100 % of AM at 50 Hz, so that the crossing of a level is sharp.
constexpr const char* am_scene = "[[carrier]]\nfrequency = 1e9\nlevel = -20\nam = {depth = 0.9, rate = 50}\n";
/// 2 ms long, at the start of every 10 ms.
constexpr const char* pulse_scene =
    "[[pulse]]\nfrequency = 1e9\nlevel = -10\nrate = 100\nwidth = 0.002\n[[carrier]]\nfrequency = 1e9\nlevel = -60\n";

struct Trigger {
    int source = platform::trigger_external;
    double level_dbm = -20.0, delay_s = 0.0;
    bool falling = false, input_falling = false, automatic = false;
};

Message Trigger_Message(const Trigger& t) {
    Message m{};
    m[0] = platform::code_trigger;
    m[platform::trigger_level] = t.level_dbm;
    m[platform::trigger_source] = t.source;
    m[platform::trigger_delay] = t.delay_s * counts;
    m[platform::trigger_slope] = t.falling;
    m[platform::trigger_frequency] = 1e9;
    m[platform::trigger_external_slope] = t.input_falling;
    m[platform::trigger_automatic] = t.automatic;
    return m;
}

Message Gate_Message(bool on, double delay_s, double length_s) {
    Message m{};
    m[0] = platform::code_gate;
    m[platform::gate_on] = on;
    m[platform::gate_delay] = delay_s * counts;
    m[platform::gate_length] = length_s * counts;
    return m;
}

Message Zero_Span(double time_s, int rbw_index = 3) {
    Message m = Sweep_Message(1e9, 0.0, rbw_index);
    m[platform::sweep_time] = time_s;
    m[platform::sweep_trigger_frequency] = 1e9;
    return m;
}

double Sample_Dbm(const Core_Rig& rig, int point) {
    return Volts_To_Dbm(rig.memory[platform::sample_samples + static_cast<std::size_t>(point)]);
}

/// Mean level of some points of the last sweep, in dB.
double Level(const Core_Rig& rig, int first, int last) {
    double sum = 0.0;
    for (int i = first; i <= last; i++) sum += Sample_Dbm(rig, i);
    return sum / (last - first + 1);
}

/// Sweeps once from a trigger; false where none came in time.
bool Sweep_Once(Core_Rig& rig, const Message& trigger, double within_s) {
    rig.core.Handle_Message(trigger);
    for (double passed = 0.0; passed < within_s; passed += 0.001) {
        rig.Step(0.001);
        if (rig.Count() == platform::points_per_sweep) return true;
    }
    return false;
}

TEST(Core_Trigger, VideoTriggerHoldsThePhaseOfAModulation) {
    for (const bool falling : {false, true}) {
        Core_Rig rig(am_scene);
        rig.core.Handle_Message(Zero_Span(0.02));
        for (int sweep = 0; sweep < 12; sweep++) {
            rig.Step(0.0037);  // sweeps are asked for at any phase
            ASSERT_TRUE(Sweep_Once(rig, Trigger_Message({.source = platform::trigger_video, .falling = falling}), 0.1));
            // At the crossing the envelope is 0 dB from the carrier's level, and a quarter period on it is at its extreme.
            EXPECT_NEAR(Level(rig, 0, 1), -20.0, 0.15) << sweep;
            const double extreme = falling ? 0.1 : 1.9;
            EXPECT_NEAR(Level(rig, 149, 151), -20.0 + 20.0 * std::log10(extreme), 0.25) << sweep;
        }
    }
}

TEST(Core_Trigger, VideoTriggerWaitsWhileTheLevelIsNotCrossed) {
    Core_Rig rig(am_scene);
    rig.core.Handle_Message(Zero_Span(0.02));
    EXPECT_FALSE(Sweep_Once(rig, Trigger_Message({.source = platform::trigger_video, .level_dbm = -13.0}), 2.5));
    EXPECT_EQ(rig.Count(), 0);
    ASSERT_TRUE(rig.core.Next_Due()) << "it goes on looking";
    EXPECT_TRUE(Sweep_Once(rig, Trigger_Message({.source = platform::trigger_video, .level_dbm = -15.0}), 0.1));
    EXPECT_TRUE(Sweep_Once(rig, Trigger_Message({.source = platform::trigger_free_run, .level_dbm = -13.0}), 0.03));
    // A swept span watches the level at one frequency, also where that is not the centre.
    Message swept = Sweep_Message(1.002e9, 10e6, 2);
    swept[platform::sweep_trigger_frequency] = 1.003e9;
    Message at_noise = Trigger_Message({.source = platform::trigger_video});
    at_noise[platform::trigger_frequency] = 1.003e9;
    rig.core.Handle_Message(swept);
    EXPECT_FALSE(Sweep_Once(rig, at_noise, 0.3));
    EXPECT_TRUE(Sweep_Once(rig, Trigger_Message({.source = platform::trigger_video}), 0.3));
}

TEST(Core_Trigger, TheTriggerInputStartsASweepAfterTheDelay) {
    Core_Rig rig(am_scene);
    rig.core.Handle_Message(Zero_Span(0.01));
    rig.core.Handle_Message(Trigger_Message({.delay_s = 0.5}));
    rig.Step(3.0);
    EXPECT_EQ(rig.Count(), 0);
    EXPECT_FALSE(rig.core.Next_Due()) << "only the input can tell";
    rig.core.Set_Trigger_Input(true);
    rig.Step(0.499);
    EXPECT_EQ(rig.Count(), 0);
    rig.Step(0.006);
    EXPECT_NEAR(rig.Count(), 300, 2);
    rig.Step(1.0);
    EXPECT_EQ(rig.Count(), 601) << "one trigger, one sweep";
    EXPECT_EQ(rig.memory[platform::sweep_finished], 1.0);
    rig.core.Set_Trigger_Input(false);
    rig.core.Set_Trigger_Input(true);
    rig.Step(1.0);
    EXPECT_EQ(rig.Count(), 601) << "the next one is asked for";
    rig.core.Handle_Message(Trigger_Message({.input_falling = true}));
    EXPECT_EQ(rig.Count(), 0);
    EXPECT_EQ(rig.memory[platform::sweep_finished], 0.0);
    rig.Step(1.0);
    EXPECT_EQ(rig.Count(), 0) << "the line is high since before";
    rig.core.Set_Trigger_Input(false);
    rig.Step(0.02);
    EXPECT_EQ(rig.Count(), 601);
}

TEST(Core_Trigger, PulsesAtTheInputHoldThePhase) {
    Core_Rig rig(am_scene, {.seed = 1, .fast = false, .pulses = {.period_ns = 40'000'000, .width_ns = 1'000'000}});
    rig.core.Handle_Message(Zero_Span(0.02));
    double first = 0.0;
    for (int sweep = 0; sweep < 5; sweep++) {
        rig.Step(0.0043);
        ASSERT_TRUE(Sweep_Once(rig, Trigger_Message({}), 0.1));
        if (sweep == 0) first = Level(rig, 99, 101);
        EXPECT_NEAR(Level(rig, 99, 101), first, 0.2);
    }
}

TEST(Core_Trigger, AutomaticSweepsWithoutTriggerAfterHalfASecond) {
    for (const int source : {platform::trigger_external, platform::trigger_video}) {
        Core_Rig rig("");
        rig.core.Handle_Message(Zero_Span(0.01));
        rig.core.Handle_Message(Trigger_Message({.source = source, .level_dbm = 0.0, .automatic = true}));
        rig.Step(0.499);
        EXPECT_EQ(rig.Count(), 0);
        rig.Step(0.012);
        EXPECT_EQ(rig.Count(), 601) << source;
    }
}

TEST(Core_Trigger, TheGateKeepsPulsesOut) {
    const Core_Options options{.seed = 1, .fast = false, .pulses = {.period_ns = 10'000'000, .width_ns = 1'000'000}};
    Core_Rig rig(pulse_scene, options);
    const double whole_s = 0.03;
    rig.core.Handle_Message(Zero_Span(whole_s));
    rig.Step(whole_s);
    const auto highest = [&] {
        double level = -400.0;
        for (int i = 0; i < 601; i++) level = std::max(level, Sample_Dbm(rig, i));
        return level;
    };
    EXPECT_NEAR(highest(), -10.0, 0.2) << "not gated, pulses are seen";

    // Open from 3 to 9 ms after each edge: the sweep takes 5 gates of 6 ms, and all of them lie between the pulses.
    rig.core.Handle_Message(Gate_Message(true, 0.003, 0.006));
    EXPECT_EQ(rig.Count(), 0);
    const double begin = 0.001 * std::ceil(std::chrono::duration<double>(rig.now).count() * 1000.0);
    rig.Step(begin - std::chrono::duration<double>(rig.now).count());
    double sweep_s = 0.0;
    while (rig.Count() < 601 && sweep_s < 1.0) {
        rig.Step(0.001);
        sweep_s += 0.001;
    }
    EXPECT_NEAR(sweep_s, 0.049, 0.0025) << "the gates' pauses stretch the sweep";
    EXPECT_NEAR(highest(), -60.0, 0.3);

    // A gate over the pulse alone sees nothing else.
    rig.core.Handle_Message(Gate_Message(true, 0.0005, 0.001));
    for (int i = 0; i < 500 && rig.Count() < 601; i++) rig.Step(0.001);
    ASSERT_EQ(rig.Count(), 601);
    EXPECT_NEAR(Level(rig, 0, 600), -10.0, 0.2);

    rig.core.Handle_Message(Gate_Message(false, 0.003, 0.006));
    rig.Step(whole_s);
    EXPECT_NEAR(highest(), -10.0, 0.2);
}

TEST(Core_Trigger, AGateShorterThanAPointAndInASweptSpan) {
    const Core_Options options{.seed = 1, .fast = false, .pulses = {.period_ns = 1'000'000, .width_ns = 500'000}};
    Core_Rig rig("[[carrier]]\nfrequency = 1e9\nlevel = -20\n", options);
    Message sweep = Sweep_Message(1e9, 5e6, 3);
    sweep[platform::sweep_time] = 0.2;  // a point is 0.33 ms
    rig.core.Handle_Message(sweep);
    rig.core.Handle_Message(Gate_Message(true, 0.0, 100e-6));
    rig.Step(1.9);
    EXPECT_LT(rig.Count(), 601);
    EXPECT_NEAR(rig.Count(), 571, 3);
    rig.Step(0.15);
    ASSERT_EQ(rig.Count(), 601);
    const std::vector<double> trace(rig.memory.begin(), rig.memory.begin() + 601);
    EXPECT_NEAR(Highest(trace), -20.0, 0.1);
    EXPECT_NEAR(Place_Of_Highest(trace), 300, 1);
    // By FFT the gate does not act.
    rig.core.Handle_Message(Sweep_Message(1e9, 300e3, 6, true));
    rig.Step(0.2);
    EXPECT_GE(rig.Count(), 601);
}

TEST(Core_Trigger, GatedSweepsDoNotDependOnHowAdvanceIsCut) {
    const Core_Options options{.seed = 1, .fast = false, .pulses = {.period_ns = 3'000'000, .width_ns = 500'000}};
    const auto run = [&](double step_s) {
        Core_Rig rig(am_scene, options);
        rig.core.Handle_Message(Zero_Span(0.02));
        rig.core.Handle_Message(Gate_Message(true, 0.0003, 0.0011));
        while (rig.now < std::chrono::milliseconds(80)) rig.Step(step_s);
        EXPECT_EQ(rig.Count(), 601);
        return rig.memory;
    };
    const auto reference = run(0.08);
    const auto fine = run(0.0001);
    for (std::size_t i = 0; i < 601; i++) {
        ASSERT_NEAR(Volts_To_Dbm(fine[platform::sample_samples + i]),
                    Volts_To_Dbm(reference[platform::sample_samples + i]), 0.01);
    }
}

TEST(Core_Trigger, TheArmedInterruptReportsTheTriggerOnce) {
    Core_Rig rig("");
    rig.core.Handle_Message(Zero_Span(0.01));
    rig.core.Handle_Message(Trigger_Message({}));
    rig.core.Set_Trigger_Input(true);
    rig.Step(0.001);
    EXPECT_FALSE(rig.core.Take_Event()) << "not armed";
    rig.core.Arm(1);
    EXPECT_EQ(rig.core.Take_Event(), platform::fpga_triggered) << "it had come already";
    EXPECT_FALSE(rig.core.Take_Event());
    rig.Step(0.02);
    EXPECT_EQ(rig.core.Take_Event(), platform::fpga_sweep_finished);

    rig.core.Handle_Message(Trigger_Message({}));
    rig.core.Arm(1);
    EXPECT_FALSE(rig.core.Take_Event());
    rig.core.Set_Trigger_Input(false);
    rig.core.Set_Trigger_Input(true);
    rig.Step(0.001);
    EXPECT_EQ(rig.core.Take_Event(), platform::fpga_triggered);
    rig.core.Handle_Message(Trigger_Message({}));
    rig.core.Set_Trigger_Input(false);
    rig.core.Set_Trigger_Input(true);
    rig.core.Arm(0);
    rig.Step(0.001);
    EXPECT_FALSE(rig.core.Take_Event());
    rig.core.Handle_Message(Trigger_Message({.source = platform::trigger_free_run}));
    rig.core.Arm(1);
    EXPECT_EQ(rig.core.Take_Event(), platform::fpga_triggered) << "nothing to wait for";
}

TEST(Core_Trigger, ASingleSweepWaitsForItsTriggerToo) {
    Core_Rig rig("");
    rig.core.Handle_Message(Trigger_Message({}));
    rig.core.Handle_Message(std::array<double, 2>{platform::code_single_sweep, 1.0});
    rig.core.Handle_Message(Zero_Span(0.01));
    rig.Step(1.0);
    EXPECT_EQ(rig.Count(), 0);
    rig.core.Set_Trigger_Input(true);
    rig.Step(0.02);
    EXPECT_EQ(rig.Count(), 601);
    rig.core.Handle_Message(Trigger_Message({.input_falling = true}));
    rig.core.Set_Trigger_Input(false);
    rig.Step(1.0);
    EXPECT_EQ(rig.Count(), 0) << "a single sweep that has ended is not started by a setting";
}

TEST(Core_Trigger, SettingsThatAreNoneChangeNothingAndAbsurdOnesAreHeld) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinite = std::numeric_limits<double>::infinity();
    Core_Rig rig("");
    rig.core.Handle_Message(Zero_Span(0.01));
    for (const double bad : {nan, infinite, -infinite}) {
        for (std::size_t element = 1; element <= 7; element++) {
            Message trigger = Trigger_Message({});
            trigger[element] = bad;
            rig.core.Handle_Message(trigger);
        }
        for (std::size_t element = 1; element <= 3; element++) {
            Message gate = Gate_Message(true, 0.0, 1.0);
            gate[element] = bad;
            rig.core.Handle_Message(gate);
        }
        rig.core.Handle_Message(std::array<double, 3>{platform::code_trigger_external, bad, 0.0});
    }
    rig.core.Handle_Message(std::array<double, 4>{platform::code_trigger, 0.0, 2.0, 0.0});
    rig.core.Handle_Message(std::array<double, 2>{platform::code_gate, 1.0});
    rig.Step(0.02);
    EXPECT_GE(rig.Count(), 601) << "still in free run";
    for (const double absurd : {1e300, -1e300, 0.3, -1.0}) {
        for (std::size_t element = 1; element <= 7; element++) {
            Message trigger = Trigger_Message({.source = platform::trigger_video});
            trigger[element] = absurd;
            rig.core.Handle_Message(trigger);
            rig.Step(0.003);
        }
        for (std::size_t element = 2; element <= 3; element++) {
            Message gate = Gate_Message(true, 0.001, 0.001);
            gate[element] = absurd;
            rig.core.Handle_Message(gate);
            rig.core.Set_Trigger_Input(false);
            rig.core.Set_Trigger_Input(true);
            rig.Step(0.003);
        }
        rig.core.Handle_Message(Gate_Message(false, 0.0, 1.0));
    }
    rig.core.Handle_Message(std::array<double, 3>{platform::code_trigger_external, 0.0, 0.0});
    rig.Step(0.02);
    EXPECT_GE(rig.Count(), 601);
}

TEST(Core_Trigger, MessagesWithTheSweepsElementsSweepAsItDoes) {
    const Message sweep = Sweep_Message(1e9, 1e6, 4);
    Core_Rig reference("[[carrier]]\nfrequency = 1e9\nlevel = -20\n");
    const Trace expected = reference.Sweep(sweep);
    for (const int code : {platform::code_emission_mask, platform::code_demodulator, platform::code_record,
                           platform::code_measurement}) {
        Message message = sweep;
        message[0] = code;
        if (code == platform::code_measurement) {
            std::copy_n(sweep.begin() + 1, 4, message.begin() + platform::measurement_center);
            std::fill_n(message.begin() + 1, 4, 1.0);
        }
        Core_Rig rig("[[carrier]]\nfrequency = 1e9\nlevel = -20\n");
        EXPECT_EQ(rig.Sweep(message).positive, expected.positive) << code;
    }
}

TEST(Core_Trigger, TheCalibrationGainCountsWithThePreamplifier) {
    Message sweep = Sweep_Message(1e9, 1e6, 4);
    sweep[platform::sweep_preamplifier_gain] = 3.0;
    Core_Rig rig("[[carrier]]\nfrequency = 1e9\nlevel = -50\n");
    EXPECT_NEAR(Highest(rig.Sweep(sweep).positive), -50.0, 0.1);
    sweep[platform::sweep_preamplifier] = 1.0;
    EXPECT_NEAR(Highest(rig.Sweep(sweep).positive), -47.0, 0.1);
    sweep[platform::sweep_preamplifier_gain] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_NEAR(Highest(rig.Sweep(sweep).positive), -50.0, 0.1);
}

}  // namespace
