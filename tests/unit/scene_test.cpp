#include "virtual_board/scene.h"

#include <gtest/gtest.h>

#include <filesystem>
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
    for (const auto& line : virtual_board::Lines_Between(input, frequency_hz - 0.5, frequency_hz + 0.5)) {
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
    const std::array<std::pair<std::string, std::string>, 16> cases = {{
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
