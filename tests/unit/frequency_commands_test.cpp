#include "commands_rig.h"

namespace {

class Frequency_Commands : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        Factory_Settings();
    }
};

TEST_F(Frequency_Commands, EverySettingIsReadInHertzAndAnsweredWithTenDigits) {
    constexpr struct {
        const char *setting, *query, *answer;
    } cases[] = {
        {"FREQ:CENT 1.5 GHz", "FREQ:CENT?", "1.500000000e+09"},
        {":SENSe:FREQuency:CENTer 1e9", "SENS:FREQ:CENT?", "1.000000000e+09"},
        {"FREQ:CENT 433920khz", "FREQ:CENT?", "4.339200000e+08"},
        {"FREQ:SPAN 2 MHZ", "FREQ:SPAN?", "2.000000000e+06"},
        {"FREQ:SPAN 30", "FREQ:SPAN?", "1.000000000e+02"},
        {"FREQ:SPAN 0", "FREQ:SPAN?", "0.000000000e+00"},
        {"FREQ:STAR 100MHZ", "FREQ:STAR?", "1.000000000e+08"},
        {"FREQ:STOP 200e6", "FREQ:STOP?", "2.000000000e+08"},
        {"FREQ:STAR 1GHZ", "FREQ:STOP?", "1.000000100e+09"},
        {"FREQ:STOP 9GHZ", "FREQ:STOP?", "3.250050000e+09"},
        {"FREQ:CENT:STEP 25 KHZ", "FREQ:CENT:STEP?", "2.500000000e+04"},
        {"FREQ:CENT:STEP 1e30", "FREQ:CENT:STEP?", "3.250050000e+09"},
        {"FREQ:OFFS -10GHZ", "FREQ:OFFS?", "-1.000000000e+10"},
        {"FREQ:OFFS -1e30", "FREQ:OFFS?", "-1.000000000e+11"},
    };
    for (const auto& [setting, query, text] : cases) {
        EXPECT_EQ(Errors(setting), Codes{}) << setting;
        EXPECT_EQ(Ask(query), text) << setting;
    }
}

TEST_F(Frequency_Commands, NumbersBeyondAllSizeLeaveABandWithinTheLimits) {
    for (const char* node : {"CENT", "SPAN", "STAR", "STOP", "CENT:STEP", "OFFS"}) {
        for (const char* number : {" 1e999", " -1e999", " 1e308 GHZ"}) {
            for (const char* offset : {"0", "1e11"}) {
                Ask(std::string("FREQ:OFFS 0;CENT 1e9;SPAN 1e6;OFFS ") + offset);
                EXPECT_EQ(Errors(std::string("FREQ:") + node + number), Codes{-222});
                const std::string told = std::string(node) + number;
                EXPECT_GE(Freqs.start[0], 0) << told;
                EXPECT_LE(Freqs.stop[0], MAXFREQUENCY) << told;
                EXPECT_LE(Freqs.start[0], Freqs.stop[0]) << told;
                EXPECT_NEAR(Freqs.span[0], Freqs.stop[0] - Freqs.start[0], 1) << told;
                EXPECT_LE(std::abs(Freqs.offset[0]), 1e11) << told;
                EXPECT_TRUE(Freqs.step[0] >= 0 && Freqs.step[0] <= MAXFREQUENCY) << told;
            }
        }
    }
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
    for (const char* header : {"FREQ:CENT", "FREQ:SPAN", "FREQ:STAR", "FREQ:STOP", "FREQ:CENT:STEP", "FREQ:OFFS"}) {
        const std::string root = header;
        EXPECT_EQ(Errors(root + " 1 V"), Codes{-130}) << root;
        EXPECT_EQ(Errors(root + " MAX"), Codes{-224}) << root;
        EXPECT_EQ(Errors(root + " NAN"), Codes{-224}) << root;
        EXPECT_EQ(Errors(root + " 1 FURLONG"), Codes{-131}) << root;
        EXPECT_EQ(Errors(root + " \"1\""), Codes{-104}) << root;
        EXPECT_EQ(Errors(root), Codes{-109}) << root;
        EXPECT_EQ(Errors(root + " 1MHZ,2MHZ"), Codes{-108}) << root;
        EXPECT_EQ(Errors(root + "? 1"), Codes{-108}) << root;
    }
    Talk({{"FREQ:SPAN:FULL 1", -108}, {"FREQ:CENT:STEP:AUTO 2", -120}, {"", Freqs.center, before.center},
          {"", Freqs.span, before.span}, {"", Freqs.step, before.step}, {"", Freqs.offset, before.offset}});
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
