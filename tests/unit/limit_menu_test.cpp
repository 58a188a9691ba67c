#include <filesystem>

#include "commands_rig.h"
#include "files/state.h"
#include "keys/name_entry.h"
#include "keys/soft_keys.h"
#include "records/limit.h"
#include "system/settings.h"
#include "trace/limit_edit.h"
#include "trace/limit_lines.h"

namespace {

/// The limit pages through the dispatch of keys, and the limit commands. 100 to 700 MHz, reference 0 dBm.
class Limit_Menu : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
        root.Write("/var/log/error.log", "");
        keylink = &FreqLink[0];
        Preset_Instrument();
        Set_Start_Freq(2, 100e6);
        Set_Stop_Freq(2, 700e6);
        Keypad_Exe(key_limit_line);
    }
    static void Level_Everywhere(float dbm) { Trace_Data[0].value[0].fill(dbm); }
    static Limit_Node* Point(std::size_t line, std::size_t k) { return Point_Of(Limit_Lines[line], k); }
};

TEST_F(Limit_Menu, AMaskTypedIsTheOneSentAndTheOneLoaded) {
    Press({soft(5), soft(0), soft(0)});
    ASSERT_EQ(keylink.load(), &LimitlineLink[1]);
    Walk({{"", Says(0), "2", "pressed again, the next line"}, {"3 f0", [&] { return Edited_Line(); }, 2u}});
    EXPECT_TRUE(Greyed_Out(LimitlineLink[1], 1) && Greyed_Out(LimitlineLink[1], 3)) << "there is no point yet";

    Walk({{"f4", Says(2), "400.000 MHz", "the first point stands in the middle"},
          {"300 f1 f3 -40 f0 f4", Says(2), "360.000 MHz", "the next one a division further"},
          {"150 f1", Says(1), "1 / 2", "the selection follows the point to its place"},
          {"f3 -25.5 f0 f1 up f4", Says(1), "3 / 3"}, {"f1 down f4", Says(1), "3 / 4"},
          {"", Says(2), "330.000 MHz", "half way to the next"}, {"f5 f1"}});
    EXPECT_FALSE(Selected_Point_Used());
    Press({soft(2)});
    EXPECT_EQ(Edited_Points(), 3u);
    EXPECT_EQ(Ask("CALC:LIM3:DATA?"),
              "1.500000000e+08,-2.550000000e+01,3.000000000e+08,-4.000000000e+01,3.600000000e+08,-4.000000000e+01");

    EXPECT_EQ(Errors("CALC:LIM4:DATA 360 MHZ,-40,150 MHZ,-25.5 DBM,0.3 GHZ,-40"), None());
    EXPECT_EQ(Ask("CALC:LIM4:DATA?"), Ask("CALC:LIM3:DATA?"));
    EXPECT_EQ(Errors("MMEM:STOR:LIM 3,'NAND:mask';:MMEM:LOAD:LIM 5,'mask.LIM'"), (std::vector{-256}))
        << "names are those of the file system";
    EXPECT_EQ(Errors("MMEM:LOAD:LIM 5,'mask'"), None());
    Limit_Rows rows{};
    for (const int line : {3, 4, 5}) {
        Ask("CALC:LIM:HIGH " + std::to_string(line));
        if (line == 3) rows = PassFail_HighYPixel;
        EXPECT_EQ(PassFail_HighYPixel, rows) << line;
        EXPECT_EQ(PassFailTestRange, (std::array<std::int32_t, 2>{60, 270}));
    }
}

