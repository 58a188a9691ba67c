#include "sweep_rig.h"
#include "files/state.h"
#include "platform/fpga_int.h"
#include "sweep/trigger.h"
#include "trace/single_sweep.h"
#include "trace/trigger_wait.h"

namespace {

/// Trigger settings by keys and commands.
class Triggers : public Sweep_Rig {
protected:
    void SetUp() override {
        Sweep_Rig::SetUp();
        if (!board) platform::Set_Clock_Mode(platform::Clock_Mode::stepped);
        Trigger_Init();
    }
    std::string Scene() const override { return ""; }
    static double Number(std::string_view query) { return std::stod(Ask(query)); }
};

TEST_F(Triggers, CommandsSetWhatTheyAnswer) {
    Talk({{"TRIG:SOUR?;DEL?;MODE?;EXT:SLOP?;:TRIG:VID:SLOP?;LEV?;FREQ?",
           "IMMediate;0.000000000e+00;NORMal;POSitive;POSitive;-5.000000000e+01;1.625000000e+09"},
          {"SWE:EGAT:STAT?;DEL?;LENG?", "0;0.000000000e+00;1.000000000e-03"},
          {":TRIGger:SEQuence:SOURce EXTernal;DELay 1.5 MS;MODE AUTO;EXT:SLOP NEG;:TRIG:VID:SLOP NEG;LEV -12.5;FREQ 1 GHZ"},
          {"TRIG:SOUR?;DEL?;MODE?;EXT:SLOP?;:TRIG:VID:SLOP?;LEV?;FREQ?",
           "EXTernal;1.500000000e-03;AUTO;NEGative;NEGative;-1.250000000e+01;1.000000000e+09"},
          {"SWE:EGAT:STAT ON;DEL 100 US;LENG 20US"},
          {"SENS:SWE:EGAT:STAT?;DEL?;LENG?", "1;1.000000000e-04;2.000000000e-05"}});
    Expect_Error(-224, {"TRIG:SOUR LINE", "TRIG:MODE SINGLE", "TRIG:VID:SLOP UP"});
    for (const char* bad : {"TRIG:DEL 1HZ", "TRIG:VID:LEV 1S", "TRIG:VID:FREQ 3DBM", "SWE:EGAT:LENG 1 V"}) {
        EXPECT_EQ(Errors(bad), (Codes{-130})) << bad;
    }
    Talk({{"TRIG:DEL", -109}, {"TRIG:SOUR? 1", -108}});
    Sweep_Data.busy = 1;
    Talk({{"TRIG:DEL 1MS", -221}, {"SWE:EGAT:STAT OFF", -221}});
}

TEST_F(Triggers, TimesAreHeldInStepsOfTheTimingClock) {
    for (const auto& [set, held] : std::initializer_list<std::pair<const char*, double>>{
             {"TRIG:DEL 11", 10}, {"TRIG:DEL -1", 0}, {"TRIG:DEL 1e300", 10}, {"TRIG:DEL 59 NS", 40e-9},
             {"TRIG:DEL 61 NS", 80e-9}, {"TRIG:DEL 19 NS", 0}, {"TRIG:DEL 1.00000003", 1.00000004}}) {
        Ask(set);
        EXPECT_NEAR(Number("TRIG:DEL?"), held, 1e-12) << set;
    }
    for (const auto& [set, held] : std::initializer_list<std::pair<const char*, double>>{
             {"SWE:EGAT:LENG 0", 1e-6}, {"SWE:EGAT:LENG 1KS", 10}, {"SWE:EGAT:LENG 1.05US", 1.04e-6}}) {
        Ask(set);
        EXPECT_NEAR(Number("SWE:EGAT:LENG?"), held, 1e-12) << set;
    }
    Ask("SWE:EGAT:DEL 20");
    EXPECT_EQ(Number("SWE:EGAT:DEL?"), 10);
}

TEST_F(Triggers, TheLevelIsAsShownAndInTheUnitInForce) {
    Ask("TRIG:VID:LEV 40");
    EXPECT_EQ(Number("TRIG:VID:LEV?"), 30);
    Ask("TRIG:VID:LEV -200 DBM");
    EXPECT_EQ(Number("TRIG:VID:LEV?"), -130);
    Set_ReflevelOffset(2, 20);
    EXPECT_EQ(Number("TRIG:VID:LEV?"), -110) << "it stays at the input";
    Ask("TRIG:VID:LEV 45");
    EXPECT_EQ(Number("TRIG:VID:LEV?"), 45);
    Walk({{"", Trigger_Data.video_level, 25}, {{Set_ReflevelOffset, 0}}});
    Ask("TRIG:VID:LEV 100 MV");
    EXPECT_NEAR(Number("TRIG:VID:LEV?"), -6.9897, 1e-4);
    Ask("TRIG:VID:LEV 1 UW");
    EXPECT_NEAR(Number("TRIG:VID:LEV?"), -30, 1e-9);
    Amp.unit = unit_dbuv;
    EXPECT_NEAR(Number("TRIG:VID:LEV?"), 76.99, 1e-4);
    Ask("TRIG:VID:LEV 86.99");
    Walk({{"", Trigger_Data.video_level, Near{-20, 1e-4}}, {[] { Amp.unit = unit_volt; }}});
    Ask("TRIG:VID:LEV 0");
    EXPECT_EQ(Trigger_Data.video_level, -130);
}

TEST_F(Triggers, TheFrequencyStaysWithinTheSweep) {
    Ask("FREQ:CENT 1GHZ;SPAN 10MHZ;:TRIG:VID:FREQ 990MHZ");
    EXPECT_EQ(Number("TRIG:VID:FREQ?"), 995e6);
    Ask("TRIG:VID:FREQ 1.003GHZ;:FREQ:SPAN 8MHZ");
    EXPECT_EQ(Number("TRIG:VID:FREQ?"), 1.003e9) << "still inside";
    Ask("FREQ:SPAN 4MHZ");
    EXPECT_EQ(Number("TRIG:VID:FREQ?"), 1e9) << "else the centre";
    Ask("FREQ:OFFS 5MHZ");
    EXPECT_EQ(Number("TRIG:VID:FREQ?"), 1.005e9);
    Talk({{"TRIG:VID:FREQ 1.006GHZ", Trigger_Data.video_frequency[0], 1.001e9},
          {"FREQ:SPAN 0;:TRIG:VID:FREQ 1.0061GHZ", Trigger_Data.video_frequency[0], 1e9,
           "zero span has one frequency"}});
}

TEST_F(Triggers, VideoTriggerAndGateExcludeEachOther) {
    Talk({{"TRIG:SOUR VID"}, {"SWE:EGAT:STAT ON", -221}, {"", Trigger_Data.gate, 0},
          {"SWE:EGAT:STAT OFF", "", "off is always possible"}, {"TRIG:SOUR IMM;:SWE:EGAT:STAT ON"},
          {"TRIG:SOUR VID", -221}, {"TRIG:SOUR EXT", "", "the gate goes with the others"},
          {"SWE:EGAT:STAT OFF;:FREQ:CENT 1GHZ;SPAN 100KHZ"}});
    ASSERT_EQ(JUDGE_FFT_MODE(), 1);
    Talk({{"TRIG:SOUR VID", -221}, {"TRIG:SOUR?", "EXTernal"}, {"SWE:EGAT:STAT ON;:TRIG:SOUR IMM"}});
    EXPECT_FALSE(Trigger_Waits()) << "by FFT the gate does not act";
    Ask("FREQ:SPAN 10MHZ");
    EXPECT_TRUE(Trigger_Waits());
}

TEST_F(Triggers, KeysOfTheTriggerPages) {
    Walk({{"TRIGGER f2", Trigger_Data.source, trigger_by_input}, {"f4", Trigger_Data.input_falling, 1},
          {"f6", Trigger_Data.automatic, 1}, {"f6 up", Trigger_Data.automatic, 1, "arrows step a choice"},
          {"f5 12 f3", Trigger_Data.delay, Near{12e-6, 1e-12}}, {"", TriggerLink[0]},
          {"up up up", Trigger_Data.delay, Near{100e-6, 1e-12}, "20, 50, 100"},
          {"<", Trigger_Data.delay, Near{99e-6, 1e-12}}, {"down", Trigger_Data.delay, Near{50e-6, 1e-12}}});

    Press({soft(1), soft(3)});
    EXPECT_EQ(Trigger_Data.source, trigger_by_video);
    ASSERT_EQ(keylink.load(), &TriggerLink[1]);
    Walk({{"f0 -42.5 f0", Trigger_Data.video_level, -42.5}, {"down", Trigger_Data.video_level, -52.5},
          {[] { Amp.unit = unit_volt; }}, {"f0 100 f1", Trigger_Data.video_level, Near{-6.9897, 1e-4}},
          {"f1", Trigger_Data.video_falling, 1}, {"f2 1.2 f0", Trigger_Data.video_frequency[0], 1.2e9},
          {"f6", TriggerLink[0]}, {"f0", Trigger_Data.source, trigger_by_none}});
}

TEST_F(Triggers, KeysOfTheGateAreGreyedWhereItCannotAct) {
    Walk({{"SWEEP f2", Trigger_Data.gate, 1}, {"f6"}});
    ASSERT_EQ(keylink.load(), &TriggerLink[2]);
    Walk({{"f1 3 f2 f2 0.1 f4", Trigger_Data.gate_delay, Near{3e-3, 1e-12}},
          {"", Trigger_Data.gate_length, Near{1e-6, 1e-12}}, {"f3 f0 f6", Trigger_Data.input_falling, 1},
          {"", Trigger_Data.gate, 0}, {"", SweepLink[0]}});

    Walk({{"f2 TRIGGER f1", Trigger_Data.source, trigger_by_none, "no video trigger with the gate on"},
          {"SWEEP f2 TRIGGER f1 SWEEP f2", Trigger_Data.source, trigger_by_video}, {"", Trigger_Data.gate, 0},
          {"f6 f0", Trigger_Data.gate, 0}, {{Set_Trigger_Source, trigger_by_none}}, {{Set_Cent, 1e9}},
          {{Set_Span, 100e3}}});
    ASSERT_EQ(JUDGE_FFT_MODE(), 1);
    for (const std::int32_t page : {key_sweep, key_trigger}) {
        Press({page, soft(page == key_sweep ? 2 : 1)});
        EXPECT_EQ(Trigger_Data.gate + Trigger_Data.source, 0);
    }
    Walk({{{Set_Span, 0}}, {"TRIGGER f3 f2", TriggerLink[1].highlight, no_highlight, "zero span has one frequency"}});
}

TEST_F(Triggers, KeysOfTheSweepMode) {
    Walk({{"SINGLE f0", Sweep_Data.single, 1}, {"f3", Sweep_Data.single, 0}, {"f4", Sweep_Data.hold, 1},
          {"", SweepLink[0].highlight, 4}, {"FREQ", SweepLink[0], "refused on hold"},
          {"SINGLE", SweepLink[0].highlight, no_highlight}, {"f4", Sweep_Data.hold, 0}});
    for (const int key : {0, 3, 0, 0, 3, 3}) {
        Set_Sweep_Hold(true);
        Press({soft(key)});
        EXPECT_EQ(Sweep_Data.hold, 0) << "single and continuous release it, whatever was before";
        EXPECT_EQ(Sweep_Data.single, key == 0 ? 1 : 0);
    }
}

TEST_F(Triggers, AStateWithVideoTriggerAndGateAtOnceIsRefused) {
    Trigger_Data = {.source = trigger_by_video, .gate = 1};
    ASSERT_TRUE(Save_LocalState_SpecAndSem("/mnt/nand/state.sta"));
    Trigger_Init();
    EXPECT_FALSE(Recall_Lostate_ForLocal("/mnt/nand/state.sta", 0));
    EXPECT_EQ(Trigger_Data.gate, 0);
}

TEST_F(Triggers, TheScreenSaysThatASweepWaitsWhenItDoesSoForAWhile) {
    const auto shown_after = [](int milliseconds) {
        platform::Step_Clock(std::chrono::milliseconds(milliseconds));
        Show_Trigger_Wait();
        return Trigger_Wait_Shown;
    };
    DSP_Trigger_Flag = 1;
    EXPECT_EQ(shown_after(1000), 0) << "it begins to wait";
    EXPECT_EQ(Ask("STAT:OPER:COND?"), "32");
    Walk({{"", [&] { return shown_after(199); }, 0}, {"", [&] { return shown_after(1); }, 1},
          {"", [&] { return shown_after(5000); }, 1},
          {[] { Sweep_Data.hold = 1; }, [&] { return shown_after(1); }, 0, "on hold it waits for nothing"},
          {[] { Sweep_Data.hold = 0; }, [&] { return shown_after(1) + shown_after(199); }, 0},
          {[] { DSP_Trigger_Flag = 0; }, [&] { return shown_after(1); }, 0}});
    EXPECT_EQ(Ask("STAT:OPER:COND?;EVEN?"), "0;32");
}

/// The whole way, with the core behind its link and its time stepped by the test.
class Triggered_Sweeps : public Triggers {
protected:
    void SetUp() override {
        Triggers::SetUp();
        FPGA_Int_Fd = platform::Open_Fpga_Int("/dev/fpga_int");
        Init_Trace_Data();
        waited = 0;
        scpi_context.host = &host;
        Ask("FREQ:CENT 500MHZ;SPAN 0");
    }
    void TearDown() override {
        platform::Close_Fpga_Int(FPGA_Int_Fd.exchange(-1));
        Triggers::TearDown();
    }
    /// Time passes; interrupts and samples are taken as they come. A request to the interrupt device that is on its way is
    /// served first: the link's answer comes from the same thread.
    static void Run(double seconds) {
        constexpr int parts = 10;
        for (int i = 0; i < parts; ++i) {
            LOOP_SetTrans_Timer_Control(0);
            board->Step(platform::Duration(std::llround(seconds / parts * 1e9)));
            Take_FPGA_Event(FPGA_Int_Fd);
            readadc();
        }
    }
    static bool Waiting() { return Ask("STAT:OPER:COND?") == "32"; }
    static float Value(std::size_t point) { return Trace_Data[0].value[0][point]; }
    static void Mark() { Trace_Data[0].value[0].fill(-77); }
    static bool Swept() { return std::ranges::count(Trace_Data[0].value[0], -77.0f) == 0; }

