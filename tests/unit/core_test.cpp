#include "virtual_board/core.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "core_rig.h"
#include "platform/fpga_int.h"

namespace {

using namespace virtual_board_test;
using virtual_board::Rbw_Hertz;

constexpr const char* quiet = "";

std::string Carrier(double frequency_hz, double level_dbm) {
    return "[[carrier]]\nfrequency = " + std::to_string(frequency_hz) + "\nlevel = " + std::to_string(level_dbm) + "\n";
}

/// Spans as the automatic coupling pairs them with the RBW: some 200 RBW.
Message Coupled(double center_hz, int rbw_index) {
    const bool fft = rbw_index >= 5 && rbw_index <= 13;
    return Sweep_Message(center_hz, 200.0 * Rbw_Hertz(rbw_index, false), rbw_index, fft);
}

TEST(Core, CarrierReadsItsLevelWhereverItFallsBetweenPoints) {
    for (int rbw = 0; rbw < 16; rbw++) {
        const Message message = Coupled(1e9, rbw);
        const double point = message[platform::sweep_span] / 600.0;
        for (const double part : {0.0, 0.31, 0.5}) {
            Core_Rig rig(Carrier(1e9 + (17.0 + part) * point, -20.0));
            const Trace trace = rig.Sweep(message);
            ASSERT_EQ(trace.positive.size(), 601U);
            EXPECT_NEAR(Highest(trace.positive), -20.0, 0.1) << "RBW index " << rbw << " part " << part;
            EXPECT_NEAR(Place_Of_Highest(trace.positive), 317 + part, 1.01) << "RBW index " << rbw;
        }
    }
}

TEST(Core, CarrierOfAWideSpanIsNotMissed) {
    Core_Rig swept(Carrier(1.2345678e9, -40.0));
    EXPECT_NEAR(Highest(swept.Sweep(Sweep_Message(1.5e9, 2.9e9, 0)).positive), -40.0, 0.1);
    Core_Rig narrow(Carrier(1.2345678e9, -40.0));
    EXPECT_NEAR(Highest(narrow.Sweep(Sweep_Message(1.23e9, 200e6, 5, true)).positive), -40.0, 0.1);
}

TEST(Core, NoiseDensityFollowsNoiseFigureOverAllBandwidths) {
    for (int rbw = 0; rbw < 16; rbw++) {
        Core_Rig rig(quiet);
        Message message = Coupled(1e9, rbw);
        const double enbw_db = 10.0 * std::log10(1.0645 * Rbw_Hertz(rbw, false));
        EXPECT_NEAR(Power_Mean(rig.Sweep(message, 8).average) - enbw_db, -150.0, 0.5) << "RBW index " << rbw;
        message[platform::sweep_attenuation] = 10.0;
        EXPECT_NEAR(Power_Mean(rig.Sweep(message, 8).average) - enbw_db, -140.0, 0.5) << "RBW index " << rbw;
        message[platform::sweep_preamplifier] = 1.0;
        EXPECT_NEAR(Power_Mean(rig.Sweep(message, 8).average) - enbw_db, -152.0, 0.5) << "RBW index " << rbw;
    }
}

TEST(Core, LogAverageOfNoiseReadsBelowItsPower) {
    for (const int rbw : {0, 4, 6}) {
        Core_Rig rig(quiet);
        const Trace trace = rig.Sweep(Coupled(1e9, rbw), 20);
        EXPECT_NEAR(Power_Mean(trace.average) - Mean(trace.sample), 2.51, 0.15) << "RBW index " << rbw;
    }
}

TEST(Core, NarrowVideoFilterSmoothsNoiseToItsLogAverage) {
    for (const int rbw : {0, 4, 6}) {
        Core_Rig rig(quiet);
        Message message = Coupled(1e9, rbw);
        message[platform::sweep_vbw_index] = rbw + 4;
        message[platform::sweep_time] *= 50.0;
        const Trace trace = rig.Sweep(message, 20);
        const double mean = Mean(trace.sample);
        EXPECT_NEAR(Power_Mean(trace.average) - mean, 2.51, 0.3) << "RBW index " << rbw;
        double square = 0.0;
        for (const double value : trace.sample) {
            square += (value - mean) * (value - mean) / static_cast<double>(trace.sample.size());
        }
        // The log of Gaussian noise spreads by 5.57 dB and gives 1.846 RBW independent values a second behind a
        // Gaussian filter; a first-order video filter joins them over 1 / (pi VBW).
        const double expected = 5.57 * std::sqrt(M_PI * 0.01 / 1.846);
        EXPECT_NEAR(std::sqrt(square) / expected, 1.0, 0.2) << "RBW index " << rbw;
    }
}

TEST(Core, AttenuationLeavesCarriersAlone) {
    Core_Rig rig(Carrier(1e9, -20.0));
    Message message = Coupled(1e9, 4);
    message[platform::sweep_attenuation] = 30.0;
    EXPECT_NEAR(Highest(rig.Sweep(message).positive), -20.0, 0.1);
}

/// Width of the curve at a depth below its highest point, in points.
double Width_At(const std::vector<double>& trace, double depth_db) {
    const int top = Place_Of_Highest(trace);
    const double level = trace[static_cast<std::size_t>(top)] - depth_db;
    const auto crossing = [&](int direction) {
        auto at = static_cast<std::size_t>(top);
        while (trace[at + static_cast<std::size_t>(direction)] > level) {
            at += static_cast<std::size_t>(direction);
        }
        const double next = trace[at + static_cast<std::size_t>(direction)];
        return static_cast<double>(at) + direction * (trace[at] - level) / (trace[at] - next);
    };
    return crossing(1) - crossing(-1);
}

TEST(Core, FiltersAreGaussianOfTheNamedWidth) {
    for (int rbw = 0; rbw < 16; rbw++) {
        const double width = Rbw_Hertz(rbw, false);
        Core_Rig rig(Carrier(1e9, 0.0));
        const Message message = Sweep_Message(1e9, 6.0 * width, rbw, rbw >= 5 && rbw <= 13);
        const Trace trace = rig.Sweep(message);
        const double point = 6.0 * width / 600.0;
        EXPECT_NEAR(Width_At(trace.average, 3.0103) * point / width, 1.0, 0.03) << "RBW index " << rbw;
        const double shape = std::sqrt(20.0 / 3.0103);
        EXPECT_NEAR(Width_At(trace.average, 20.0) * point / width, shape, 0.05) << "RBW index " << rbw;
    }
}

TEST(Core, EmiFiltersAreNamedByTheirSixDecibelWidth) {
    Core_Rig rig(Carrier(100e6, 0.0));
    Message message = Sweep_Message(100e6, 480e3, 14);
    message[platform::sweep_emi] = 1.0;
    EXPECT_NEAR(Width_At(rig.Sweep(message).average, 6.0206) * 800.0, 120e3, 3600.0);
}

TEST(Core, DetectorsKeepTheirOrder) {
    Core_Rig rig(Carrier(1e9, -60.0));
    for (const int rbw : {0, 3, 6, 10}) {
        for (const double span_part : {1.0, 0.0}) {
            Message message = Coupled(1e9, rbw);
            message[platform::sweep_span] *= span_part;
            const Trace trace = rig.Sweep(message, 2);
            for (std::size_t i = 0; i < trace.sample.size(); i++) {
                ASSERT_LE(trace.negative[i], trace.sample[i]);
                ASSERT_LE(trace.sample[i], trace.positive[i]);
            }
        }
    }
}

TEST(Core, ZeroSpanShowsTheEnvelopeInVolts) {
    Core_Rig rig("[[carrier]]\nfrequency = 1e9\nlevel = -30\nam = {depth = 0.5, rate = 100}\n");
    Message message = Sweep_Message(1e9, 0.0, 3);
    message[platform::sweep_time] = 0.02;
    const Trace trace = rig.Sweep(message);
    const auto dbm = [](double volts) { return 20.0 * std::log10(volts) + 10.0; };
    EXPECT_NEAR(dbm(Highest(trace.sample)), -30.0 + 20.0 * std::log10(1.5), 0.05);
    EXPECT_NEAR(dbm(Lowest(trace.sample)), -30.0 + 20.0 * std::log10(0.5), 0.05);
    // Two periods in the sweep: half a period, 150 points, takes a crest to a trough.
    const int crest = Place_Of_Highest(trace.sample) % 300;
    EXPECT_NEAR(dbm(trace.sample[static_cast<std::size_t>(crest + 150)]), -30.0 + 20.0 * std::log10(0.5), 0.1);
}

TEST(Core, ZeroSpanNoiseIsAsSlowAsTheFilter) {
    Core_Rig rig(quiet);
    Message message = Sweep_Message(1e9, 0.0, 4);
    message[platform::sweep_time] = 0.001;  // a point is 1/60 of 1/RBW
    const Trace trace = rig.Sweep(message, 40);
    double close = 0.0;
    double far = 0.0;
    for (std::size_t i = 0; i + 300 < trace.sample.size(); i++) {
        close += std::abs(trace.sample[i + 1] / trace.sample[i] - 1.0);
        far += std::abs(trace.sample[i + 300] / trace.sample[i] - 1.0);
    }
    EXPECT_LT(close, 0.2 * far);
    double power = 0.0;
    for (const double volts : trace.average) {
        power += 10.0 * volts * volts / static_cast<double>(trace.average.size());
    }
    EXPECT_NEAR(10.0 * std::log10(power) - 10.0 * std::log10(1.0645e4), -150.0, 1.0);
}

TEST(Core, FeedthroughStandsAtZeroHertz) {
    Core_Rig rig(quiet);
    const Trace trace = rig.Sweep(Sweep_Message(50e6, 100e6, 1));
    EXPECT_EQ(Place_Of_Highest(trace.positive), 0);
    EXPECT_NEAR(trace.positive[0], virtual_board::feedthrough_dbm, 0.1);
    EXPECT_LT(trace.positive[20], -85.0);
}

TEST(Core, CountRunsToTheEndOfTheRingAndStartsAgain) {
    Core_Rig rig(quiet, {.seed = 1, .fast = true});
    const Message message = Sweep_Message(1e9, 1e6, 4);
    rig.core.Handle_Message(message);
    EXPECT_EQ(rig.Count(), 0);
    int before = 0;
    int wraps = 0;
    for (int i = 0; i < 450; i++) {
        rig.Step(0.0025);
        const int count = rig.Count();
        ASSERT_GE(count, 0);
        ASSERT_LT(count, platform::sample_counter_end);
        wraps += count < before ? 1 : 0;
        before = count;
    }
    EXPECT_EQ(wraps, 1);
    EXPECT_EQ(before, 225 * 601 - platform::sample_counter_end);
    rig.core.Handle_Message(message);
    EXPECT_EQ(rig.Count(), 0);
}

TEST(Core, SamplesComeEvenlyOverTheSweepTime) {
    Core_Rig rig(quiet);
    Message message = Sweep_Message(1e9, 1e6, 4);
    message[platform::sweep_time] = 1.0;
    EXPECT_FALSE(rig.core.Next_Due());
    rig.Step(1.0);
    rig.core.Handle_Message(message);
    for (int tenth = 1; tenth <= 25; tenth++) {
        rig.Step(0.1);
        EXPECT_NEAR(rig.Count(), 60.1 * tenth, 1.0);
    }
    ASSERT_TRUE(rig.core.Next_Due());
    EXPECT_GT(*rig.core.Next_Due(), rig.now);
    EXPECT_LT(*rig.core.Next_Due(), rig.now + std::chrono::milliseconds(20));
}

TEST(Core, LateAdvanceLeavesWholeSweepsOut) {
    Core_Rig rig(quiet);
    Message message = Sweep_Message(1e9, 1e6, 4);
    message[platform::sweep_time] = 0.1;
    rig.core.Handle_Message(message);
    rig.Step(0.05);
    EXPECT_NEAR(rig.Count(), 300, 1);
    rig.Step(100.0);
    // The sweep begun, the last two whole ones and the half of the present one.
    EXPECT_NEAR(rig.Count(), 3 * 601 + 300, 1);
}

TEST(Core, BoundedEffortStopsEarlyAndLosesNothing) {
    const Message message = Sweep_Message(1e9, 1e9, 5, true);
    Core_Rig whole(quiet, {.seed = 1, .fast = true});
    whole.core.Handle_Message(message);
    whole.Step(0.005);
    ASSERT_EQ(whole.Count(), 601);
    Core_Rig bounded(quiet, {.seed = 1, .fast = true});
    bounded.core.Handle_Message(message);
    int calls = 0;
    for (; bounded.Count() < 601; calls++) {
        ASSERT_LT(calls, 601);
        bounded.core.Advance(std::chrono::milliseconds(5), virtual_board::Effort::bounded);
        ASSERT_TRUE(bounded.Count() == 601 || *bounded.core.Next_Due() <= std::chrono::milliseconds(5));
    }
    EXPECT_GT(calls, 3);
    EXPECT_EQ(bounded.memory, whole.memory);
}

TEST(Core, SingleSweepEndsWithItsEvent) {
    Core_Rig rig(quiet);
    Message message = Sweep_Message(1e9, 1e6, 4);
    message[platform::sweep_time] = 0.1;
    rig.Sweep(message, 2);
    EXPECT_FALSE(rig.core.Take_Event());
    const std::array<double, 2> single = {platform::code_single_sweep, 1.0};
    rig.core.Handle_Message(single);
    EXPECT_EQ(rig.Count(), 0);
    rig.Step(0.0999);
    EXPECT_EQ(rig.memory[platform::sweep_finished], 0.0);
    EXPECT_FALSE(rig.core.Take_Event());
    ASSERT_TRUE(rig.core.Next_Due());
    rig.now = *rig.core.Next_Due();
    rig.core.Advance(rig.now);
    EXPECT_EQ(rig.Count(), 601);
    EXPECT_EQ(rig.memory[platform::sweep_finished], 1.0);
    EXPECT_EQ(rig.core.Take_Event(), platform::fpga_sweep_finished);
    EXPECT_FALSE(rig.core.Take_Event());
    EXPECT_FALSE(rig.core.Next_Due());
    rig.Step(10.0);
    EXPECT_EQ(rig.Count(), 601);

    rig.core.Handle_Message(single);
    EXPECT_EQ(rig.memory[platform::sweep_finished], 0.0);
    rig.Step(10.0);
    EXPECT_EQ(rig.Count(), 601);

    const std::array<double, 2> continuous = {platform::code_single_sweep, 0.0};
    rig.core.Handle_Message(continuous);
    rig.Step(0.15);
    EXPECT_NEAR(rig.Count(), 901, 1);
}

TEST(Core, SameSeedSameSamplesHoweverAdvanceIsCut) {
    const std::string scene = Carrier(1e9, -80.0) + "fm = {deviation = 20e3, rate = 400}\n";
    for (const bool fft : {false, true}) {
        Message message = Sweep_Message(1e9, 300e3, fft ? 5 : 4, fft);
        message[platform::sweep_vbw_index] = 6;
        message[platform::sweep_time] = 0.2;
        const auto run = [&](std::uint64_t seed, double step_s) {
            Core_Rig rig(scene, {.seed = seed, .fast = false});
            rig.core.Handle_Message(message);
            while (rig.now < std::chrono::milliseconds(300)) {
                rig.Step(step_s);
            }
            message[platform::sweep_center] += 1e3;
            rig.core.Handle_Message(message);
            message[platform::sweep_center] -= 1e3;
            while (rig.now < std::chrono::milliseconds(900)) {
                rig.Step(step_s);
            }
            return rig.memory;
        };
        const auto reference = run(1, 0.3);
        EXPECT_EQ(run(1, 0.3), reference);
        EXPECT_EQ(run(1, 0.001), reference);
        EXPECT_NE(run(2, 0.3), reference);
    }
}

TEST(Core, FastSweepsHoldTheSameSamplesInLessTime) {
    const std::string scene = Carrier(1e9, -80.0) + "am = {depth = 0.9, rate = 3}\n";
    Message message = Sweep_Message(1e9, 1e6, 4);
    message[platform::sweep_time] = 0.3;
    Core_Rig real(scene);
    const Trace expected = real.Sweep(message, 3);
    Core_Rig fast(scene, {.seed = 1, .fast = true});
    fast.core.Handle_Message(message);
    fast.Step(0.0075);
    EXPECT_NEAR(fast.Count(), 901, 1);
    fast.Step(0.0075);
    ASSERT_EQ(fast.Count(), 3 * 601);
    EXPECT_TRUE(
        std::equal(expected.sample.begin(), expected.sample.end(), fast.memory.begin() + platform::sample_samples));
}

TEST(Core, UnusableMessagesChangeNothing) {
    Core_Rig rig(quiet);
    const Message good = Sweep_Message(1e9, 1e6, 4);
    rig.Sweep(good);
    const std::vector<double> before = rig.memory;
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinite = std::numeric_limits<double>::infinity();
    for (const std::size_t element : {0, 1, 2, 3, 4, 5, 6, 7, 9, 11, 12, 14, 17, 18}) {
        for (const double bad : {nan, infinite, -infinite}) {
            Message message = good;
            message[element] = bad;
            rig.core.Handle_Message(message);
        }
    }
    rig.core.Handle_Message({});
    rig.core.Handle_Message(std::span(good).first(10));
    for (const double code : {-1.0, 0.0, 2.0, 4.0, 6.0, 9.0, 13.0, 1e300, -1e300}) {
        rig.core.Handle_Message(std::array<double, 2>{code, 1.0});
    }
    rig.core.Handle_Message(std::array<double, 2>{platform::code_single_sweep, nan});
    EXPECT_EQ(rig.memory, before);
}

TEST(Core, AbsurdSettingsAreHeldInRange) {
    for (const std::size_t element : {1, 2, 3, 4, 5, 6, 7, 9, 12, 14}) {
        for (const double absurd : {1e300, -1e300, 1e-300, 1e9, -1.0}) {
            Core_Rig rig(Carrier(1e9, -50.0), {.seed = 1, .fast = true});
            Message message = Sweep_Message(1e9, 1e6, 4);
            message[element] = absurd;
            rig.core.Handle_Message(message);
            rig.Step(0.00002);
            rig.Step(0.00002);
            EXPECT_GT(rig.Count(), 0);
            for (int i = 0; i < rig.Count(); i++) {
                ASSERT_TRUE(std::isfinite(rig.memory[static_cast<std::size_t>(i)])) << element << " " << absurd;
            }
        }
    }
}

}  // namespace
