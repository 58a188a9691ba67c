#include "commands_rig.h"

namespace {

class Frequency_Commands : public Factory_Commands {};

TEST_F(Frequency_Commands, EverySettingIsReadInHertzAndAnsweredWithTenDigits) {
    Talk({{"FREQ:CENT 1.5 GHz;CENT?", "1.500000000e+09"},
          {":SENSe:FREQuency:CENTer 1e9;:SENS:FREQ:CENT?", "1.000000000e+09"},
          {"FREQ:CENT 433920khz;CENT?", "4.339200000e+08"}, {"FREQ:SPAN 2 MHZ;SPAN?", "2.000000000e+06"},
          {"FREQ:SPAN 30;SPAN?", "1.000000000e+02"}, {"FREQ:SPAN 0;SPAN?", "0.000000000e+00"},
          {"FREQ:STAR 100MHZ;STAR?", "1.000000000e+08"}, {"FREQ:STOP 200e6;STOP?", "2.000000000e+08"},
          {"FREQ:STAR 1GHZ;STOP?", "1.000000100e+09"}, {"FREQ:STOP 9GHZ;STOP?", "3.250050000e+09"},
          {"FREQ:CENT:STEP 25 KHZ;STEP?", "2.500000000e+04"}, {"FREQ:CENT:STEP 1e30;STEP?", "3.250050000e+09"},
          {"FREQ:OFFS -10GHZ;OFFS?", "-1.000000000e+10"}, {"FREQ:OFFS -1e30;OFFS?", "-1.000000000e+11"}});
}

TEST_F(Frequency_Commands, TheOffsetIsTypedAndAnsweredWithEachPlaceOfTheAxis) {
    Talk({{"FREQ:SPAN 2MHZ;OFFS 10MHZ;CENT 110MHZ", Freqs.center[0], 100e6},
          {"FREQ:CENT?;STAR?;STOP?;SPAN?", "1.100000000e+08;1.090000000e+08;1.110000000e+08;2.000000000e+06"},
          {"FREQ:STAR 110MHZ;STOP 112MHZ", Freqs.start[0], 100e6}, {"", Freqs.stop[0], 102e6}});
}

TEST_F(Frequency_Commands, SpanEventsAndTheCoupledStep) {
    Talk({{"FREQ:SPAN 5MHZ;:FREQ:SPAN 1MHZ;:FREQ:SPAN:PREV", Freqs.span[0], 5e6}, {"", Freqs.last_span[0], 1e6},
          {"FREQ:CENT:STEP:AUTO?", "1"}, {"FREQ:CENT:STEP 7KHZ"},
          {"FREQ:CENT:STEP:AUTO?", "1", "a step given is no manual step"}, {"FREQ:CENT:STEP:AUTO OFF;:FREQ:SPAN 1MHZ"},
          {"FREQ:CENT:STEP:AUTO?;:FREQ:CENT:STEP?", "0;7.000000000e+03"},
          {"FREQ:CENT:STEP:AUTO 1", Freqs.step[0], 100e3}, {"FREQ:SPAN:FULL", Freqs.span[0], MAXSPAN},
          {"", Freqs.step[0], MAXSPAN / 10}});
}

TEST_F(Frequency_Commands, WhatIsNoFrequencyIsRefusedAndChangesNothing) {
    Set_Span(2, 1e6);
    const Freqs_Record before = Freqs;
    Expect_Errors({"FREQ:CENT", "FREQ:SPAN", "FREQ:STAR", "FREQ:STOP", "FREQ:CENT:STEP", "FREQ:OFFS"},
                  {{" 1 V", -130}, {" MAX", -224}, {" NAN", -224}, {" 1 FURLONG", -131}, {" \"1\"", -104}, {"", -109},
                   {" 1MHZ,2MHZ", -108}, {"? 1", -108}});
    Talk({{"FREQ:SPAN:FULL 1", -108}, {"FREQ:CENT:STEP:AUTO 2", -120}, {"", Freqs.center, before.center},
          {"", Freqs.span, before.span}, {"", Freqs.step, before.step}, {"", Freqs.offset, before.offset}});
    Expect_Errors({"FREQ:CENT", "FREQ:SPAN", "FREQ:STAR", "FREQ:STOP", "FREQ:CENT:STEP", "FREQ:OFFS"},
                  {{" 1e999", -222}, {" -1e999", -222}, {" 1e308 GHZ", -222}});
}

TEST_F(Frequency_Commands, TheBusyInstrumentRefusesSettingsOnly) {
    Run_AuotSet_flag = 1;
    const Freqs_Record before = Freqs;
    Expect_Error(-221, {"FREQ:CENT 1", "FREQ:SPAN 1", "FREQ:STAR 1", "FREQ:STOP 1", "FREQ:CENT:STEP 1", "FREQ:OFFS 1",
        "FREQ:SPAN:FULL", "FREQ:SPAN:PREV", "FREQ:CENT:STEP:AUTO 0"});
    Walk({{"", Freqs.center, before.center}, {"", stepautoman[0], 0}});
    EXPECT_EQ(Ask("FREQ:CENT?"), "1.625000000e+09");
    Run_AuotSet_flag = 0;
    Global_Table = 0x80000;
    Talk({{"FREQ:CENT 1", -221}, {"FREQ:SPAN 1MHZ"}});
}

TEST_F(Frequency_Commands, AModeRefusesWhatIsItsOwn) {
    constexpr const char* edges[] = {"FREQ:STAR 1MHZ", "FREQ:STOP 1GHZ"};
    constexpr const char* spans[] = {"FREQ:SPAN 1MHZ", "FREQ:SPAN:FULL", "FREQ:SPAN:PREV"};
    for (const int mode : {mode_am_fm, mode_fsk, mode_iq, mode_emission_mask}) {
        FunctionMode_Flag = mode;
        for (const char* setting : edges) EXPECT_EQ(Errors(setting), Codes{-221}) << setting << mode;
        const Codes expected = mode == mode_emission_mask ? Codes{} : Codes{-221};
        for (const char* setting : spans) EXPECT_EQ(Errors(setting), expected) << setting << mode;
        EXPECT_EQ(Errors("FREQ:CENT 1GHZ"), Codes{});
    }
}

TEST_F(Frequency_Commands, ANewCentreStartsHoldTracesAgain) {
    Trace_Record& record = Trace_Data[0];
    for (const auto& [mode, level] : {std::pair{trace_max_hold, -200.0f}, {trace_min_hold, 40.0f}}) {
        record.mode[0] = mode;
        record.value[0].fill(-50);
        record.rows[0].fill(283);
        Talk({{"FREQ:CENT 1GHZ", record.value[0][300], level},
              {"", record.rows[0][300], mode == trace_max_hold ? 508 : 58}});
    }
}

}  // namespace
