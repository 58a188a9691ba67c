#include "sweep_rig.h"

namespace {

class Sweep_Commands : public Sweep_Rig {
protected:
    void SetUp() override {
        Sweep_Rig::SetUp();
        waited = 0;
        scpi_context.host = &host;
        Ask("FREQ:CENT 500MHZ;SPAN 10MHZ");
    }
    static std::uint32_t Events() { return SCPI_RegGet(scpi_context, reg_esr); }

    static inline int waited = 0;  ///< tenths of a sweep that commands waited
    static constexpr Scpi_Host host{.keep_waiting = [] {
        if (!Sweep_Can_Come() || ++waited > 100) return false;
        Run(0.1);
        return true;
    }};
};

TEST_F(Sweep_Commands, InitiateSweepsOnceAndThenHolds) {
    EXPECT_EQ(Ask("INIT:CONT?"), "1");
    Run(0.5);
    Talk({{"INIT"}, {"INIT:CONT?", "0"}});
    EXPECT_EQ(Record().processed, 0) << "the sweep starts anew";
    Run(0.5);
    const int half = Record().processed;
    EXPECT_NEAR(half, 300, 2);
    Ask("INIT");
    EXPECT_EQ(Record().processed, half) << "one that is under way goes on";
    Run(0.6);
    EXPECT_EQ(SweepSingle_Data, 1);
    EXPECT_NEAR(static_cast<double>(Highest()), 300, 1);
    Record().value[0].fill(-77);
    for (int i = 0; i < 3; ++i) Run(1);
    EXPECT_EQ(Record().value[0][300], -77) << "the trace is held";
    Ask("FREQ:CENT 501MHZ");
    Record().value[0].fill(-77);
    Run(1.1);
    EXPECT_EQ(Record().value[0][300], -77) << "also under new settings";
    Ask("INIT:IMM");
    Run(1.1);
    EXPECT_NEAR(static_cast<double>(Highest()), 240, 1);
    EXPECT_EQ(SweepSingle_Data, 1);
}

TEST_F(Sweep_Commands, ContinuousSweepsEndAndComeBack) {
    Run(0.5);
    Ask("INIT:CONT OFF");
    EXPECT_NEAR(Record().processed, 300, 2) << "the sweep under way goes on";
    Run(0.6);
    EXPECT_EQ(SweepSingle_Data, 1);
    Ask("INIT:CONT OFF");
    Record().value[0].fill(-77);
    Run(2);
    EXPECT_EQ(Record().value[0][300], -77);
    Ask("INIT:CONT ON");
    for (int i = 0; i < 3; ++i) Run(1.05);
    EXPECT_GE(Record().sweeps, 3);
    Talk({{"INIT:CONT?", "1"}, {"INIT;:INIT:CONT ON;:INIT:CONT OFF;:INIT"}});
    EXPECT_EQ(Record().processed, 0) << "what INIT started is not the sweep that was under way";
}

TEST_F(Sweep_Commands, ResetBringsContinuousSweepsBack) {
    scpi_interface.reset = [](ScpiContext&) { Reset_Instrument(); };
    Ask("INIT");
    Run(1.1);
    Ask("*RST");
    for (int i = 0; i < 3; ++i) Run(1.05);
    EXPECT_GE(Record().sweeps, 3);
    EXPECT_EQ(Ask("INIT:CONT?"), "1");
}

TEST_F(Sweep_Commands, AViewedTraceIsWrittenAgainAndABusyInstrumentIsLeftAlone) {
    Record().mode = {trace_view, trace_view, trace_blank, trace_blank};
    Run_AuotSet_flag = 1;
    Talk({{"INIT"}, {"INIT:CONT OFF", -221}, {"", Sweep_Data.single, 0}});
    Walk({{"", [&] { return Record().mode[0]; }, trace_view}, {[] { Run_AuotSet_flag = 0; }}});
    Record().average_counter[0] = 7;
    Talk({{"INIT 1", -108}, {"INIT"}});
    EXPECT_EQ(Record().mode[0], trace_clear_write);
    EXPECT_EQ(Record().mode[1], trace_view) << "only the active one";
    EXPECT_EQ(Record().average_counter[0], 1);
}

TEST_F(Sweep_Commands, OperationCompleteComesWithTheEndOfTheSweep) {
    Ask("*OPC");
    EXPECT_EQ(Events(), 1u) << "nothing is pending";
    Ask("*CLS;:INIT;*OPC");
    for (int i = 0; i < 9; ++i) {
        Run(0.1);
        EXPECT_EQ(Events(), 0u);
    }
    Run(0.2);
    Walk({{"", SweepSingle_Data, 1}, {"", [&] { return Events(); }, 1u}});
    Ask("*CLS;*OPC");
    EXPECT_EQ(Events(), 1u) << "the single sweep has ended";
    Ask("*CLS;:INIT");
    Run(0.5);
    Ask("*OPC;:FREQ:CENT 400MHZ");
    Run(0.9);
    EXPECT_EQ(Events(), 0u) << "new settings start the sweep again";
    Run(0.2);
    EXPECT_EQ(Events(), 1u);
    Ask("*CLS;:INIT;*OPC;*CLS");
    Run(1.1);
    EXPECT_EQ(Events(), 0u) << "forgotten with the status";
}

TEST_F(Sweep_Commands, TheCompleteQueryEndsWithASweepOfTheNewSettings) {
    Run(0.9);
    EXPECT_EQ(Ask("FREQ:CENT 501MHZ;*OPC?"), "1");
    EXPECT_GE(waited, 9);
    EXPECT_NEAR(static_cast<double>(Highest()), 240, 1) << "the whole trace is of the new centre";
    waited = 0;
    EXPECT_EQ(Ask("INIT;*OPC?;:TRAC? TRACE1").substr(0, 2), "1;");
    EXPECT_GE(waited, 9);
    EXPECT_EQ(SweepSingle_Data, 1);
    waited = 0;
    Talk({{"*OPC?", "1"}, {"", waited, 0, "no sweep can come"}});
    EXPECT_TRUE(Ask("*WAI").empty());
    Talk({{"*ESE?", "0"}, {"", waited, 0}, {"INIT;*WAI", waited, 0}, {"*ESE?", "0"}});
    EXPECT_GE(waited, 9) << "the next message waited for the sweep";
}

TEST_F(Sweep_Commands, NoSweepComesWithoutLinkOrInAModeWithoutSweeps) {
    EXPECT_TRUE(Sweep_Can_Come());
    double* const link = std::exchange(LOOP_Buffers, nullptr);
    EXPECT_FALSE(Sweep_Can_Come());
    EXPECT_EQ(Ask("INIT;*OPC;*ESR?;*OPC?"), "1;1") << "complete at once";
    LOOP_Buffers = link;
    Ask("INIT:CONT ON");
    FunctionMode_Flag = mode_file_view;
    EXPECT_FALSE(Sweep_Can_Come());
}

TEST_F(Sweep_Commands, TraceDataIsSixHundredAndOneLevels) {
    auto& values = Record().value;
    values[1].fill(-45.67f);
    values[1][0] = 5.5f;
    values[1][1] = -9.994f;
    values[1][2] = -180;
    values[1][600] = 10;
    const std::string text = Ask(":TRACe:DATA? TRACe2");
    EXPECT_EQ(std::ranges::count(text, ','), 600);
    EXPECT_EQ(text.substr(0, 42), "5.50e+00,-9.99e+00,-1.800e+02,-4.567e+01,-");
    EXPECT_TRUE(text.ends_with(",-4.567e+01,1.000e+01"));
    values[0].fill(-12);
    EXPECT_EQ(Ask("TRAC? trac").substr(0, 10), "-1.200e+01") << "without a number the first";
    Set_ReflevelOffset(2, 10);
    EXPECT_EQ(Ask("TRAC? TRACE1").substr(0, 9), "-2.00e+00") << "as shown, with the offset";
    Expect_Error(-230, {"TRAC? TRACE5", "TRAC? BAND1", "TRAC? LEV5"});
    Expect_Error(-222, {"TRAC? TRACE6", "TRAC? TRACE0", "TRAC? BAND9"});
    Talk({{"TRAC? MARKER1", -224}, {"TRAC? 1", -104}, {"TRAC?", -109}, {"TRAC? TRACE1,1", -108}});
}

}  // namespace
