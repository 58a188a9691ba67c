#include <string>

#include "commands_rig.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/keystate.h"
#include "records/sys.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "trace/acquisition.h"

namespace {

using Codes = std::vector<int>;

class Bandwidth_Commands : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        Freqs_ArrayInit();
        Init_Trace_Data();
        BW_Init();
        Sweep_Init();
    }
};

TEST_F(Bandwidth_Commands, SettingsAndTheirAnswers) {
    EXPECT_EQ(Ask("BAND?;:BAND:VID?;:SWE:TIME?;:SWE:MODE?;:EMIF:STAT?"),
              "1.000000000e+06;1.000000000e+06;3.775200000e-01;AUTO;0");
    constexpr struct {
        const char *setting, *query, *answer;
    } cases[] = {
        {"FREQ:SPAN 2 MHZ", "BAND?;:BWID:AUTO?", "1.000000000e+04;1"},
        {"BAND 0.06MHZ", "BWID:RES?;:BAND:AUTO?;:BAND:VID?", "1.000000000e+05;0;1.000000000e+05"},
        {"BWIDTH:RESOLUTION 29000", "SENS:BAND?", "3.000000000e+04"},
        {"BAND:VID 4 KHZ", "BWID:VID?;:BAND:VID:AUTO?", "3.000000000e+03;0"},
        {"BAND:AUTO ON;VID:AUTO ON", "BAND?;:BAND:VID?;:BAND:AUTO?;:BWID:VID:AUTO?",
         "1.000000000e+04;1.000000000e+04;1;1"},
        {"SWE:TIME 1.5", "SWE:TIME?;TIME:AUTO?", "1.500000000e+00;0"},
        {"SWE:TIME 250 MS", "SWE:TIME?", "2.500000000e-01"},
        {"SWE:TIME:AUTO OFF", "SWE:TIME?", "2.500000000e-01"},
        {"SWE:TIME:AUTO 1", "SWE:TIME:AUTO?", "1"},
        {"BAND 1 KHZ", "SWE:MODE?", "AUTO"},
        {"SWE:MODE SWEEP", "SWE:MODE?", "SWEep"},
        {"SWE:MODE FFT", "SWE:MODE?", "FFT"},
        {"BAND 30 KHZ", "SWE:MODE?", "AUTO"},
        {"EMIF:STAT ON", "EMIF:STAT?;:BAND?;:BAND:AUTO?", "1;1.200000000e+05;1"},
        {"EMIF:BWID 10 KHZ", "BAND?;:BAND:AUTO?", "9.000000000e+03;0"},
        {"EMIF:BAND:RES 200", "BAND?;:BAND:VID?", "2.000000000e+02;1.000000000e+02"},
        {"EMIF:STAT 0", "BAND?", "1.000000000e+04"},
    };
    for (const auto& [setting, query, text] : cases) {
        EXPECT_EQ(Errors(setting), Codes{}) << setting;
        EXPECT_EQ(Ask(query), text) << setting;
    }
    const std::string time = Ask("SWE:TIME?");
    EXPECT_EQ(Errors("SWE:TIME " + time), Codes{}) << "what was answered can be set";
}

TEST_F(Bandwidth_Commands, RefusalsAndTheirTexts) {
    Ask("FREQ:SPAN 0");
    EXPECT_EQ(Errors("BAND 3KHZ"), Codes{111});
    EXPECT_EQ(Ask("STAT:QUES:FREQ:COND?;:BAND?"), "32;1.000000000e+06");
    EXPECT_EQ(Errors("BAND 10KHZ"), Codes{});
    EXPECT_EQ(Ask("STAT:QUES:FREQ:COND?"), "0");
    Ask("FREQ:SPAN:FULL;:BAND:AUTO 1");
    EXPECT_EQ(Errors("BAND 1"), Codes{110});
    EXPECT_EQ(Errors("BAND:VID 1"), Codes{110});
    EXPECT_EQ(Errors("SWE:TIME 1US"), Codes{210});
    EXPECT_EQ(Check_warning, covers_time_short);
    EXPECT_EQ(Ask("SWE:TIME?"), "3.775200000e-01");
    EXPECT_EQ(Errors("SWE:TIME 2KS"), Codes{200});
    EXPECT_EQ(Ask("SWE:TIME?"), "1.000000000e+03");
    Ask("BAND 1");
    EXPECT_EQ(Ask("SYST:ERR?"), "110,\"Invalid      Span      or      BW\"");
}

TEST_F(Bandwidth_Commands, WhatDoesNotSuitIsRefusedAndChangesNothing) {
    const BW_Record before = BW_Data;
    for (const std::string setting : {"BAND", "BAND:VID"}) {
        EXPECT_EQ(Errors(setting + " 1 S"), Codes{-130});
        EXPECT_EQ(Errors(setting + " 1e999"), Codes{-222});
        EXPECT_EQ(Errors(setting + " NAN"), Codes{-224});
        EXPECT_EQ(Errors(setting), Codes{-109});
        EXPECT_EQ(Errors(setting + " 1e3,2"), Codes{-108});
        EXPECT_EQ(Errors(setting + ":AUTO 2"), Codes{-120});
        EXPECT_EQ(Errors(setting + "? 1"), Codes{-108});
    }
    EXPECT_EQ(Errors("SWE:TIME 1 HZ"), Codes{-130});
    EXPECT_EQ(Errors("SWE:TIME -1e999"), Codes{-222});
    EXPECT_EQ(Errors("SWE:MODE FAST"), Codes{-224});
    EXPECT_EQ(Errors("SWE:MODE FFT"), Codes{-221}) << "above 3 kHz";
    EXPECT_EQ(Errors("EMIF:BAND 9KHZ"), Codes{-221}) << "without the filters";
    for (const auto mode : {mode_am_fm, mode_ask, mode_fsk}) {
        FunctionMode_Flag = mode;
        EXPECT_EQ(Errors("EMIF:STAT 1"), Codes{-221});
    }
    FunctionMode_Flag = mode_spectrum;
    KVA720_ATTR_INST_MODEL = 0;
    EXPECT_EQ(Errors("EMIF:STAT 1"), Codes{-241});
    KVA720_ATTR_INST_MODEL = 1;
    Run_AuotSet_flag = 1;
    for (const char* setting : {"BAND 1E3", "BAND:AUTO 0", "BAND:VID 1E3", "BAND:VID:AUTO 0", "SWE:TIME 5",
                                "SWE:TIME:AUTO 0", "SWE:MODE AUTO", "EMIF:STAT 1", "EMIF:BAND 9KHZ"}) {
        EXPECT_EQ(Errors(setting), Codes{-221}) << setting;
    }
    EXPECT_EQ(BW_Data.rbw, before.rbw);
    EXPECT_EQ(BW_Data.rbw_mode, before.rbw_mode);
    EXPECT_EQ(BW_Data.vbw_mode, before.vbw_mode);
    EXPECT_EQ(Sweep_Data.time_mode[0], 0);
}

}  // namespace
