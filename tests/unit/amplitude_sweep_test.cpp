// A carrier of the calibration scene through every vertical setting: column, level, row and answer.

#include "keys/level_units.h"
#include "sweep_rig.h"
#include "trace/scale.h"

namespace {

constexpr double carrier_dbm = -30;  ///< at 600 MHz

class Amplitude_Sweep : public Sweep_Rig {
protected:
    void SetUp() override {
        Sweep_Rig::SetUp();
        Start(virtual_board::Load_Scene(std::string(KVA720_SOURCE) + "/data/scenes/calibration.toml"));
        Record().detector_choice[0] = Record().detector[0] = detector_positive;
        Ask("FREQ:CENT 600MHZ;SPAN 2MHZ");
    }
    std::string Scene() const override { return ""; }
    /// Levels of the whole trace as they are answered.
    static std::vector<double> Levels() {
        std::istringstream text(Ask("TRAC? TRACE1"));
        std::vector<double> levels;
        for (std::string level; std::getline(text, level, ',');) levels.push_back(std::stod(level));
        return levels;
    }
    /// Sets, sweeps and expects the carrier in the middle with this level as answered, and where the graticule has it.
    static void Expect_Carrier(const std::string& settings, double answered, double tolerance = 0.15) {
        SCOPED_TRACE(settings);
        EXPECT_EQ(Errors(settings), std::vector<int>{});
        Run(1.05);
        const std::vector<double> levels = Levels();
        ASSERT_EQ(levels.size(), 601u);
        EXPECT_NEAR(static_cast<double>(Highest()), 300, 1);
        EXPECT_NEAR(*std::ranges::max_element(levels), answered, tolerance);
        EXPECT_NEAR(Record().value[0][300], carrier_dbm, 0.4) << "at the input";
        const double shown = AmplUnitTrans(levels[300], Amp.unit, 0);
        EXPECT_NEAR(Record().rows[0][300], Row_By_Figures(shown), 1.5);
    }
    /// The row at which the figures beside the graticule have a shown level.
    static double Row_By_Figures(double dbm) {
        if (dbm >= Line_Level(0)) return 58;
        int line = 0;
        while (line < 10 && dbm < Line_Level(line + 1)) ++line;
        if (line == 10) return 508;
        const auto height = [](double level) {
            return Amp.scale_type[0] == 0 ? level : std::pow(10, level / 20);
        };
        const double top = height(Line_Level(line)), bottom = height(Line_Level(line + 1));
        return 58 + 45 * (line + (top - height(dbm)) / (top - bottom));
    }
};

TEST_F(Amplitude_Sweep, ACarrierKeepsItsPlaceAndLevel) {
    Expect_Carrier("", -30);
    Expect_Carrier("INP:ATT 30", -30);
    Expect_Carrier("INP:ATT 0", -30);
    Expect_Carrier("INP:ATT:AUTO ON;:DISP:TRAC:Y:RLEV -20", -30);
    Expect_Carrier("DISP:TRAC:Y:RLEV -30;:POW:GAIN ON;:INP:ATT 10", -30, 0.4);  // the -10 dBm carrier loads the mixer
    EXPECT_EQ(Amp.preamplifier_in[0], 1);
    Expect_Carrier("POW:GAIN OFF;:INP:ATT:AUTO ON", -30);
    Expect_Carrier("DISP:TRAC:Y:RLEV -10;PDIV 5", -30);
    EXPECT_NEAR(Record().rows[0][300], 58 + 45 * 4, 1) << "four divisions of 5 dB below -10 dBm";
    Expect_Carrier("DISP:TRAC:Y:RLEV:OFFS 20", -10);
    Expect_Carrier("INP:OFFS 6;IMP 75", -4);
    EXPECT_NEAR(Record().rows[0][300], 58 + 45 * 4, 1) << "trace and figures move together";
    Expect_Carrier("UNIT:POW DBMV", -4 + 48.751);
    Expect_Carrier("UNIT:POW W", 398e-6, 15e-6);
    Expect_Carrier("INP:IMP 50;:DISP:TRAC:Y:RLEV:OFFS 0;:UNIT:POW DBUV", -30 + 106.99);
    Expect_Carrier("DISP:TRAC:Y:SPAC LIN;RLEV 20 MV", 7.07e-3, 0.15e-3);
    EXPECT_NEAR(Record().rows[0][300], 58 + 450 * (1 - 7.07 / 19.93), 4) << "20 mV is -21 dBm";
    Expect_Carrier("DISP:TRAC:Y:RLEV:OFFS 6", 14.1e-3, 0.3e-3);
    Expect_Carrier("DISP:TRAC:Y:SPAC LOG;PDIV 2;RLEV:OFFS 0;:DISP:TRAC:Y:RLEV -25", -30);
}

TEST_F(Amplitude_Sweep, TheAutomaticScaleFindsTheCarrier) {
    Run(1.05);
    EXPECT_EQ(Errors("DISP:TRAC:Y:AUTO"), std::vector<int>{});
    Run(1.05);
    EXPECT_NEAR(Amp.reference[0], -29.5, 0.6);
    EXPECT_GE(Record().rows[0][300], 58);
    EXPECT_LT(Record().rows[0][300], 58 + 45);
}

TEST_F(Amplitude_Sweep, ASlowSweepGoesOnUnderANewView) {
    Run(0.5);
    const int half = Record().processed;
    EXPECT_GT(half, 290);
    Ask("UNIT:POW V;:DISP:TRAC:Y:PDIV 2;STAT OFF;POS RIGH;SPAC LIN");
    EXPECT_EQ(Record().processed, half);
    Ask("INP:ATT 20");
    EXPECT_EQ(Record().processed, 0) << "a new attenuation is measured afresh";
}

}  // namespace