TEST_F(Limit_Menu, PointsAreTurnedWithKnobAndArrows) {
    Ask("CALC:LIM1:DATA 200 MHZ,-10,210 MHZ,-20");
    Walk({{"f5 f2 > up", [&] { return Point(0, 0)->frequency; }, 210e6},
          {"", [&] { return Point(0, 1)->frequency; }, 261e6, "a column, then a division, past the other point"},
          {"", [&] { return Selected_Point(); }, 1u}, {"f3 < down", [&] { return Point(0, 1)->amplitude; }, -21}});
    Ask("UNIT:POW V;:DISP:WIND:TRAC:Y:RLEV:OFFS 0");
    Walk({{"f3 1", NumLink[3], "levels are typed in the amplitude unit"}, {"f0"}});
    EXPECT_NEAR(Point(0, 1)->amplitude, 13.01, 0.01);
    for (int i = 0; i < 12; ++i) Press({soft(4)});
    EXPECT_EQ(Edited_Points(), 10u) << "no more than ten";
    EXPECT_TRUE(Greyed_Out(LimitlineLink[1], 4));
}

TEST_F(Limit_Menu, TheTestIsSetUpByKeys) {
    EXPECT_TRUE(Greyed_Out(LimitlineLink[0], 0)) << "without a line there is no test";
    Walk({{"f0", Limit_Test.on, 0}, {"f1", Says(1), "---"}, {"f1", Says(1), "1"}, {"8 f0 f2 up up", Says(1), "8"},
          {"", Says(2), "2"}, {"f0 f3 f3 f4"}});
    EXPECT_EQ(Ask("CALC:LIM:STAT?;TYPE?;MODE?"), "1;MINimum;INTersect");
    Walk({{"f3", PassCriterion, criterion_trace, "round"}, {"down", PassCriterion, criterion_minimum}, {"f6 f1 f2"}});
    Talk({{"SYST:ALAR:STAT?", "0"}, {"", Limit_Test.stop_on_fail, 1}});
    Sys_Data.alarm = 1;
    ASSERT_TRUE(Recall_Settings());
    Walk({{"", Sys_Data.alarm, 0, "kept over power and presets"}, {"f6 f2 0 f0", Limit_Test.low, no_limit_line},
          {"", Limit_Test.on, 1}});
    EXPECT_EQ(Errors("LIM8:DEL"), None());
    Walk({{"", Limit_Test.on, 0, "the last line has gone"}, {"SYSTEM f6 f0"}});
    EXPECT_EQ(Ask("SYST:ALAR:STAT?"), "1") << "the same beeper";
}

TEST_F(Limit_Menu, TheTableStandsWithTheEditorAndNoLonger) {
    Set_Marker_Table(true);
    Press({soft(5)});
    EXPECT_TRUE(Global_Table & table_limit);
    Walk({{"", ScreenInf.height, 301}, {"f4 5"}});
    EXPECT_TRUE(Global_Table & table_limit) << "while a number is typed";
    Press({soft(1), soft(5), soft(3), soft(6)});
    EXPECT_TRUE(Global_Table & table_limit);
    Walk({{"MARKER", Global_Table, std::int32_t{table_marker}, "the markers' table comes back"},
          {{Set_Marker_Table, false}, ScreenInf.height, 451}});
}

TEST_F(Limit_Menu, ClearingAndDeletingAreConfirmed) {
    Ask("CALC:LIM1:DATA 200 MHZ,-10;:CALC:LIM:HIGH 1");
    Walk({{"f5 f5 f3 f6", [&] { return Edited_Points(); }, 1u, "Return loses nothing"},
          {"f3 enter", [&] { return Edited_Points(); }, 1u}, {"f0", [&] { return Edited_Points(); }, 0u},
          {"", Limit_Test.high, 0, "an empty line stays chosen"}, {"", LimitlineLink[3]},
          {"f4 f0", Limit_Test.high, no_limit_line}});
}

