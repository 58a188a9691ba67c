#include <string_view>

#include "commands_rig.h"
#include "keys/dispatch.h"
#include "keys/key_codes.h"
#include "keys/soft_keys.h"
#include "panel.h"
#include "records/amp.h"
#include "records/bw.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/keystate.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "system/preset.h"
#include "trace/acquisition.h"
#include "trace/scale.h"

namespace {

/// The trace pages through the dispatch of keys, and the trace commands.
class Trace_Menu : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        root.Write("/var/log/error.log", "");
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Init_Trace_Data();
        keylink = &FreqLink[0];
        Keypad_Exe(key_trace);
    }
    Trace_Record& record = Trace_Data[0];
};

constexpr std::int32_t soft(int key) { return key_soft_first + key; }
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
    EXPECT_EQ(record.mode, After_Modes());
    EXPECT_EQ(record.value[0][7], -200);
    EXPECT_EQ(record.value[1][7], 40);
    EXPECT_EQ(record.active, 0) << "round";
    Press({key_down});
    EXPECT_EQ(record.active, 3) << "arrows step it";
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
        EXPECT_EQ(TraLink[2].highlight, key);
        EXPECT_EQ(record.detector[0], detector);
    }
    EXPECT_EQ(record.detector_choice[0], detector_auto);
    Press({soft(5), soft(1)});
    EXPECT_EQ(record.detector[0], detector_average);
    Press({soft(2), soft(3)});
    EXPECT_EQ(record.detector[0], detector_average) << "greyed without EMI filters";
    BW_Data.emi = 1;
    Press({soft(3)});
    EXPECT_EQ(record.detector[0], detector_quasi_peak);
    EXPECT_EQ(TraLink[5].highlight, 3);
    KVA720_ATTR_INST_MODEL = 2;
    Press({key_trace});
    EXPECT_FALSE(TraLink[5].label[2] || TraLink[5].label[3]) << "a model without them";
}

TEST_F(Trace_Menu, AveragesTypedSteppedAndSwitched) {
    Press({soft(6), soft(1), soft(0)});
    EXPECT_EQ(record.average_on[0], 0) << "the first press selects";
    Type("50");
    EXPECT_EQ(keylink.load(), &NumLink[8]);
    Press({soft(0)});
    EXPECT_EQ(record.average_number[0], 50);
    EXPECT_EQ(record.average_on[0], 1);
    EXPECT_EQ(Value(0), "50");
    Press({key_up, key_knob_left_last});
    EXPECT_EQ(record.average_number[0], 57);
    Type("5000");
    Press({soft(0)});
    EXPECT_EQ(record.average_number[0], 999);
    Press({soft(0)});
    EXPECT_EQ(record.average_on[0], 0) << "pressed again";
    Press({soft(1), key_up});
    EXPECT_EQ(AvgType, average_power);
    EXPECT_EQ(Face(1).chosen, 2);
    record.average_counter[0] = 7;
    Press({soft(2)});
    EXPECT_EQ(record.average_counter[0], 1);
    Press({key_bw, soft(3), soft(3), soft(4)});
    EXPECT_EQ(record.average_on[0], 1) << "the same keys on the page of bandwidths";
    EXPECT_EQ(Value(3), "999");
    EXPECT_EQ(AvgType, average_log);
}

TEST_F(Trace_Menu, MathWithItsValues) {
    Press({soft(6), soft(2), soft(0), soft(1), key_up, soft(3)});
    EXPECT_EQ(TraceMath.source_1, 1);
    EXPECT_EQ(TraceMath.source_2, 3);
    EXPECT_EQ(MATHFLAG, math_log_difference);
    EXPECT_EQ(Value(3), "-50 dB");
    Type("-12.5");
    Press({soft(0)});
    EXPECT_EQ(Log_Ref, -12.5f);
    Press({soft(4)});
    EXPECT_EQ(MATHFLAG, math_log_offset);
    EXPECT_FALSE(Face(3).in_force);
    EXPECT_TRUE(Face(4).in_force);
    Type("500");
    Press({soft(0), key_down});
    EXPECT_EQ(TraceMath.offset, 199);
    Press({soft(2)});
    EXPECT_EQ(MATHFLAG, math_power_difference);
    Press({soft(5)});
    EXPECT_EQ(MATHFLAG, math_off);
    EXPECT_EQ(TraceMath.offset, 199) << "kept";
    Press({soft(6)});
    EXPECT_EQ(keylink.load(), &TraLink[1]);
}

