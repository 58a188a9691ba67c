#include "commands_rig.h"

namespace {

class Bandwidth_Commands : public Factory_Commands {};

TEST_F(Bandwidth_Commands, SettingsAndTheirAnswers) {
    EXPECT_EQ(Ask("BAND?;:BAND:VID?;:SWE:TIME?;:SWE:MODE?;:EMIF:STAT?"),
              "1.000000000e+06;1.000000000e+06;3.775200000e-01;AUTO;0");
    Talk({{"FREQ:SPAN 2 MHZ;:BAND?;:BWID:AUTO?", "1.000000000e+04;1"},
          {"BAND 0.06MHZ;:BWID:RES?;:BAND:AUTO?;:BAND:VID?", "1.000000000e+05;0;1.000000000e+05"},
          {"BWIDTH:RESOLUTION 29000;:SENS:BAND?", "3.000000000e+04"},
          {"BAND:VID 4 KHZ;:BWID:VID?;:BAND:VID:AUTO?", "3.000000000e+03;0"},
          {"BAND:AUTO ON;VID:AUTO ON;:BAND?;:BAND:VID?;:BAND:AUTO?;:BWID:VID:AUTO?",
           "1.000000000e+04;1.000000000e+04;1;1"},
          {"SWE:TIME 1.5;TIME?;TIME:AUTO?", "1.500000000e+00;0"}, {"SWE:TIME 250 MS;TIME?", "2.500000000e-01"},
          {"SWE:TIME:AUTO OFF;:SWE:TIME?", "2.500000000e-01"}, {"SWE:TIME:AUTO 1;AUTO?", "1"},
          {"BAND 1 KHZ;:SWE:MODE?", "AUTO"}, {"SWE:MODE SWEEP;MODE?", "SWEep"}, {"SWE:MODE FFT;MODE?", "FFT"},
          {"BAND 30 KHZ;:SWE:MODE?", "AUTO"}, {"EMIF:STAT ON;:EMIF:STAT?;:BAND?;:BAND:AUTO?", "1;1.200000000e+05;1"},
          {"EMIF:BWID 10 KHZ;:BAND?;:BAND:AUTO?", "9.000000000e+03;0"},
          {"EMIF:BAND:RES 200;:BAND?;:BAND:VID?", "2.000000000e+02;1.000000000e+02"},
          {"EMIF:STAT 0;:BAND?", "1.000000000e+04"}});
    const std::string time = Ask("SWE:TIME?");
    EXPECT_EQ(Errors("SWE:TIME " + time), Codes{}) << "what was answered can be set";
}

TEST_F(Bandwidth_Commands, RefusalsAndTheirTexts) {
    Talk({{"FREQ:SPAN 0"}, {"BAND 3KHZ", 111}, {"STAT:QUES:FREQ:COND?;:BAND?", "32;1.000000000e+06"}, {"BAND 10KHZ"},
          {"STAT:QUES:FREQ:COND?", "0"}, {"FREQ:SPAN:FULL;:BAND:AUTO 1"}, {"BAND 1", 110}, {"BAND:VID 1", 110},
          {"SWE:TIME 1US", 210}, {"", Check_warning, covers_time_short}, {"SWE:TIME?", "3.775200000e-01"},
          {"SWE:TIME 2KS", 200}, {"SWE:TIME?", "1.000000000e+03"}});
    Ask("BAND 1");
    EXPECT_EQ(Ask("SYST:ERR?"), "110,\"Invalid      Span      or      BW\"");
}

TEST_F(Bandwidth_Commands, WhatDoesNotSuitIsRefusedAndChangesNothing) {
    const BW_Record before = BW_Data;
    Expect_Errors({"BAND", "BAND:VID"}, {{" 1 S", -130}, {" 1e999", -222}, {" NAN", -224}, {"", -109}, {" 1e3,2", -108},
                                         {":AUTO 2", -120}, {"? 1", -108}});
    Talk({{"SWE:TIME 1 HZ", -130}, {"SWE:TIME -1e999", -222}, {"SWE:MODE FAST", -224},
          {"SWE:MODE FFT", -221, "above 3 kHz"}, {"EMIF:BAND 9KHZ", -221, "without the filters"}});
    for (const auto mode : {mode_am_fm, mode_ask, mode_fsk}) {
        FunctionMode_Flag = mode;
        EXPECT_EQ(Errors("EMIF:STAT 1"), Codes{-221});
    }
    FunctionMode_Flag = mode_spectrum;
    KVA720_ATTR_INST_MODEL = 0;
    EXPECT_EQ(Errors("EMIF:STAT 1"), Codes{-241});
    KVA720_ATTR_INST_MODEL = 1;
    Run_AuotSet_flag = 1;
    Expect_Error(-221, {"BAND 1E3", "BAND:AUTO 0", "BAND:VID 1E3", "BAND:VID:AUTO 0", "SWE:TIME 5", "SWE:TIME:AUTO 0",
        "SWE:MODE AUTO", "EMIF:STAT 1", "EMIF:BAND 9KHZ"});
    Walk({{"", BW_Data.rbw, before.rbw}, {"", BW_Data.rbw_mode, before.rbw_mode},
          {"", BW_Data.vbw_mode, before.vbw_mode}, {"", Sweep_Data.time_mode[0], 0}});
}

}  // namespace