TEST_F(Limit_Menu, LinesFromTracesAndMarkers) {
    Level_Everywhere(-60);
    Walk({{{Set_Offset_Freq, 1e9}}, {{Set_ReflevelOffset, 10}},
          {"f6 f0 f2 5 f0 f1", [&] { return Edited_Points(); }, 10u},
          {"", [&] { return Point(0, 3)->frequency; }, 300e6, "kept without the offset"},
          {"", [&] { return Point(0, 3)->amplitude; }, -45, "as displayed"}});
    EXPECT_TRUE(Ask("CALC:LIM1:DATA?").starts_with("1.100000000e+09,-4.500000000e+01,"));

    Press({soft(0), soft(0), soft(4)});
    Type("1.25");
    Press({soft(0), soft(3)});
    EXPECT_EQ(Ask("CALC:LIM2:DATA?"), "1.250000000e+09,-4.500000000e+01");
    Press({soft(4), key_up, key_enter});
    EXPECT_EQ(Edited_Points(), 2u) << "Enter takes the point, too";

    Trace_Data[0].value[0][500] = -20;
    Walk({{"f5 f3", [&] { return Edited_Points(); }, 2u, "the second place is waited for"},
          {"f4 1.6", Marker_Limit_Two_Point, 0, "a digit gives the first one up"}, {"f0 f3 f4 down f3"}});
    EXPECT_EQ(Ask("CALC:LIM2:DATA?"), "1.250000000e+09,-4.500000000e+01,1.310000000e+09,-4.500000000e+01,"
                                      "1.540000000e+09,-5.000000000e+00,1.600000000e+09,-5.000000000e+00");
    Set_Span(2, 0);
    EXPECT_TRUE(Greyed_Out(LimitlineLink[2], 1) && Greyed_Out(LimitlineLink[2], 3));
    EXPECT_EQ(Errors("CALC:LIM2:MARK 3"), (std::vector{-221}));
    EXPECT_EQ(Errors("CALC:LIM2:TRAC 1,3"), (std::vector{-221}));
}

TEST_F(Limit_Menu, NamesAreTypedForEachLine) {
    Ask("CALC:LIM1:DATA 200 MHZ,-10");
    Walk({{"f6 f3", [&] { return Name_Typed(); }, "LIMIT1"}, {"7 f3"}});
    EXPECT_TRUE(root.Read("/mnt/nand/LIMIT17.lim").starts_with("kva720\r\n1,200000000,-10,"));
    Ask("CALC:LIM1:DATA 300 MHZ,-10");
    Press({soft(3)});
    EXPECT_NE(root.Read("/mnt/nand/LIMIT17.lim").find("200000000"), std::string::npos) << "asks before it replaces";
    Press({soft(3)});
    EXPECT_NE(root.Read("/mnt/nand/LIMIT17.lim").find("300000000"), std::string::npos);
    Walk({{"f0", [&] { return Name_Typed(); }, "LIMIT2"},
          {"f2 f2 f2 f2 f2 f2 f1 > f4", [&] { return Name_Typed(); }, "a"},
          {"", [&] { return Edited_Points(); }, 0u, "there is no such file"},
          {"FREQ", Name_Entry_Open, Name_Entry::none},
          {"LIMIT f6 f3", [&] { return Name_Typed(); }, "a", "the line keeps its name"}});
    Ask("MMEM:STOR:LIM 1,'a'");
    Press({soft(4)});
    EXPECT_EQ(Ask("CALC:LIM2:DATA?"), "3.000000000e+08,-1.000000000e+01");
}

