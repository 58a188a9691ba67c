#include "virtual_board/receiver.h"

#include <gtest/gtest.h>

#include <string>

#include "core_rig.h"
#include "virtual_board/detectors.h"

/// The front end's imperfections and the EMI detectors, seen through whole sweeps.
namespace {

using namespace virtual_board_test;
using virtual_board::Rbw_Hertz;

std::string Carrier(double frequency_hz, double level_dbm) {
    return "[[carrier]]\nfrequency = " + std::to_string(frequency_hz) + "\nlevel = " + std::to_string(level_dbm) + "\n";
}

/// Density in dBm/Hz at a frequency, from the average detector over 40 RBW.
double Density(const std::string& scene, double frequency_hz, int rbw, double attenuation_db = 0.0) {
    const double width = Rbw_Hertz(rbw, false);
    Core_Rig rig(scene);
    Message message = Sweep_Message(frequency_hz, 40.0 * width, rbw, rbw >= 5);
    message[platform::sweep_attenuation] = attenuation_db;
    return Power_Mean(rig.Sweep(message, 20).average) - 10.0 * std::log10(1.0645 * width);
}

TEST(Receiver, CarriersStandInPhaseNoise) {
    const std::string at_1_ghz = Carrier(1e9, -10.0);
    EXPECT_NEAR(Density(at_1_ghz, 1e9 + 10e3, 8), -10.0 - 95.0, 1.0);
    EXPECT_NEAR(Density(at_1_ghz, 1e9 - 100e3, 7), -10.0 - 105.0, 1.0);
    EXPECT_NEAR(Density(at_1_ghz, 1e9 + 1e6, 4), -10.0 - 120.0, 1.0);
    EXPECT_NEAR(Density(at_1_ghz, 1e9 + 1e6, 5), -10.0 - 120.0, 1.0);
    EXPECT_NEAR(Density(at_1_ghz, 1e9 + 1e6, 4, 10.0), -10.0 - 120.0, 1.0);
    EXPECT_NEAR(Density(Carrier(3e9, -10.0), 3e9 - 100e3, 7), -10.0 - 105.0 + 9.54, 1.0);
    EXPECT_NEAR(Density(Carrier(100e6, -10.0), 100e6 - 100e3, 7), -10.0 - 105.0, 1.0);
    // The feed-through's skirt, and below it the receiver's own noise 7 dB lower.
    EXPECT_NEAR(Density("", 100e3, 7), -139.3, 1.0);
    // Far from a weak carrier nothing is added.
    EXPECT_NEAR(Density(Carrier(1e9, -60.0), 1e9 + 1e6, 4), -150.0, 0.5);
}

TEST(Receiver, PhaseNoiseLeavesTheCarriersEnvelopeAlone) {
    Core_Rig rig(Carrier(1e9, -10.0));
    Message message = Sweep_Message(1e9, 0.0, 0);
    message[platform::sweep_time] = 0.01;
    const Trace trace = rig.Sweep(message);
    EXPECT_NEAR(Volts_To_Dbm(Highest(trace.positive)), -10.0, 0.03);
    EXPECT_NEAR(Volts_To_Dbm(Lowest(trace.negative)), -10.0, 0.03);
}

double Reading(const std::string& scene, double frequency_hz, double attenuation_db, bool preamplifier = false,
               bool fft = false) {
    Core_Rig rig(scene);
    Message message = Sweep_Message(frequency_hz, 20e3, fft ? 7 : 6, fft);
    message[platform::sweep_attenuation] = attenuation_db;
    message[platform::sweep_preamplifier] = preamplifier ? 1.0 : 0.0;
    return rig.Sweep(message).average[300];
}

TEST(Receiver, StrongSignalsCompress) {
    double before = -100.0;
    for (const double level : {-20.0, -10.0, -5.0, 0.0, 5.0, 10.0, 20.0, 30.0}) {
        const double reading = Reading(Carrier(1e9, level), 1e9, 0.0);
        EXPECT_LE(reading, level + 0.02);
        EXPECT_GT(reading, before);
        before = reading;
    }
    EXPECT_LT(before, 1.3);
    EXPECT_NEAR(Reading(Carrier(1e9, -10.0), 1e9, 0.0), -10.0, 0.05);
    EXPECT_NEAR(Reading(Carrier(1e9, 0.0), 1e9, 0.0), -1.0, 0.05);
    EXPECT_NEAR(Reading(Carrier(1e9, 20.0), 1e9, 20.0), 19.0, 0.05);
    EXPECT_NEAR(Reading(Carrier(1e9, -15.0), 1e9, 0.0, true), -16.0, 0.05);
    EXPECT_NEAR(Reading(Carrier(1e9, 0.0), 1e9, 10.0), 0.0, 0.05);
}

TEST(Receiver, CompressionActsOnAllThatComesIn) {
    const std::string weak = Carrier(1.7e9, -40.0);
    const std::string noise = "[[noise]]\ncenter = 500e6\nbandwidth = 10e6\nlevel = -30\n";
    for (const bool fft : {false, true}) {
        EXPECT_NEAR(Reading(weak + Carrier(1e9, 0.0), 1.7e9, 0.0, false, fft), -41.0, 0.1);
    }
    EXPECT_NEAR(Density(noise + Carrier(1e9, 0.0), 500e6, 4), -101.0, 0.4);
    // A pulse compresses while it is on, though its mean power is low.
    const std::string pulse = "[[pulse]]\nfrequency = 1e9\nlevel = 0\nrate = 1e3\nwidth = 100e-6\n";
    EXPECT_NEAR(Reading(weak + pulse, 1.7e9, 0.0), -41.0, 0.1);
}

TEST(Receiver, ThirdOrderProductsFollowThreeToOne) {
    const auto tones = [](double level) { return Carrier(900e6, level) + Carrier(901e6, level); };
    for (const double product : {899e6, 902e6}) {
        EXPECT_NEAR(Reading(tones(-15.0), product, 0.0), 3.0 * -15.0 - 24.0, 0.3);
        EXPECT_NEAR(Reading(tones(-15.0), product, 0.0, false, true), 3.0 * -15.0 - 24.0, 0.3);
        EXPECT_NEAR(Reading(tones(-20.0), product, 0.0), 3.0 * -20.0 - 24.0, 0.3);
        EXPECT_NEAR(Reading(tones(-15.0), product, 5.0), 3.0 * -15.0 - 24.0 - 10.0, 0.5);
        EXPECT_NEAR(Reading(tones(-30.0), product, 0.0, true), 3.0 * -30.0 + 6.0, 0.3);
    }
    // The stronger tone's neighbour is stronger by the difference.
    const std::string uneven = Carrier(900e6, -15.0) + Carrier(901e6, -25.0);
    EXPECT_NEAR(Reading(uneven, 899e6, 0.0), -30.0 - 25.0 - 24.0, 0.3);
}

TEST(Receiver, SecondOrderProductsFollowTwoToOne) {
    const std::string scene = Carrier(400e6, -10.0) + Carrier(700e6, -15.0);
    EXPECT_NEAR(Reading(scene, 800e6, 0.0), -20.0 - 38.0, 0.3);
    EXPECT_NEAR(Reading(scene, 800e6, 10.0), -20.0 - 38.0 - 10.0, 0.3);
    EXPECT_NEAR(Reading(scene, 1100e6, 0.0), -25.0 - 38.0 + 6.0, 0.3);
    EXPECT_NEAR(Reading(scene, 300e6, 0.0), -25.0 - 38.0 + 6.0, 0.3);
    EXPECT_NEAR(Reading(Carrier(400e6, -30.0), 800e6, 0.0, true), -60.0 - 23.0, 0.3);
}

TEST(Receiver, VideoFilterFillsTheNullsOfNoise) {
    Message message = Sweep_Message(1.5e9, 1e9, 2);
    Core_Rig narrow("");
    message[platform::sweep_vbw_index] = 2;  // as wide as the RBW
    const Trace filtered = narrow.Sweep(message, 4);
    Core_Rig wide("");
    message[platform::sweep_vbw_index] = 0;
    const Trace raw = wide.Sweep(message, 4);
    EXPECT_GT(Lowest(filtered.negative) - Mean(filtered.sample), -28.0);
    EXPECT_LT(Lowest(raw.negative) - Mean(raw.sample), -33.0);
    EXPECT_NEAR(Mean(filtered.sample), Mean(raw.sample), 0.3);
    EXPECT_NEAR(Power_Mean(filtered.average), Power_Mean(raw.average), 0.1);
    // The signal's own dips are no nulls of noise and stay.
    Core_Rig carrier(Carrier(1.5e9, -50.0));
    EXPECT_NEAR(Highest(carrier.Sweep(message).positive), -50.0, 0.1);
}

Message Emi_Message(double center_hz, double span_hz, int rbw, double time_s) {
    Message message = Sweep_Message(center_hz, span_hz, rbw);
    message[platform::sweep_emi] = 1.0;
    message[platform::sweep_time] = time_s;
    return message;
}

TEST(Receiver, SteadyCarrierReadsTheSameInAllDetectors) {
    Message fft = Sweep_Message(1e9, 100e3, 6, true);
    fft[platform::sweep_time] = 0.05;
    Message zero_span = Sweep_Message(1e9, 0.0, 3);
    zero_span[platform::sweep_time] = 0.01;
    for (const Message& message : {Sweep_Message(1e9, 1e6, 4), fft, zero_span, Emi_Message(1e9, 1e6, 14, 0.1),
                                   Emi_Message(1e9, 1e6, 14, 7.0), Emi_Message(1e9, 0.0, 14, 0.01)}) {
        Core_Rig rig(Carrier(1e9, -20.0));
        const Trace trace = rig.Sweep(message);
        const bool volts = message[platform::sweep_span] == 0.0;
        for (const auto* values :
             {&trace.positive, &trace.negative, &trace.average, &trace.quasi_peak, &trace.emi_average}) {
            const double reading = (*values)[300];
            EXPECT_NEAR(volts ? Volts_To_Dbm(reading) : reading, -20.0, 0.15);
        }
    }
}

TEST(Receiver, CarrierScaleIsThatOfTheStandard) {
    EXPECT_NEAR(virtual_board::Weighting_Of(100e3, 1e3, false).carrier_end, 0.813, 0.003);
    EXPECT_NEAR(virtual_board::Weighting_Of(1e6, 6364.0, true).carrier_end, 0.970, 0.003);
    EXPECT_NEAR(virtual_board::Weighting_Of(1e9, 1e6, false).carrier_end, 0.987, 0.003);
}

/// Indication of the network on impulses through the 6 dB Gaussian filter, over their peak, dB.
double Impulse_Reading(double frequency_hz, double six_db_hz, double rate_hz) {
    const double rbw = six_db_hz * M_SQRT1_2;
    const auto weighting = virtual_board::Weighting_Of(frequency_hz, rbw, true);
    const double step = 0.125 / rbw;
    virtual_board::Weighting_Network network(weighting, step);
    const double sigma = 0.265 / rbw;
    double highest = -400.0;
    for (double time = 0.0; time < 3.0; time += step) {
        const double from_pulse = (std::remainder(time, 1.0 / rate_hz)) / sigma;
        network.Step(std::abs(from_pulse) < 9.0 ? std::exp(-0.5 * from_pulse * from_pulse) : 0.0);
        const double reading = network.Take_Quasi_Peak();
        highest = time > 1.5 ? std::max(highest, reading) : highest;
    }
    return highest;
}

TEST(Receiver, QuasiPeakWeighsImpulsesByTheirRate) {
    // Relative to 100 a second: less input is needed at 1000, more at 20 and 10. CISPR allows 1 to 2 dB.
    const double b = Impulse_Reading(1e6, 9e3, 100.0);
    EXPECT_NEAR(b, -6.5, 0.7);
    EXPECT_NEAR(Impulse_Reading(1e6, 9e3, 1000.0) - b, 4.5, 1.0);
    EXPECT_NEAR(Impulse_Reading(1e6, 9e3, 20.0) - b, -6.5, 1.0);
    EXPECT_NEAR(Impulse_Reading(1e6, 9e3, 10.0) - b, -10.0, 1.5);
    const double c = Impulse_Reading(100e6, 120e3, 100.0);
    EXPECT_NEAR(c, -11.8, 0.7);
    EXPECT_NEAR(Impulse_Reading(100e6, 120e3, 1000.0) - c, 8.0, 1.0);
    EXPECT_NEAR(Impulse_Reading(100e6, 120e3, 20.0) - c, -9.0, 1.0);
}

TEST(Receiver, PulsedCarrierReadsItsWeightedLevelInZeroSpan) {
    const auto scene = [](const std::string& rate) {
        return "[[pulse]]\nfrequency = 10e6\nlevel = -20\nwidth = 26e-6\nrate = " + rate + "\n";
    };
    const auto readings = [&](const std::string& rate) {
        Core_Rig rig(scene(rate));
        return rig.Sweep(Emi_Message(10e6, 0.0, 15, 1.0));
    };
    const Trace seldom = readings("100");
    const Trace often = readings("1000");
    const double peak = Volts_To_Dbm(Highest(seldom.positive));
    EXPECT_NEAR(Volts_To_Dbm(Highest(often.positive)), peak, 0.1);
    const double quasi_peak = Volts_To_Dbm(Highest(seldom.quasi_peak));
    EXPECT_NEAR(quasi_peak - peak, -6.5, 1.0);
    EXPECT_NEAR(Volts_To_Dbm(Highest(often.quasi_peak)) - quasi_peak, 4.5, 1.0);
    // The mean envelope grows with the rate.
    EXPECT_NEAR(Volts_To_Dbm(Highest(often.emi_average) / Highest(seldom.emi_average)) - 10.0, 20.0, 1.0);
    // The detectors do not begin empty, nor do they start again with each sweep.
    EXPECT_NEAR(Volts_To_Dbm(seldom.quasi_peak[0]), quasi_peak, 1.0);
}

TEST(Receiver, SweptPointsWeighWhatTheyDwellOn) {
    Core_Rig rig("[[pulse]]\nfrequency = 10e6\nlevel = -20\nwidth = 26e-6\nrate = 1000\n");
    const Trace trace = rig.Sweep(Emi_Message(10e6, 12e3, 15, 3.0));
    EXPECT_NEAR(trace.quasi_peak[300] - trace.positive[300], -2.0, 1.2);
    EXPECT_LT(trace.emi_average[300], trace.quasi_peak[300] - 10.0);
    for (std::size_t i = 0; i < trace.positive.size(); i++) {
        ASSERT_LE(trace.quasi_peak[i], trace.positive[i] + 0.1);
    }
}

TEST(Receiver, ZeroSpanFollowsModulationWithinTheFilter) {
    const auto swing = [](const std::string& rate, int rbw) {
        Core_Rig rig(Carrier(1e9, -30.0) + "am = {depth = 0.5, rate = " + rate + "}\n");
        Message message = Sweep_Message(1e9, 0.0, rbw);
        message[platform::sweep_time] = 0.01;
        const Trace trace = rig.Sweep(message);
        return Highest(trace.sample) / Lowest(trace.sample);
    };
    EXPECT_NEAR(swing("1e3", 2), 3.0, 0.05);
    EXPECT_NEAR(swing("1e3", 4), 3.0, 0.1);
    // At 5 kHz the 10 kHz filter is 3 dB down: depth 0.354. At 30 kHz nothing passes.
    EXPECT_NEAR(swing("5e3", 4), 1.354 / 0.646, 0.08);
    EXPECT_NEAR(swing("30e3", 4), 1.0, 0.01);
}

TEST(Receiver, ZeroSpanEdgesAreAsSlowAsTheFilter) {
    const auto rise_points = [](int rbw) {
        Core_Rig rig("[[pulse]]\nfrequency = 1e9\nlevel = -20\nrate = 500\nwidth = 1e-3\n");
        Message message = Sweep_Message(1e9, 0.0, rbw);
        message[platform::sweep_time] = 2e-3;
        const Trace trace = rig.Sweep(message);
        const double top = Highest(trace.average);
        return std::ranges::count_if(trace.average, [&](double v) { return v > 0.1 * top && v < 0.9 * top; });
    };
    // A Gaussian filter's step rises from 10 % to 90 % in 0.68 / RBW: 68 us or 20 points behind 10 kHz, and two edges;
    // the pulse itself rises in 100 us.
    EXPECT_NEAR(static_cast<double>(rise_points(4)), 2.0 * std::hypot(20.4, 30.0), 6.0);
    EXPECT_NEAR(static_cast<double>(rise_points(2)), 2.0 * 30.0, 6.0);
}

}  // namespace
