#include "commands_rig.h"
#include "keys/soft_keys.h"
#include "trace/scale.h"

namespace {

/// The trace pages through the dispatch of keys, and the trace commands.
class Trace_Menu : public Factory_Commands {
protected:
    void SetUp() override {
        Factory_Commands::SetUp();
        Keypad_Exe(key_trace);
    }
    Trace_Record& record = Trace_Data[0];
};
constexpr std::array<std::uint8_t, 4> After_Modes() {
    return {trace_max_hold, trace_min_hold, trace_view, trace_blank};
}

TEST_F(Trace_Menu, ModesOfTheTraceThatIsChosen) {
    for (int trace = 0; trace < traces; ++trace) {
        EXPECT_EQ(Face(0).chosen, trace);
        Press({soft(2 + trace)});
        EXPECT_TRUE(Face(2 + trace).in_force);
        EXPECT_FALSE(Face(1).in_force);
        Press({soft(0)});
    }
    Walk({{"", record.mode, After_Modes()}, {"", record.value[0][7], -200}, {"", record.value[1][7], 40},
          {"", record.active, 0, "round"}, {"down", record.active, 3, "arrows step it"}});
    Press({key_knob_right_first + 1, soft(1)});
    EXPECT_EQ(record.mode[1], trace_clear_write);
}

TEST_F(Trace_Menu, DetectorPages) {
    Press({soft(6), soft(0)});
    ASSERT_EQ(keylink.load(), &TraLink[2]);
    EXPECT_EQ(TraLink[2].highlight, 0);
    for (const auto& [key, detector] : {std::pair{1, detector_normal},
                                        {2, detector_positive},
                                        {3, detector_negative},
                                        {4, detector_sample},
                                        {0, detector_normal}}) {
        Press({soft(key)});
        Walk({{"", TraLink[2].highlight, key}, {"", [&] { return record.detector[0]; }, detector}});
    }
    Walk({{"", record.detector_choice[0], detector_auto}, {"f5 f1", record.detector[0], detector_average},
          {"f2 f3", record.detector[0], detector_average, "greyed without EMI filters"}, {[] { BW_Data.emi = 1; }},
          {"f3", record.detector[0], detector_quasi_peak}, {"", TraLink[5].highlight, 3},
          {[] { KVA720_ATTR_INST_MODEL = 2; }}, {"TRACE"}});
    EXPECT_FALSE(TraLink[5].label[2] || TraLink[5].label[3]) << "a model without them";
}

TEST_F(Trace_Menu, AveragesTypedSteppedAndSwitched) {
    Walk({{"f6 f1 f0", record.average_on[0], 0, "the first press selects"}, {"50", NumLink[8]},
          {"f0", record.average_number[0], 50}, {"", record.average_on[0], 1}, {"", Says(0), "50"},
          {"up <<", record.average_number[0], 57}, {"5000 f0", record.average_number[0], 999},
          {"f0", record.average_on[0], 0, "pressed again"}, {"f1 up", AvgType, average_power},
          {"", [&] { return Face(1).chosen; }, 2}});
    record.average_counter[0] = 7;
    Walk({{"f2", record.average_counter[0], 1},
          {"BW f3 f3 f4", record.average_on[0], 1, "the same keys on the page of bandwidths"}, {"", Says(3), "999"},
          {"", AvgType, average_log}});
}

TEST_F(Trace_Menu, MathWithItsValues) {
    Walk({{"f6 f2 f0 f1 up f3", TraceMath.source_1, 1}, {"", TraceMath.source_2, 3},
          {"", MATHFLAG, math_log_difference}, {"", Says(3), "-50 dB"}, {"-12.5 f0", Log_Ref, -12.5f},
          {"f4", MATHFLAG, math_log_offset}});
    EXPECT_FALSE(Face(3).in_force);
    EXPECT_TRUE(Face(4).in_force);
    Walk({{"500 f0 down", TraceMath.offset, 199}, {"f2", MATHFLAG, math_power_difference}, {"f5", MATHFLAG, math_off},
          {"", TraceMath.offset, 199, "kept"}, {"f6", TraLink[1]}});
}

TEST_F(Trace_Menu, HoldLevelInTheUnitAndAtTheInput) {
    Walk({{"f6 f3", TraLink[1].highlight, no_highlight, "greyed unless the trace holds its maximum"},
          {"f6 f2 f6 f3 -40", NumLink[2]}, {"f0", record.max_hold_level[0], -40}, {"", Says(3), "-40.00 dBm"},
          {"up >", record.max_hold_level[0], -29}, {{Set_ReflevelOffset, 10}, Says(3), "-19.00 dBm", "as displayed"},
          {"200 f0", record.max_hold_level[0], 30}, {"f4", Max_Hold_Restart, 0}});
}

TEST_F(Trace_Menu, SplitKeys) {
    Press({key_display, soft(1)});
    ASSERT_EQ(keylink.load(), &DisplayLink[2]);
    Walk({{"", DisplayLink[2].highlight, 4}, {"f5", ScreenActive, 0, "greyed without a split"},
          {"f0", Display_Data.split, split_alternate}, {"", DisplayLink[2].highlight, 0}, {"f5", ScreenActive, 1},
          {"", [&] { return Face(5).chosen; }, 1}, {[] { Freqs.center[0] = 7e8; }},
          {{Set_Cent, 5e8}, Freqs.center[1], 5e8}, {"", Freqs.center[0], 7e8, "the other half stays"},
          {"f1", Display_Data.split, split_active}, {"", [&] { return Global_Table & table_split; }, 0},
          {"f4", Display_Data.split, split_none}, {"", ScreenActive, 1, "the active half has become the only one"},
          {"PRESET", ScreenActive, 0}});
}

TEST_F(Trace_Menu, DetectorAndAverageCommands) {
    Talk({{":DET?", "NORMal"}, {":SENS:DET:FUNC RAV;FUNC?;:DET:AUTO?", "AVERage;0"}, {":DET:AUTO ON;:DET?", "NORMal"},
          {":DET NEG;:DET:AUTO ON;AUTO OFF;AUTO?;:DET?", "0;NORMal", "off keeps the one in force"}, {":DET QPE", -221},
          {":DET EAV", -221}, {":DET PEAK", -224}, {":DET:AUTO ON;:AVER:TYPE VID;TYPE?;TYPE VOLT;TYPE?", "LOG;VOLTage"},
          {":AVER:STAT ON;STAT?;:DET?", "1;SAMPle"}, {":AVER:TYPE POW;:DET?", "AVERage"},
          {":AVER:COUN 0;COUN?;COUN 1000;COUN?", "1;999"}, {":DISP:TRAC1:MODE VIEW;:AVER:STAT OFF", -221},
          {"", record.average_on[0], 1}});
}

TEST_F(Trace_Menu, TraceCommands) {
    Talk({{":DISP:WIND:TRAC3:MODE MINH", record.mode[2], trace_min_hold}, {"", record.active, 2},
          {":DISP:TRAC5:MODE VIEW", -114}, {":DISP:TRAC0:MODE:MAXH 3", -114}, {":DISP:TRAC1:MODE OFF", -224},
          {"", record.active, 2},
          {":DISP:TRAC4:MODE:MAXH -33.5 DBM;MAXH?;:DISP:TRAC1:MODE:MAXH?", "-3.350000000e+01;-1.300000000e+02"},
          {":DISP:TRAC4:MODE:MAXH 77;MAXH?", "3.000000000e+01"}, {":DISP:TRAC:MAXH:ENH:STAT?;STAT 0;STAT?", "1;0"},
          {"", record.mode[3], trace_blank, "a level changes no mode"}, {":CALC:MATH:PDIF TRACE2,TRACE9", -222},
          {":CALC:MATH:PDIF TRACE2", -109}, {":CALC:MATH:LDIF TRACE2,TRACE3,1 V", -130},
          {":CALC:MATH:LOFF TRACE2,1,2", -108}, {"", MATHFLAG, math_off}, {"", TraceMath.source_1, 0},
          {":CALC:MATH:LDIF TRAC4,TRAC3,-7DB", MATHFLAG, math_log_difference}, {"", TraceMath.source_1, 3},
          {"", TraceMath.source_2, 2}, {"", Log_Ref, -7}, {":CALC:MATH:LOFF TRACE1,-900", TraceMath.offset, -200},
          {":CALC:MATH:PDIF TRACE1,TRACE1;:CALC:MATH:OFF", MATHFLAG, math_off}});
}

TEST_F(Trace_Menu, ViewsAndWhatTheyRefuse) {
    Talk({{":DISP:SPL:NORM:ACT", Display_Data.split, split_active},
          {":DISP:SPL:NORM:ACT;:AVER:COUN 5", ScreenActive, 1, "sent again: the other half"}, {":DISP:SPL:NORM:ALT"},
          {":AVER:COUN 5", -221}, {":DISP:TRAC1:MODE VIEW", -221}, {":DISP:SPL:NORM:ACT", ScreenActive, 1},
          {":DISP:SPL:NORM:ALT;:DISP:NORM", Display_Data.split, split_none}});
    Sweep_Data.busy = 1;
    EXPECT_EQ(Errors(":DISP:SPL:NORM:ACT"), std::vector{-221});
}

TEST_F(Trace_Menu, PixelsOfTheActiveTrace) {
    record.active = 1;
    const std::string blank = Ask(":PIX?");
    ASSERT_EQ(blank.size(), 6u + 1202);
    EXPECT_EQ(blank.substr(0, 10), std::string("#41202\xfc\x01\xfc\x01"));
    record.mode[1] = trace_view;
    for (std::size_t i = 0; i < trace_points; ++i)
        record.value[1][i] = static_cast<float>(10 - 0.2 * static_cast<double>(i));
    for (const int split : {split_none, split_alternate}) {
        Display_Data.split = split;
        const std::string all = Ask(":PIX?").substr(6), bytes = Ask(":PIX:RED?").substr(5),
                          half = Ask(":PIX:RED:HALF?").substr(5);
        ASSERT_EQ(bytes.size(), 601u);
        ASSERT_EQ(half.size(), 301u);
        const Row_Scale whole;
        for (std::size_t i = 0; i < trace_points; ++i) {
            const int row = dBmTOpixel(static_cast<double>(record.value[1][i]), whole, true);
            ASSERT_EQ(static_cast<std::uint8_t>(all[2 * i]) + 256 * static_cast<std::uint8_t>(all[2 * i + 1]), row);
            ASSERT_EQ(static_cast<std::uint8_t>(bytes[i]), (row - 58) / 2);
            if (i % 2 == 0) {
                ASSERT_EQ(half[i / 2], bytes[i]);
            }
        }
    }
    EXPECT_EQ(Errors(":PIX? 1"), std::vector{-108});
}

}  // namespace