    std::string Scene() const override {
        return "[[carrier]]\nfrequency = 500e6\nlevel = -20.0\nam = {depth = 0.9, rate = 50}\n";
    }

    static inline int waited = 0;
    static constexpr Scpi_Host host{.keep_waiting = [] {
        if (!Sweep_Can_Come() || ++waited > 50) return false;
        if (waited == 20) board->Set_Trigger_Input(true);
        Run(0.01);
        return true;
    }};
};

TEST_F(Triggered_Sweeps, ZeroSpanShowsTheEnvelopeOverTheSweepTime) {
    constexpr float carrier = -20;
    for (const auto& [time, period] : {std::pair{"60 MS", 200}, {"40 MS", 300}}) {
        Ask(std::string("SWE:TIME ") + time);
        Run(Sweep_Data.time[0] * 1.002);
        const auto& values = Trace_Data[0].value[0];
        std::vector<int> rises;
        for (std::size_t i = 1; i < values.size(); ++i) {
            if (values[i - 1] < carrier && values[i] >= carrier) rises.push_back(static_cast<int>(i));
        }
        ASSERT_GE(rises.size(), 2u) << time;
        for (std::size_t i = 1; i < rises.size(); ++i) EXPECT_NEAR(rises[i] - rises[i - 1], period, 2) << time;
        EXPECT_NEAR(std::ranges::max(values), carrier + 5.6f, 0.3) << "1.9 times the carrier";
        EXPECT_NEAR(std::ranges::min(values), carrier - 20, 0.5) << "a tenth of it";
    }
}

TEST_F(Triggered_Sweeps, TheInputStartsOneSweepEachAndTheStatusSaysSo) {
    Run(0.1);
    EXPECT_FALSE(Waiting());
    Ask("TRIG:SOUR EXT");
    EXPECT_TRUE(Waiting()) << "from the command on";
    Mark();
    Run(0.5);
    Walk({{"", Waiting, true}, {"", [&] { return Value(0); }, -77}});
    for (int edge = 0; edge < 3; ++edge) {
        Mark();
        board->Set_Trigger_Input(true);
        Run(0.001);
        EXPECT_FALSE(Waiting()) << "it sweeps";
        Run(0.3);
        Walk({{"", Swept, true}, {"", Waiting, true, "for the next"}});
        Mark();
        board->Set_Trigger_Input(false);
        Run(0.3);
        EXPECT_EQ(Value(0), -77) << "the other slope";
    }
    Ask("TRIG:EXT:SLOP NEG");
    Run(0.1);
    EXPECT_EQ(Value(0), -77);
    Ask("TRIG:SOUR IMM");
    EXPECT_FALSE(Waiting());
    Run(0.1);
    EXPECT_TRUE(Swept()) << "released at once";
}

TEST_F(Triggered_Sweeps, TheVideoTriggerHoldsTheTraceStill) {
    Ask("TRIG:SOUR VID;VID:LEV -20");
    for (int i = 0; i < 8; ++i) {
        Mark();
        Run(0.1 + 0.0037 * i);
        EXPECT_NEAR(static_cast<double>(Value(1)), -20, 0.3);
    }
    Ask("TRIG:VID:LEV -10");
    Mark();
    Run(0.5);
    Walk({{"", Waiting, true}, {"", [&] { return Value(1); }, -77}});
    Ask("TRIG:MODE AUTO");
    Run(0.7);
    EXPECT_TRUE(Swept()) << "without a trigger after half a second";
}

TEST_F(Triggered_Sweeps, ASingleSweepWaitsAndTheCompleteQueryWithIt) {
    Ask("TRIG:SOUR EXT;:INIT");
    EXPECT_TRUE(Waiting());
    Run(0.3);
    EXPECT_EQ(SweepSingle_Data, 0);
    Ask("*CLS;*OPC");
    Mark();
    EXPECT_EQ(Ask("*OPC?"), "1");
    EXPECT_GE(waited, 20) << "the trigger came while it waited";
    Walk({{"", Swept, true}, {"", SweepSingle_Data, 1}, {"", Waiting, false, "the sweep has stopped"}});
    Run(0.01);
    Talk({{"*ESR?", "1"}, {"TRIG:DEL 1MS"}});
    EXPECT_FALSE(Waiting());

    // Without a trigger the commands between go on, and free run ends the wait.
    Ask("INIT");
    Run(0.5);
    EXPECT_EQ(Ask("TRIG:SOUR?;:FREQ:CENT?"), "EXTernal;5.000000000e+08");
    EXPECT_TRUE(Waiting());
    Ask("TRIG:SOUR IMM");
    Run(0.1);
    EXPECT_EQ(SweepSingle_Data, 1);
}

TEST_F(Triggered_Sweeps, OnHoldNothingMovesAndNobodyWaits) {
    Ask("TRIG:SOUR EXT");
    Set_Sweep_Hold(true);
    Run(0.3);
    EXPECT_FALSE(Waiting());
    Talk({{"*OPC?", "1", "no sweep comes"}, {"", waited, 0}, {"TRIG:SOUR IMM"}});
    Mark();
    Run(0.3);
    Walk({{"", [&] { return Value(0); }, -77}, {{Set_Sweep_Hold, false}}});
    Run(0.3);
    EXPECT_TRUE(Swept());
}

TEST_F(Triggered_Sweeps, TheGateSweepsPieceByPiece) {
    Ask("SWE:EGAT:LENG 10MS;STAT ON");
    const double sweep = Sweep_Data.time[0];
    ASSERT_GT(sweep, 0.03);
    Mark();
    Run(0.3);
    EXPECT_TRUE(Waiting()) << "for the first opening";
    board->Set_Trigger_Input(true);
    Run(0.1);
    EXPECT_FALSE(Waiting());
    const auto swept = std::ranges::count_if(Trace_Data[0].value[0], [](float x) { return x != -77; });
    EXPECT_NEAR(static_cast<double>(swept), 601 * 0.01 / sweep, 3);
    for (int i = 0; i < 4; ++i) {
        board->Set_Trigger_Input(false);
        board->Set_Trigger_Input(true);
        Run(0.1);
    }
    EXPECT_TRUE(Swept());
}

TEST_F(Triggered_Sweeps, APresetReleasesASweepThatWaits) {
    Ask("TRIG:SOUR EXT;:SWE:EGAT:STAT ON");
    Run(0.1);
    Preset_Instrument();
    EXPECT_FALSE(Waiting());
    Mark();
    Run(2 * Sweep_Data.time[0]);
    EXPECT_TRUE(Swept());
}

}  // namespace