TEST_F(Trace_Menu, HoldLevelInTheUnitAndAtTheInput) {
    Press({soft(6), soft(3)});
    EXPECT_EQ(TraLink[1].highlight, no_highlight) << "greyed unless the trace holds its maximum";
    Press({soft(6), soft(2), soft(6), soft(3)});
    Type("-40");
    EXPECT_EQ(keylink.load(), &NumLink[2]);
    Press({soft(0)});
    EXPECT_EQ(record.max_hold_level[0], -40);
    EXPECT_EQ(Value(3), "-40.00 dBm");
    Press({key_up, key_knob_right_first});
    EXPECT_EQ(record.max_hold_level[0], -29);
    Set_ReflevelOffset(2, 10);
    EXPECT_EQ(Value(3), "-19.00 dBm") << "as displayed";
    Type("200");
    Press({soft(0)});
    EXPECT_EQ(record.max_hold_level[0], 30);
    Press({soft(4)});
    EXPECT_EQ(Max_Hold_Restart, 0);
}

TEST_F(Trace_Menu, SplitKeys) {
    Press({key_display, soft(1)});
    ASSERT_EQ(keylink.load(), &DisplayLink[2]);
    EXPECT_EQ(DisplayLink[2].highlight, 4);
    Press({soft(5)});
    EXPECT_EQ(ScreenActive, 0) << "greyed without a split";
    Press({soft(0)});
    EXPECT_EQ(Display_Data.split, split_alternate);
    EXPECT_EQ(DisplayLink[2].highlight, 0);
    Press({soft(5)});
    EXPECT_EQ(ScreenActive, 1);
    EXPECT_EQ(Face(5).chosen, 1);
    Freqs.center[0] = 7e8;
    Set_Cent(2, 5e8);
    EXPECT_EQ(Freqs.center[1], 5e8);
    EXPECT_EQ(Freqs.center[0], 7e8) << "the other half stays";
    Press({soft(1)});
    EXPECT_EQ(Display_Data.split, split_active);
    EXPECT_EQ(Global_Table & table_split, 0);
    Press({soft(4)});
    EXPECT_EQ(Display_Data.split, split_none);
    EXPECT_EQ(ScreenActive, 1) << "the active half has become the only one";
    Press({key_preset});
    EXPECT_EQ(ScreenActive, 0);
}

TEST_F(Trace_Menu, PresetPutsItAllBack) {
    EXPECT_EQ(Errors("DISP:TRAC2:MODE MAXH;MODE:MAXH -20;:DET SAMP;:AVER:COUN 7;STAT ON;TYPE POW;"
                     ":CALC:MATH:LOFF TRACE3,4;:DISP:TRAC:MAXH:ENH:STAT OFF;:DISP:SPL:NORM:ALT"),
              None());
    Preset_Instrument();
    const Trace_Record fresh;
    EXPECT_EQ(record.mode, fresh.mode);
    EXPECT_EQ(record.max_hold_level, fresh.max_hold_level);
    EXPECT_EQ(record.detector_choice, fresh.detector_choice);
    EXPECT_EQ(record.average_number, fresh.average_number);
    EXPECT_EQ(record.average_on, fresh.average_on);
    EXPECT_EQ(AvgType + MATHFLAG + TraceMath.source_1 + Display_Data.split + Global_Table, 0);
    EXPECT_EQ(Log_Ref, -50);
    EXPECT_EQ(Max_Hold_Restart, 1);
    EXPECT_EQ(ScreenInf.clamp_bottom, 508);
}

TEST_F(Trace_Menu, DetectorAndAverageCommands) {
    EXPECT_EQ(Ask(":DET?"), "NORMal");
    EXPECT_EQ(Ask(":SENS:DET:FUNC RAV;FUNC?;:DET:AUTO?"), "AVERage;0");
    EXPECT_EQ(Ask(":DET:AUTO ON;:DET?"), "NORMal");
    EXPECT_EQ(Ask(":DET NEG;:DET:AUTO ON;AUTO OFF;AUTO?;:DET?"), "0;NORMal") << "off keeps the one in force";
    EXPECT_EQ(Errors(":DET QPE"), std::vector{-221});
    EXPECT_EQ(Errors(":DET EAV"), std::vector{-221});
    EXPECT_EQ(Errors(":DET PEAK"), std::vector{-224});
    EXPECT_EQ(Ask(":DET:AUTO ON;:AVER:TYPE VID;TYPE?;TYPE VOLT;TYPE?"), "LOG;VOLTage");
    EXPECT_EQ(Ask(":AVER:STAT ON;STAT?;:DET?"), "1;SAMPle");
    EXPECT_EQ(Ask(":AVER:TYPE POW;:DET?"), "AVERage");
    EXPECT_EQ(Ask(":AVER:COUN 0;COUN?;COUN 1000;COUN?"), "1;999");
    EXPECT_EQ(Errors(":DISP:TRAC1:MODE VIEW;:AVER:STAT OFF"), std::vector{-221});
    EXPECT_EQ(record.average_on[0], 1);
}

