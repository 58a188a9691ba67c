#include "virtual_board/scene.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "core_rig.h"
#include "virtual_board/input.h"

namespace {

using namespace virtual_board_test;
using virtual_board::Load_Scene;
using virtual_board::Parse_Scene;

double Total_Dbm(const virtual_board::Input& input) {
    double sum = 0.0;
    for (const auto& line : input.lines) {
        sum += line.amplitude * line.amplitude;
    }
    return virtual_board::To_Dbm(sum);
}

double Level_At(const virtual_board::Input& input, double frequency_hz) {
    double sum = 0.0;
    for (const auto& line : virtual_board::Lines_Between(input.lines, frequency_hz - 0.5, frequency_hz + 0.5)) {
        sum += line.amplitude * line.amplitude;
    }
    return virtual_board::To_Dbm(sum);
}

TEST(Scene, AmHasTwoSideBands) {
    const auto input = Parse_Scene("[[carrier]]\nfrequency=\"10 MHz\"\nlevel=-10\nam={depth=0.4, rate=\"1 kHz\"}", "s");
    ASSERT_EQ(input->lines.size(), 3U);
    EXPECT_NEAR(Level_At(*input, 10e6), -10.0, 1e-9);
    EXPECT_NEAR(Level_At(*input, 10e6 - 1e3), -10.0 + 20.0 * std::log10(0.2), 1e-9);
    EXPECT_NEAR(Level_At(*input, 10e6 + 1e3), -10.0 + 20.0 * std::log10(0.2), 1e-9);
}

TEST(Scene, FmKeepsItsPowerAndFollowsBessel) {
    const std::string carrier = "[[carrier]]\nfrequency=100e6\nlevel=-20\n";
    const auto input = Parse_Scene(carrier + "fm={deviation=2404.8255577, rate=1000}", "s");
    EXPECT_NEAR(Total_Dbm(*input), -20.0, 1e-6);
    EXPECT_LT(Level_At(*input, 100e6), -150.0);  // the first zero of J0
    EXPECT_NEAR(Level_At(*input, 100e6 + 1e3), -20.0 + 20.0 * std::log10(0.519147), 1e-4);
    const auto wide = Parse_Scene(carrier + "fm={deviation=900e3, rate=1000}", "s");
    EXPECT_NEAR(Total_Dbm(*wide), -20.0, 1e-6);
}

TEST(Scene, FmEnvelopeIsFlat) {
    Core_Rig rig("[[carrier]]\nfrequency=1e9\nlevel=-20\nfm={deviation=20e3, rate=1e3}");
    Message message = Sweep_Message(1e9, 0.0, 0);
    message[platform::sweep_time] = 0.004;
    const Trace trace = rig.Sweep(message);
    EXPECT_NEAR(20.0 * std::log10(Highest(trace.positive)) + 10.0, -20.0, 0.1);
    EXPECT_NEAR(20.0 * std::log10(Lowest(trace.negative)) + 10.0, -20.0, 0.1);
}

TEST(Scene, PulsesAndKeyingReachTheirLevelAndGoOff) {
    for (const char* scene : {"[[pulse]]\nfrequency=1e9\nlevel=-20\nrate=1000\nwidth=250e-6",
                              "[[ask]]\nfrequency=1e9\nlevel=-20\nbits=\"1000\"\nbit_rate=4000"}) {
        Core_Rig rig(scene);
        Message message = Sweep_Message(1e9, 0.0, 1);
        message[platform::sweep_time] = 0.004;
        const Trace trace = rig.Sweep(message);
        EXPECT_NEAR(20.0 * std::log10(Highest(trace.average)) + 10.0, -20.0, 0.1) << scene;
        const double half_volts = 0.5 * std::pow(10.0, -30.0 / 20.0);
        const auto on = std::ranges::count_if(trace.average, [&](double volts) { return volts > half_volts; });
        EXPECT_NEAR(static_cast<double>(on), 150.0, 8.0) << scene;
        EXPECT_LT(20.0 * std::log10(Lowest(trace.average)) + 10.0, -75.0) << scene;
    }
}

TEST(Scene, NoiseHoldsItsPowerWithinItsBand) {
    for (const bool fft : {false, true}) {
        Core_Rig rig("[[noise]]\ncenter=1e9\nbandwidth=200e3\nlevel=-40");
        const Trace trace = rig.Sweep(Sweep_Message(1e9, 600e3, fft ? 5 : 4, fft), 10);
        const double rbw = fft ? 3e3 : 10e3;
        double inside = 0.0;
        double outside = 0.0;
        for (std::size_t i = 0; i < trace.average.size(); i++) {
            const double offset = (static_cast<double>(i % 601) - 300.0) * 1000.0;
            const double power = std::pow(10.0, 0.1 * trace.average[i]) * 1000.0 / (1.0645 * rbw) / 10.0;
            (std::abs(offset) < 130e3 ? inside : outside) += power;
        }
        EXPECT_NEAR(10.0 * std::log10(inside), -40.0, 0.3);
        EXPECT_LT(10.0 * std::log10(outside), -80.0);
    }
}

TEST(Scene, FskHoldsItsLevelAndItsTwoFrequencies) {
    const std::string scene = "[[fsk]]\nfrequency=1e9\nlevel=-20\ndeviation=20e3\nbits=\"1101000\"\nbit_rate=1e3\n";
    EXPECT_NEAR(Total_Dbm(*Parse_Scene(scene, "s")), -20.0, 0.01);
    const auto time_on = [&](double offset_hz) {
        Core_Rig rig(scene);
        Message message = Sweep_Message(1e9 + offset_hz, 0.0, 4);
        message[platform::sweep_time] = 0.007;
        const Trace trace = rig.Sweep(message);
        EXPECT_NEAR(Volts_To_Dbm(Highest(trace.average)), -20.0, 0.1);
        const double half = 0.5 * Highest(trace.average);
        return static_cast<double>(std::ranges::count_if(trace.average, [&](double v) { return v > half; })) / 601.0;
    };
    EXPECT_NEAR(time_on(20e3), 3.0 / 7.0, 0.03);
    EXPECT_NEAR(time_on(-20e3), 4.0 / 7.0, 0.03);
    // Through a filter that lets both pass, the envelope is flat.
    Core_Rig rig(scene);
    Message message = Sweep_Message(1e9, 0.0, 1);
    message[platform::sweep_time] = 0.007;
    const Trace trace = rig.Sweep(message);
    EXPECT_NEAR(Volts_To_Dbm(Lowest(trace.average)), -20.0, 0.3);
}

TEST(Scene, CombIsEvenlySpaced) {
    const auto input = Parse_Scene("[[comb]]\nfrequency=\"10 MHz\"\nspacing=\"1 MHz\"\ncount=5\nlevel=-40\n", "s");
    ASSERT_EQ(input->lines.size(), 5U);
    EXPECT_NEAR(Level_At(*input, 10e6), -40.0, 1e-9);
    EXPECT_NEAR(Level_At(*input, 14e6), -40.0, 1e-9);
}

TEST(Scene, DriftingCarrierWandersOverItsRange) {
    for (const bool fft : {false, true}) {
        Core_Rig rig("[[carrier]]\nfrequency=1e9\nlevel=-30\ndrift={range=200e3, period=4}\n");
        Message message = Sweep_Message(1e9, 600e3, fft ? 5 : 4, fft);
        message[platform::sweep_time] = 0.1;
        const Trace trace = rig.Sweep(message, 40);
        const auto place = [&](int sweep) {
            const auto first = trace.positive.begin() + 601 * sweep;
            EXPECT_NEAR(*std::max_element(first, first + 601), -30.0, 0.2);
            return std::max_element(first, first + 601) - first;
        };
        EXPECT_NEAR(static_cast<double>(place(9)), 400.0, 4.0);
        EXPECT_NEAR(static_cast<double>(place(19)), 300.0, 12.0);
        EXPECT_NEAR(static_cast<double>(place(29)), 200.0, 4.0);
    }
}

TEST(Scene, CalibrationReadsAsItsCommentsSay) {
    const auto input = Load_Scene(std::filesystem::path(KVA720_SOURCE) / "data/scenes/calibration.toml");
    Core_Rig rig(input);
    const auto sweep = [&](double center_hz, double span_hz, int rbw, double attenuation_db) {
        Message message = Sweep_Message(center_hz, span_hz, rbw);
        message[platform::sweep_attenuation] = attenuation_db;
        return rig.Sweep(message);
    };
    double level = -10.0;
    for (const double frequency : {50e6, 300e6, 600e6, 1200e6, 1800e6, 2400e6, 3000e6}) {
        EXPECT_NEAR(sweep(frequency, 200e3, 6, 10.0).positive[300], level, 0.15) << frequency;
        level -= 10.0;
    }
    EXPECT_NEAR(sweep(223e6, 200e3, 6, 10.0).positive[300], -50.0, 0.1);
    EXPECT_NEAR(sweep(232e6, 200e3, 6, 10.0).positive[300], -50.0, 0.1);
    Message side_band = Sweep_Message(110.001e6, 3e3, 8, true);
    side_band[platform::sweep_attenuation] = 10.0;
    EXPECT_NEAR(rig.Sweep(side_band).positive[300], -42.04, 0.15);
    EXPECT_NEAR(sweep(160.01e6, 20e3, 6, 10.0).positive[300], -35.69, 0.1);
    EXPECT_NEAR(sweep(902e6, 20e3, 6, 0.0).average[300], -84.0, 0.6);
    EXPECT_NEAR(Power_Mean(sweep(1500e6, 5e6, 2, 10.0).average), -110.0 + 50.27, 0.3);
}

TEST(Scene, MoreThanTheLimitsIsRefusedAtOnce) {
    std::string many;
    for (int i = 0; i < 257; i++) {
        many += "[[noise]]\ncenter=1e9\nbandwidth=1e6\nlevel=-50\n";
    }
    EXPECT_THROW(Parse_Scene(many, "s"), std::runtime_error);
    // A million signals: the file is longer than is read.
    const std::filesystem::path path = std::filesystem::path(testing::TempDir()) / "kva720_million.toml";
    {
        std::ofstream stream(path);
        for (int i = 0; i < 1'000'000; i++) {
            stream << "[[carrier]]\nfrequency=1e9\nlevel=-50\n";
        }
    }
    try {
        Load_Scene(path);
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("longer than a mebibyte"), std::string::npos);
    }
    std::filesystem::remove(path);
}

