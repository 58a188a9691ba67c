#include <filesystem>

#include "board_rig.h"
#include "files/limit_file.h"
#include "platform/beeper.h"
#include "records/limit.h"
#include "trace/limit_lines.h"
#include "web/state.h"

/// The pass/fail test over the link, against a scene whose truth is known.
namespace {

using virtual_board::Load_Scene;

class Limit_Sweeps : public On_Board {
protected:
    void SetUp() override {
        On_Board::SetUp();
        std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
        limitline_init();
        Start(Load_Scene(std::string(KVA720_SHARE) + "/scenes/calibration.toml"));
        for (auto& choice : Trace_Data[0].detector_choice) choice = detector_positive;
        DetectionAutoFunc();
        Ask("FREQ:STAR 0;STOP 750 MHZ");
        ASSERT_TRUE(Sweep(2));
    }
    static std::uint32_t Condition() { return static_cast<std::uint32_t>(std::stoi(Ask("STAT:QUES:COND?"))) & 512; }
    static std::string Fails() { return Ask("CALC:LIM:FAIL?"); }
};

/// The verdict from the levels that a PC gets: a level above the straight line between two points fails.
bool Exceeds(const std::array<float, trace_points>& levels, double start, double step,
             const std::vector<Limit_Point>& mask) {
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const double frequency = start + static_cast<double>(i) * step;
        for (std::size_t k = 0; k + 1 < mask.size(); ++k) {
            const Limit_Point &a = mask[k], &b = mask[k + 1];
            if (frequency < a.frequency || frequency > b.frequency || a.frequency == b.frequency) continue;
            const double part = (frequency - a.frequency) / (b.frequency - a.frequency);
            if (static_cast<double>(levels[i]) > a.amplitude + part * (b.amplitude - a.amplitude)) return true;
        }
    }
    return false;
}

TEST_F(Limit_Sweeps, TheVerdictIsThatOfTheLevels) {
    int failed = 0;
    // The carriers of -10, -20 and -30 dBm at 50, 300 and 600 MHz; each mask is 2 dB off them, so that no row decides.
    for (const double peak : {-8.0, -12.0}) {
        for (const double middle : {-18.0, -22.0}) {
            for (const double slope : {0.0, 14.0}) {
                const std::vector<Limit_Point> mask{{10e6, peak},          {150e6, peak},          {150e6, middle},
                                                    {450e6, middle},       {450e6, middle - slope / 2},
                                                    {600e6, middle - slope}, {740e6, middle - slope}};
                ASSERT_TRUE(Set_Limit_Points(0, mask));
                Choose_Limit_Lines(0, no_limit_line);
                Set_Limit_Test(true);
                ASSERT_TRUE(Sweep());
                const bool exceeds = Exceeds(Trace_Data[0].value[0], 0, 750e6 / 600, mask);
                EXPECT_EQ(Fails(), exceeds ? "1" : "0") << peak << ' ' << middle << ' ' << slope;
                EXPECT_EQ(Condition() != 0, exceeds);
                failed += exceeds;
            }
        }
    }
    EXPECT_EQ(failed, 7) << "one of the masks lies above all carriers";
}

/// Types three points into line 3.
void Type_Mask() {
    constexpr auto soft = [](int key) { return key_soft_first + key; };
    constexpr int edit_line = 5, line = 0, level = 3, add_point = 4, megahertz = 1, first_unit = 0;
    keylink = &FreqLink[0];
    Press({key_limit_line, soft(edit_line), soft(line)});
    Type("3");
    Press({soft(first_unit)});
    for (const auto& [frequency, text] : {std::pair{"320", "-25"}, {"20", "-5"}, {"700", "-15"}}) {
        Press({soft(add_point)});
        Type(frequency);
        Press({soft(megahertz), soft(level)});
        Type(text);
        Press({soft(first_unit)});
    }
    Press({key_frequency});
}

TEST_F(Limit_Sweeps, MasksTypedSentAndFromAFileJudgeAlike) {
    Type_Mask();
    Ask("CALC:LIM1:DATA 20 MHZ,-5,320 MHZ,-25,700 MHZ,-15;:MMEM:STOR:LIM 1,'mask';:MMEM:LOAD:LIM 7,'mask'");
    Limit_Rows rows{};
    for (const char* line : {"1", "3", "7"}) {
        Ask(std::string("CALC:LIM:HIGH ") + line + ";STAT ON");
        EXPECT_EQ(Fails(), "1") << "the sweep that stands is judged at once";
        if (*line == '1') rows = PassFail_HighYPixel;
        EXPECT_EQ(PassFail_HighYPixel, rows);
        ASSERT_TRUE(Sweep());
        EXPECT_EQ(Fails(), "1");
    }
}

TEST_F(Limit_Sweeps, AFailureIsAServiceRequestAndATone) {
    Ask("*CLS;STAT:QUES:ENAB 512;*SRE 8;:CALC:LIM1:DATA 10 MHZ,10,740 MHZ,10;:CALC:LIM:HIGH 1;STAT ON");
    ASSERT_TRUE(Sweep());
    EXPECT_EQ(Fails(), "0");
    EXPECT_EQ(std::stoi(Ask("*STB?")) & 72, 0);
    const int beeps = platform::Beeps();
    ASSERT_GE(beeps, 0);
    Ask("CALC:LIM1:DATA 10 MHZ,-45,740 MHZ,-45");
    ASSERT_TRUE(Sweep(3));
    EXPECT_EQ(std::stoi(Ask("*STB?")) & 72, 72);
    EXPECT_LE(platform::Beeps(), beeps + 1) << "a lasting failure is no long tone";
    Talk({{"STAT:QUES?", "512"}, {"FREQ:CENT 374 MHZ"}});
    EXPECT_EQ(Condition(), 0u) << "the new frequencies have not been swept";
    EXPECT_EQ(Errors("CALC:LIM:FAIL?"), (std::vector{-230}));
    ASSERT_TRUE(Sweep(2));
    EXPECT_NE(Condition(), 0u);
    EXPECT_GT(platform::Beeps(), beeps);
    EXPECT_NE(web::State_Message("{}").find("\"beeps\":" + std::to_string(platform::Beeps())), std::string::npos);
    Ask("SYST:ALAR:STAT OFF;:CALC:LIM:STAT OFF");
    EXPECT_EQ(Condition(), 0u);
    const int silent = platform::Beeps();
    Ask("CALC:LIM:STAT ON;:FREQ:CENT 375 MHZ");
    ASSERT_TRUE(Sweep(2));
    EXPECT_EQ(platform::Beeps(), silent);
}

TEST_F(Limit_Sweeps, TheFirstFailingSweepCanBeTheLastOne) {
    Ask("CALC:LIM1:DATA 10 MHZ,10,740 MHZ,10;:CALC:LIM:HIGH 1;STAT ON");
    Set_Stop_On_Fail(true);
    ASSERT_TRUE(Sweep(2));
    EXPECT_EQ(Sweep_Data.single, 0);
    Ask("CALC:LIM1:DATA 10 MHZ,-45,740 MHZ,-45");
    ASSERT_TRUE(Sweep());
    EXPECT_EQ(Ask("INIT:CONT?"), "0");
    EXPECT_FALSE(Sweep_Can_Come());
    EXPECT_EQ(Fails(), "1");
    Ask("INIT:CONT ON");
    ASSERT_TRUE(Sweep());
    EXPECT_EQ(Ask("INIT:CONT?"), "0") << "and again";
}

}  // namespace