TEST_F(Trace_Menu, TraceCommands) {
    EXPECT_EQ(Errors(":DISP:WIND:TRAC3:MODE MINH"), None());
    EXPECT_EQ(record.mode[2], trace_min_hold);
    EXPECT_EQ(record.active, 2);
    EXPECT_EQ(Errors(":DISP:TRAC5:MODE VIEW"), std::vector{-114});
    EXPECT_EQ(Errors(":DISP:TRAC0:MODE:MAXH 3"), std::vector{-114});
    EXPECT_EQ(Errors(":DISP:TRAC1:MODE OFF"), std::vector{-224});
    EXPECT_EQ(record.active, 2);
    EXPECT_EQ(Ask(":DISP:TRAC4:MODE:MAXH -33.5 DBM;MAXH?;:DISP:TRAC1:MODE:MAXH?"), "-3.350000000e+01;-1.300000000e+02");
    EXPECT_EQ(Ask(":DISP:TRAC4:MODE:MAXH 77;MAXH?"), "3.000000000e+01");
    EXPECT_EQ(Ask(":DISP:TRAC:MAXH:ENH:STAT?;STAT 0;STAT?"), "1;0");
    EXPECT_EQ(record.mode[3], trace_blank) << "a level changes no mode";
    EXPECT_EQ(Errors(":CALC:MATH:PDIF TRACE2,TRACE9"), std::vector{-222});
    EXPECT_EQ(Errors(":CALC:MATH:PDIF TRACE2"), std::vector{-109});
    EXPECT_EQ(Errors(":CALC:MATH:LDIF TRACE2,TRACE3,1 V"), std::vector{-130});
    EXPECT_EQ(Errors(":CALC:MATH:LOFF TRACE2,1,2"), std::vector{-108});
    EXPECT_EQ(MATHFLAG, math_off);
    EXPECT_EQ(TraceMath.source_1, 0);
    EXPECT_EQ(Errors(":CALC:MATH:LDIF TRAC4,TRAC3,-7DB"), None());
    EXPECT_EQ(MATHFLAG, math_log_difference);
    EXPECT_EQ(TraceMath.source_1, 3);
    EXPECT_EQ(TraceMath.source_2, 2);
    EXPECT_EQ(Log_Ref, -7);
    EXPECT_EQ(Errors(":CALC:MATH:LOFF TRACE1,-900"), None());
    EXPECT_EQ(TraceMath.offset, -200);
    EXPECT_EQ(Errors(":CALC:MATH:PDIF TRACE1,TRACE1;:CALC:MATH:OFF"), None());
    EXPECT_EQ(MATHFLAG, math_off);
}

TEST_F(Trace_Menu, ViewsAndWhatTheyRefuse) {
    EXPECT_EQ(Errors(":DISP:SPL:NORM:ACT"), None());
    EXPECT_EQ(Display_Data.split, split_active);
    EXPECT_EQ(Errors(":DISP:SPL:NORM:ACT;:AVER:COUN 5"), None());
    EXPECT_EQ(ScreenActive, 1) << "sent again: the other half";
    EXPECT_EQ(Errors(":DISP:SPL:NORM:ALT"), None());
    EXPECT_EQ(Errors(":AVER:COUN 5"), std::vector{-221});
    EXPECT_EQ(Errors(":DISP:TRAC1:MODE VIEW"), std::vector{-221});
    EXPECT_EQ(Errors(":DISP:SPL:NORM:ACT"), None());
    EXPECT_EQ(ScreenActive, 1);
    EXPECT_EQ(Errors(":DISP:SPL:NORM:ALT;:DISP:NORM"), None());
    EXPECT_EQ(Display_Data.split, split_none);
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