TEST_F(Limit_Menu, BadInputIsAnsweredAndLeavesTheLine) {
    Ask("CALC:LIM2:DATA 200 MHZ,-10,300 MHZ,-20;:CALC:LIM:HIGH 2");
    const std::string points = Ask("CALC:LIM2:DATA?");
    for (const auto& [message, code] : {std::pair{"CALC:LIM2:DATA 1,2,3", -109}, {"CALC:LIM2:DATA", -109},
                                        {"CALC:LIM2:DATA 1,2,,4", -101}, {"CALC:LIM2:DATA 1 DBM,2", -130},
                                        {"CALC:LIM2:DATA 1,2 HZ", -130}, {"CALC:LIM2:DATA 1,1e999", -222},
                                        {"CALC:LIM2:DATA 1,1,2,2,3,3,4,4,5,5,6,6,7,7,8,8,9,9,10,10,11,11", -108},
                                        {"CALC:LIM9:DATA 1,2", -114}, {"CALC:LIM0:CLE", -114}, {"LIM9:DEL", -114},
                                        {"CALC:LIM2:MARK 1", -221}, {"CALC:LIM2:TRAC 5,1", -222},
                                        {"CALC:LIM2:TRAC 2,1", -221}, {"CALC:LIM:HIGH 9", -222},
                                        {"CALC:LIM:LOW -1", -222},
                                        {"CALC:LIM:TYPE BOTH", -224}, {"CALC:LIM2:CLE 1", -108},
                                        {"MMEM:STOR:LIM 2,'../state'", -257}, {"MMEM:STOR:LIM 2,'/etc/x'", -257},
                                        {"MMEM:STOR:LIM 2,'CARD:x'", -257}, {"MMEM:STOR:LIM 2,''", -257},
                                        {"MMEM:STOR:LIM 2,'USB:x'", -252}, {"MMEM:STOR:LIM 2,'none/x'", 300},
                                        {"MMEM:STOR:LIM 3,'x'", -221}, {"MMEM:STOR:LIM 9,'x'", -222},
                                        {"MMEM:LOAD:LIM 2,'none'", -256}, {"MMEM:LOAD:LIM 2", -109}}) {
        const auto errors = Errors(message);
        ASSERT_FALSE(errors.empty()) << message;
        EXPECT_EQ(errors.front(), code) << message;
        EXPECT_EQ(Ask("CALC:LIM2:DATA?"), points) << message;
    }
    root.Write("/mnt/nand/cut.lim", "kva720\r\n2,1,1,2");
    EXPECT_EQ(Errors("MMEM:LOAD:LIM 2,'cut'"), (std::vector{-230}));
    std::filesystem::create_directories(platform::Rooted("/mnt/usb/STICK/masks"));
    EXPECT_EQ(Errors("MMEM:STOR:LIM 2,'usb:masks/x.LIM'"), None());
    EXPECT_TRUE(root.Read("/mnt/usb/STICK/masks/x.LIM").starts_with("kva720\r\n2,200000000,"));
    EXPECT_EQ(Errors("CALC:LIM:FAIL?"), (std::vector{-221})) << "the test is off";
    EXPECT_EQ(Errors("CALC:LIM:STAT ON;FAIL?"), (std::vector{-230})) << "nothing was swept";
    EXPECT_EQ(Ask("CALC:LIM2:DATA?"), points);
    Talk({{"CALC:LIM2:CLE"}, {"CALC:LIM2:DATA?", "9.910000000e+37"}, {"", Limit_Test.high, 1}});
}

TEST_F(Limit_Menu, AStateKeepsLinesAndTest) {
    Ask("CALC:LIM3:DATA 200 MHZ,-10,300 MHZ,-20;:CALC:LIM:LOW 3;TYPE PEAK;MODE INT;STAT ON");
    Change_Limit_Point(2, 0, {200e6, -10, false});
    Set_Limit_Shown(2, false);
    ASSERT_TRUE(Save_LocalState_SpecAndSem("/mnt/nand/a.sta"));
    Preset_Instrument();
    EXPECT_EQ(Ask("CALC:LIM3:DATA?;:CALC:LIM:STAT?;TYPE?"), "9.910000000e+37;0;TRACe");
    ASSERT_TRUE(Recall_Lostate_ForLocal("/mnt/nand/a.sta", 0));
    Talk({{"CALC:LIM:STAT?;TYPE?;MODE?", "1;PEAK;INTersect"}, {"", Limit_Test.low, 2}, {"", Limit_Lines[2].shown, 0}});
    ASSERT_EQ(Points_Of(Limit_Lines[2]), 2u);
    EXPECT_FALSE(Point(2, 0)->on & 1);
    EXPECT_EQ(Point(2, 1)->amplitude, -20);
    EXPECT_EQ(PassFailTestRange, (std::array<std::int32_t, 2>{210, 210})) << "of the point that is used";
}

}  // namespace