TEST(Scene, SeedGivesThePhases) {
    const std::string carrier = "\n[[carrier]]\nfrequency=1e6\nlevel=0";
    const auto phase = [&](const char* seed) { return Parse_Scene(seed + carrier, "s")->lines[0].phase; };
    EXPECT_EQ(phase("seed=3"), phase("seed=3"));
    EXPECT_NE(phase("seed=3"), phase("seed=4"));
}

TEST(Scene, ShippedScenesLoad) {
    const std::filesystem::path folder = std::filesystem::path(KVA720_SOURCE) / "data/scenes";
    EXPECT_TRUE(Load_Scene(folder / "quiet.toml")->lines.empty());
    const auto demo = Load_Scene(folder / "demo.toml");
    EXPECT_GT(demo->lines.size(), 100U);
    EXPECT_NEAR(Level_At(*demo, 1e9), -20.0, 1e-9);
}

TEST(Scene, ErrorsNameFileLineAndKey) {
    const std::string carrier = "seed = 1\n[[carrier]]\nfrequency = 1e9\n";
    const std::array<std::pair<std::string, std::string>, 25> cases = {{
        {"a = = 1", "s.toml:1: syntax: "},
        {"colour = 1", "s.toml:1: colour: unknown key"},
        {"[carrier]\nlevel = 1", "s.toml:1: carrier: not written as [[carrier]]"},
        {carrier + "level = nan", "s.toml:4: carrier.level: not from -200 to 40"},
        {carrier + "level = 41", "s.toml:4: carrier.level: not from -200 to 40"},
        {carrier + "level = \"high\"", "s.toml:4: carrier.level: not a number"},
        {carrier, "s.toml:2: carrier.level: missing"},
        {carrier + "level = 0\nfm = 3", "s.toml:5: carrier.fm: not a table"},
        {carrier + "level = 0\nfm = {rate = 1}", "s.toml:5: carrier.fm.deviation: missing"},
        {carrier + "level = 0\nfm = {deviation = 1e6, rate = 1}", "s.toml:5: carrier.fm.deviation: more than 1000"},
        {carrier + "level = 0\nam = {depth = 1.5, rate = 1}", "s.toml:5: carrier.am.depth: not from 0 to 1"},
        {carrier + "level = 0\nam = {depth = 0.5, rate = -1}", "s.toml:5: carrier.am.rate: not above 0"},
        {"[[carrier]]\nfrequency = \"5 parsec\"\nlevel = 0", "s.toml:2: carrier.frequency: not a frequency"},
        {"[[carrier]]\nfrequency = inf\nlevel = 0", "s.toml:2: carrier.frequency: not from 0 to 1e+11"},
        {"[[noise]]\ncenter = 1e9\nbandwidth = 0\nlevel = 0", "s.toml:3: noise.bandwidth: not from 1 to 1e+11"},
        {"[[ask]]\nfrequency = 1\nlevel = 0\nbits = \"12\"\nbit_rate = 1", "s.toml:4: ask.bits: not 1 to 256 digits"},
        {"[[pulse]]\nfrequency = 1\nlevel = 0\nwidth = 1\nrate = -5", "s.toml:5: pulse.rate: not above 0"},
        {"[[fsk]]\nfrequency = 1\nlevel = 0\nbits = \"1\"\nbit_rate = 1\ndeviation = 21",
         "s.toml:6: fsk.deviation: more than 20"},
        {"[[fsk]]\nfrequency = 1\nlevel = 0\nbits = \"1\"\nbit_rate = -1", "s.toml:5: fsk.bit_rate: not above 0"},
        {"[[comb]]\nfrequency = 1\nlevel = 0\nspacing = 1\ncount = 1000000", "s.toml:5: comb.count: not from 1 to"},
        {"[[comb]]\nfrequency = 1\nlevel = 0\nspacing = 1\ncount = 1.5", "s.toml:5: comb.count: not a whole number"},
        {"[[comb]]\nfrequency = 1\nlevel = nan\nspacing = 1\ncount = 1", "s.toml:3: comb.level: not from -200"},
        {carrier + "level = 0\ndrift = {range = -1, period = 1}", "s.toml:5: carrier.drift.range: not from 0"},
        {carrier + "level = 0\ndrift = {range = 1, period = nan}", "s.toml:5: carrier.drift.period: not from 0.1"},
        {carrier + "level = 0\nam = {depth = 1, rate = 1}\ndrift = {range = 1, period = 1}",
         "s.toml:5: carrier.am: unknown key"},
    }};
    for (const auto& [text, expected] : cases) {
        try {
            Parse_Scene(text, "s.toml");
            ADD_FAILURE() << "taken: " << text;
        } catch (const std::runtime_error& error) {
            const std::string what = error.what();
            EXPECT_EQ(what.substr(0, expected.size()), expected);
            EXPECT_EQ(what.find('\n'), std::string::npos);
        }
    }
    EXPECT_THROW(Load_Scene("/nowhere/scene.toml"), std::runtime_error);
}

}  // namespace
