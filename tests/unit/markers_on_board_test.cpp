#include "board_rig.h"
#include "platform/dsp_message.h"

/// Markers, counter and peaks over the link, against scenes whose truth is known.
namespace {

using virtual_board::Load_Scene;
using virtual_board::Parse_Scene;

constexpr double none = 9.91e37;
constexpr double of_answer = 1;  ///< Hz: answers have ten digits

TEST_F(On_Board, PeaksOfTheCalibrationSceneStandAtTheirLevels) {
    Start(Load_Scene(std::string(KVA720_SHARE) + "/scenes/calibration.toml"));
    for (auto& choice : Trace_Data[0].detector_choice) choice = detector_positive;
    DetectionAutoFunc();
    Ask("BAND 1 KHZ");  // narrower than a column, and the noise on a carrier reaches no 0.1 dB
    for (const auto& [megahertz, level] : {std::pair{50.0, -10.0}, {300.0, -20.0}, {600.0, -30.0}, {1200.0, -40.0},
                                           {1800.0, -50.0}, {2400.0, -60.0}}) {
        Ask("FREQ:SPAN 1 MHZ;CENT " + std::to_string(megahertz) + " MHZ");
        ASSERT_TRUE(Sweep(2));
        EXPECT_EQ(Errors("CALC:MARK1:PEAK MAX"), None());
        EXPECT_NEAR(Number("CALC:MARK1:X?"), megahertz * 1e6, of_answer);
        EXPECT_NEAR(Number("CALC:MARK1:Y?"), level, 0.15) << megahertz;
    }
}

/// The comb's ten lines in order of frequency: the table's axis of 601 steps shows them up to a column too low.
TEST_F(On_Board, ThePeakTableListsTheComb) {
    Start(Load_Scene(std::string(KVA720_SHARE) + "/scenes/calibration.toml"));
    for (auto& choice : Trace_Data[0].detector_choice) choice = detector_positive;
    DetectionAutoFunc();
    Ask("FREQ:SPAN 12 MHZ;CENT 227.5 MHZ;:BAND 10 KHZ;:CALC:MARK:PEAK:EXC 20");
    ASSERT_TRUE(Sweep(2));
    SelectTraceForPeakSearch();
    std::array<Peak_Row, table_peaks> rows;
    ASSERT_EQ(Peak_Table_Rows(rows), 10);
    for (int line = 0; line < 10; ++line) {
        const double off = rows[static_cast<std::size_t>(line)].frequency - (223e6 + line * 1e6);
        EXPECT_GT(off, -Freqs.span[0] / trace_points);
        EXPECT_LE(off, 0);
        EXPECT_NEAR(rows[static_cast<std::size_t>(line)].level, -50, 0.2);
    }
}

TEST_F(On_Board, TheCounterIsRightWithinItsResolution) {
    Start(Parse_Scene("[[carrier]]\nfrequency = 433920123.4\nlevel = -30\n[[carrier]]\nfrequency = 434e6\nlevel = -90\n",
                      "carriers"));
    Ask("FREQ:SPAN 1 MHZ;CENT 434 MHZ");
    ASSERT_TRUE(Sweep(2));
    Ask("CALC:MARK2:PEAK MAX;:CALC:MARK2:FCO:STAT ON");
    EXPECT_EQ(Ask("CALC:MARK2:FCO:RES?;RES:AUTO?"), "1.000000000e+01;1") << "a thousandth of 10 kHz";
    for (const auto& [resolution, truth] : {std::pair{1000.0, 433920e3}, {100.0, 433920.1e3}, {10.0, 433920120.0},
                                            {1.0, 433920123.0}, {0.1, 433920123.4}}) {
        Ask("CALC:MARK2:FCO:RES " + std::to_string(resolution));
        ASSERT_TRUE(Count());
        EXPECT_NEAR(Number("CALC:MARK2:FCO:X?"), truth, resolution) << resolution;
        EXPECT_NEAR(std::remainder(Marker_Count(1), resolution), 0, 1e-5) << "rounded to " << resolution;
    }
    Ask("FREQ:OFFS 1 GHZ");
    EXPECT_NEAR(Marker_Count(1), 1433920123.4, 0.11);
    Ask("FREQ:OFFS 0;:CALC:MARK2:X 434 MHZ");
    ASSERT_TRUE(Count());
    EXPECT_EQ(Number("CALC:MARK2:FCO:X?"), none) << "a signal 10 dB over the noise is none to count";
    Ask("FREQ:SPAN 0");
    EXPECT_EQ(Number("CALC:MARK2:FCO:X?"), none);
}

/// Thermal noise and noise figure, whatever detector and average make of them.
TEST_F(On_Board, TheNoiseMarkerReadsTheReceiversNoise) {
    Start(Load_Scene(std::string(KVA720_SHARE) + "/scenes/quiet.toml"));
    Set_Attenuation(2, 0);
    Ask("FREQ:SPAN 10 MHZ;CENT 1 GHZ;:CALC:MARK1:NOIS:STAT ON;:AVER:COUN 8");
    for (const char* settings : {"DET SAMP;:AVER:STAT OFF", "DET AVER", "DET:AUTO ON;:AVER:TYPE LOG;STAT ON",
                                 "AVER:TYPE VOLT", "AVER:TYPE POW", "BAND:VID 10 KHZ", "DET SAMP;:AVER:TYPE VOLT",
                                 "BAND:VID:AUTO ON;:DET POS;:AVER:TYPE LOG", "DET NORM", "AVER:TYPE POW",
                                 "SWE:TIME 0.5", "DET NORM;:AVER:STAT OFF", "BAND:VID 300 HZ"}) {
        Ask(settings);
        const bool average = Trace_Data[0].average_on[0] != 0;
        double sum = 0;
        int count = 0;
        for (int sweep = 0; sweep < (average ? 8 : 50); ++sweep) {
            ASSERT_TRUE(Sweep(average ? 9 : 1));
            for (const int column : {30, 90, 150, 210, 270, 330, 390, 450, 510, 570}) {
                Set_Marker_Place(0, Column_Place(column));
                sum += Number("CALC:MARK1:NOIS:Y?");
                ++count;
            }
        }
        EXPECT_NEAR(sum / count, -174 + 24, 0.5) << settings;
    }
    Ask("CALC:DELT1:X 1 MHZ");
    EXPECT_NEAR(Number("CALC:DELT1:Y?"), 0, 6);
}

TEST_F(On_Board, TrackingFollowsASignalThatMoves) {
    Start(Parse_Scene("[[carrier]]\nfrequency = 100e6\nlevel = -30\n", "carrier"));
    Ask("FREQ:SPAN 1 MHZ;CENT 100 MHZ");
    ASSERT_TRUE(Sweep(2));
    Ask("CALC:MARK:PEAK:CTR:STAT ON");
    EXPECT_NEAR(Number("CALC:MARK1:X?"), 100e6, 2e3);
    Ask("FREQ:CENT 100.2 MHZ");
    ASSERT_TRUE(Sweep(2));
    EXPECT_NEAR(Number("CALC:MARK1:X?"), 100e6, 2e3);
    EXPECT_EQ(Number("FREQ:CENT?"), 100.2e6) << "the centre stays";
    Ask("CALC:MARK:PEAK:CTR:STAT OFF;:CALC:MARK1:X 100.4 MHZ");
    ASSERT_TRUE(Sweep(2));
    EXPECT_NEAR(Number("CALC:MARK1:X?"), 100.4e6, 2e3);
}

/// A mistyped or torn order to the counter leaves no reading behind and the sweeps run on.
TEST_F(On_Board, OrdersToTheCounterThatAreNoneAreHarmless) {
    Start(Parse_Scene("[[carrier]]\nfrequency = 100e6\nlevel = -30\n", "carrier"));
    Ask("FREQ:SPAN 1 MHZ;CENT 100 MHZ");
    for (const double number : {std::nan(""), -1e300, 1e300, 0.0}) {
        LOOP_Buffers[0] = platform::code_counter;
        LOOP_Buffers[1] = 1;
        LOOP_Buffers[2] = LOOP_Buffers[3] = number;
        LOOP_Execute(1);
        EXPECT_TRUE(Sweep(1)) << number;
    }
}

}  // namespace
