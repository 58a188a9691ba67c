#include "sweep_rig.h"

namespace {

/// Bandwidths and sweep times on the signals of the calibration scene, with the core behind its link.
class Bandwidth_Core : public Sweep_Rig {
protected:
    void SetUp() override {
        Sweep_Rig::SetUp();
        Start(virtual_board::Load_Scene(std::string(KVA720_SHARE) + "/scenes/calibration.toml"));
    }
    std::string Scene() const override { return ""; }
    static void Run(double seconds) { Sweep_Rig::Run(seconds / Sweep_Data.time[0]); }
    /// Makes the settings, then one whole sweep of them.
    void Sweep(const std::string& settings) {
        EXPECT_EQ(Errors(settings), None()) << settings;
        Run(Sweep_Data.time[0] * 1.001);
        EXPECT_GE(Record().sweeps, 1) << settings;
    }
    static double Power_Mean(std::size_t first, std::size_t last) {
        double sum = 0;
        for (std::size_t i = first; i < last; ++i) sum += std::pow(10, Record().value[0][i] / 10);
        return 10 * std::log10(sum / static_cast<double>(last - first));
    }
    void Take_Detector(Detector detector) {
        Record().detector_choice[0] = detector;
        DetectionAutoFunc();
    }
};

TEST_F(Bandwidth_Core, ACarrierStaysWhereAndAsHighAsItIs) {
    Take_Detector(detector_positive);
    Ask("FREQ:CENT 300 MHZ;SPAN 600 KHZ");
    for (const std::string rbw : {"100E3", "30E3", "10E3", "3E3", "1E3", "300"}) {
        for (const std::string mode : {"AUTO", rbw == "3E3" || rbw == "1E3" ? "SWE" : "AUTO"}) {
            Sweep("BAND " + rbw + ";:SWE:MODE " + mode);
            EXPECT_NEAR(static_cast<double>(Highest()), 300, rbw == "100E3" ? 12 : 1) << rbw << mode;
            EXPECT_NEAR(Record().value[0][300], -20, 0.2) << rbw << mode;
        }
    }
    Sweep("FREQ:SPAN 10 KHZ;:BAND:AUTO 1");
    Walk({{"", [&] { return Highest(); }, 300}, {"", [&] { return Record().value[0][300]; }, Near{-20, 0.2}}});
    Sweep("FREQ:SPAN 20 MHZ;:EMIF:STAT 1");
    EXPECT_NEAR(Record().value[0][300], -20, 0.2) << "120 kHz (6 dB)";
    Sweep("FREQ:SPAN 20 KHZ");
    Walk({{"", JUDGE_FFT_MODE, 1}, {"", [&] { return Record().value[0][300]; }, Near{-20, 0.2}, "200 Hz by FFT"}});
    Sweep("FREQ:SPAN 0");
    EXPECT_NEAR(Record().value[0][600], -20, 0.2) << "200 Hz in zero span";
    Sweep("EMIF:STAT 0;:BAND 10KHZ");
    EXPECT_NEAR(Record().value[0][100], -20, 0.2);
}

TEST_F(Bandwidth_Core, NoiseFollowsTheResolution) {
    Take_Detector(detector_average);
    Ask("FREQ:CENT 700 MHZ;SPAN 2 MHZ");
    for (const auto& [rbw, hertz] :
         {std::pair{"100 KHZ", 100e3}, {"10 KHZ", 10e3}, {"3 KHZ", 3e3}, {"300 HZ", 300.0}}) {
        Sweep(std::string("BAND ") + rbw);
        const double density = Power_Mean(0, trace_points) - 10 * std::log10(1.0645 * hertz);
        EXPECT_NEAR(density, -140, 1) << rbw;
    }
    // The sample detector's scatter shrinks with the video filter.
    Take_Detector(detector_sample);
    const auto scatter = [] {
        const auto& values = Record().value[0];
        double sum = 0, square = 0;
        for (const double value : values) sum += value, square += value * value;
        const double mean = sum / trace_points;
        return std::sqrt(square / trace_points - mean * mean);
    };
    Sweep("BAND 10 KHZ");
    const double wide = scatter();
    Sweep("BAND:VID 100 HZ");
    EXPECT_LT(scatter(), wide / 4);
    EXPECT_GT(Sweep_Data.time[0], 0.8);
}

TEST_F(Bandwidth_Core, ASlowSweepComesPointByPoint) {
    Ask("FREQ:CENT 600 MHZ;SPAN 10 MHZ;:SWE:TIME 100");
    for (const int seconds : {10, 20, 30}) {
        Run(10);
        EXPECT_NEAR(Record().point, seconds * 6.01, 1);
    }
    EXPECT_EQ(Record().sweeps, 0);
    EXPECT_GT(Record().value[0][100], -150);
    EXPECT_EQ(Record().value[0][400], -180) << "not swept yet";
    Ask("BAND 1 MHZ");
    Walk({{"", [&] { return Record().point; }, 0, "a change begins anew"}, {"", Sweep_Data.time[0], 100}});
    Run(100.1);
    EXPECT_EQ(Record().sweeps, 1);
}

TEST_F(Bandwidth_Core, AManualNarrowWidthMeasuresInZeroSpan) {
    Take_Detector(detector_positive);
    Ask("FREQ:CENT 50 MHZ;SPAN 10 KHZ;:BAND 1 KHZ");
    EXPECT_EQ(Errors("FREQ:SPAN 0"), std::vector<int>{111});
    Run(1);
    EXPECT_NEAR(Record().value[0][600], -10, 0.2);
}

}  // namespace
