#include "measure/autoset.h"

#include <cstring>
#include <mutex>

#include "app/main_loop.h"
#include "sweep_rig.h"
#include "sweep/trigger.h"
#include "trace/single_sweep.h"

namespace {

/// The automatic setting over the sweeps of a core whose time the test moves.
class Autoset : public Sweep_Rig {
protected:
    Autoset() : Sweep_Rig({.core = {.fast = true}, .manual = true}) {}
    std::string Scene() const override { return ""; }
    /// A preset instrument with a scene at its input.
    void Power_On(const std::string& scene) {
        Start(virtual_board::Parse_Scene(scene, "scene"));
        const std::lock_guard records(Command_Main_Mutex);
        Preset_Instrument();
    }
    /// A sweep of the core and a round of the main loop.
    void Sweep() {
        board->Step(std::chrono::milliseconds(6));
        Main_Loop_Once();
    }
    /// Lets the search come to its end.
    void Finish() {
        for (int i = 0; i < 500 && Run_AuotSet_flag; ++i) Sweep();
        EXPECT_EQ(Run_AuotSet_flag, 0) << "it comes to an end";
    }
    void Run() {
        {
            const std::lock_guard records(Command_Main_Mutex);
            ASSERT_TRUE(Start_Autoset());
        }
        Finish();
    }
    static double Peak() {
        const auto& values = Trace_Data[0].value[0];
        return static_cast<double>(*std::max_element(values.begin(), values.end()));
    }
    /// The signal stands in the middle, in the upper part of the screen, with everything automatic.
    static void Expect_Shown(double frequency, double level, double least_span, double most_span) {
        EXPECT_NEAR(Freqs.center[0], frequency, Freqs.span[0] / 40) << frequency;
        EXPECT_GE(Freqs.span[0], least_span) << frequency;
        EXPECT_LE(Freqs.span[0], most_span) << frequency;
        EXPECT_NEAR(Amp.reference[0], level + 6, 4) << frequency;
        EXPECT_NEAR(Peak(), level, 2) << "a sweep of the new settings stands on the screen";
        EXPECT_EQ(BW_Data.rbw_mode[0] + BW_Data.vbw_mode[0] + Sweep_Data.time_mode[0] + Amp.attenuation_mode[0], 0);
    }
    static std::string Carrier(double frequency, double level, const std::string& more = "") {
        return "[[carrier]]\nfrequency = " + std::to_string(frequency) + "\nlevel = " + std::to_string(level) + "\n" +
               more + "\n";
    }
};

TEST_F(Autoset, FindsTheStrongestSignalWhereverItStands) {
    constexpr struct {
        double frequency, level;
    } carriers[] = {{433.92e6, -30}, {3.2e9, -20}, {1e9, 5}, {100e6, -70}, {2.1e9, -79}, {6.07e6, -40}, {400e3, -30}};
    for (const auto& [frequency, level] : carriers) {
        Power_On(Carrier(frequency, level) + Carrier(1.7e9, level - 12));
        Run();
        Expect_Shown(frequency, level, 100e3, 100e3);
        TearDown();
        SetUp();
    }
}

TEST_F(Autoset, TheSpanFollowsTheWidthOfTheSignal) {
    Power_On(Carrier(98.4e6, -30, "fm = {deviation = 75e3, rate = 5e3}"));
    Run();
    Expect_Shown(98.4e6, -41, 200e3, 1e6);
    TearDown();
    SetUp();
    Power_On("[[noise]]\ncenter = 1842.5e6\nbandwidth = 18e6\nlevel = -20\n");
    Run();
    Walk({{"", Freqs.center[0], Near{1842.5e6, 1e6}}, {"", Freqs.span[0], 50e6}});
    TearDown();
    SetUp();
    Power_On("[[ask]]\nfrequency = 433.92e6\nlevel = -45\nbits = \"11100000\"\nbit_rate = 500\n");
    Run();
    EXPECT_NEAR(Freqs.center[0], 433.92e6, 50e3) << "a burst";
    EXPECT_LE(Amp.reference[0], -37);
}

TEST_F(Autoset, OffsetsSpanAndFloorAreTheUsers) {
    Power_On(Carrier(500e6, -30));
    Set_Offset_Freq(typed, 10e9);
    Set_ReflevelOffset(typed, 20);
    Set_Autoset_Span(typed, 3e6);
    Set_Autoset_Floor(typed, -11);
    Run();
    Expect_Shown(500e6, -30, 3e6, 3e6);
    Walk({{"", Amp.displayed_reference[0], Amp.reference[0] + 20}, {Set_Full_Span}, {{Set_Autoset_Floor, -9}}});
    Run();
    EXPECT_EQ(Freqs.span[0], MAXSPAN) << "the signal is shown with -10 dBm and does not reach the floor";
}

TEST_F(Autoset, WhereNothingStandsOutEverythingReturns) {
    Power_On("");
    Ask("FREQ:CENT 1GHZ;SPAN 5MHZ;:FREQ:CENT:STEP 1KHZ;:FREQ:SPAN 2MHZ");
    Set_Reflevel(typed, -20);
    Set_Attenuation(typed, 20);
    Set_Preamplifier(true);
    BW_Data.rbw_mode[0] = 1;
    Trace_Data[0].mode = {trace_max_hold, trace_view, trace_min_hold, trace_clear_write};
    for (std::size_t i = 0; i < traces; ++i) Trace_Data[0].value[i].fill(-70 - static_cast<float>(i));
    Set_Trigger_Source(trigger_by_input);
    Start_Single_Sweep();
    Set_Sweep_Hold(true);
    const Freqs_Record freqs = Freqs;
    const Amp_Record amp = Amp;
    const BW_Record bw = BW_Data;
    const Trigger_Record trigger = Trigger_Data;
    const Trace_Values values = Trace_Data[0].value;
    for (const bool stopped : {false, true}) {
        {
            const std::lock_guard records(Command_Main_Mutex);
            ASSERT_TRUE(Start_Autoset());
        }
        for (int i = 0; i < 5; ++i) Sweep();
        EXPECT_GE(Freqs.span[0], 8e6);
        if (stopped) Stop_Autoset();
        Finish();
        Expect({{std::memcmp(&freqs, &Freqs, sizeof Freqs), 0}, {amp.reference, Amp.reference},
                {amp.attenuation, Amp.attenuation}, {amp.attenuation_mode, Amp.attenuation_mode},
                {amp.preamplifier_auto, Amp.preamplifier_auto}, {bw.rbw_mode, BW_Data.rbw_mode}, {bw.rbw, BW_Data.rbw},
                {trigger.source, Trigger_Data.source}});
        Walk({{"", [&] { return values; }, Trace_Data[0].value},
              {"", Trace_Data[0].mode, (std::array<std::uint8_t, traces>{trace_max_hold, trace_view, trace_min_hold,
               trace_clear_write})},
              {"", Sweep_Data.hold, 1}, {"", Sweep_Data.single, 1}});
    }
}

TEST_F(Autoset, ASingleSweepShowsTheSignalAndStops) {
    Power_On(Carrier(1e9, -20));
    Start_Single_Sweep();
    Sweep();
    ASSERT_EQ(SweepSingle_Data, 1);
    Trace_Data[0].mode[1] = trace_view;
    Trace_Data[0].value[1].fill(-33);
    Run();
    Expect_Shown(1e9, -20, 100e3, 100e3);
    Walk({{"", Sweep_Data.single, 1}, {"", SweepSingle_Data, 1}, {"", Trace_Data[0].mode[1], trace_view},
          {"", Trace_Data[0].value[1][300], -33, "a viewed trace moves with the axis, once"},
          {"", Freqs.last_span[0], MAXSPAN}});
}

TEST_F(Autoset, WhileItRunsAllElseWaits) {
    Power_On(Carrier(1e9, -20));
    Talk({{"ASET:AMPL?;AMPL:AUTO?;:ASET:SPAN?;SPAN:AUTO?", "-6.000000000e+01;1;3.000000000e+06;1"},
          {"ASET:SPAN 30;:ASET:AMPL 99"},
          {"ASET:AMPL?;AMPL:AUTO?;:ASET:SPAN?;SPAN:AUTO?", "2.000000000e+01;0;1.000000000e+02;0"},
          {"ASET:SPAN:AUTO ON;:ASET:AMPL:AUTO ON"}, {"ASET:RUN;*OPC", Run_AuotSet_flag, 1}});
    Expect_Error(-221, {"ASET:RUN", "FREQ:CENT 1", "ASET:SPAN 1MHZ", "INIT:CONT ON"});
    const double center = Freqs.center[0];
    Remote_Flag = 0;
    for (const int key : {0, 32, 53, 32, 117}) Keypad_Exe(key);  // Frequency, its first key, a digit, a unit, up
    EXPECT_EQ(Freqs.center[0], center);
    Pending_Operation_Flag = Pending_Operation_Flag_check = Command_Query_Opc_Flag = 1;  // as *OPC? leaves them
    for (int i = 0; i < 500 && Run_AuotSet_flag; ++i) {
        ASSERT_EQ(Command_Query_Opc_Flag + Command_Opc_Flag, 2) << "no sweep of the search is its end";
        Sweep();
    }
    Sweep();
    EXPECT_EQ(Command_Query_Opc_Flag + Pending_Operation_Flag + Command_Opc_Flag, 0);
    EXPECT_EQ(Ask("*ESR?"), "17") << "complete, after refusals";
    Expect_Shown(1e9, -20, 100e3, 100e3);
}

TEST_F(Autoset, ItsKeysStartStopAndSet) {
    Power_On(Carrier(1e9, -20));
    const auto press = [](std::initializer_list<int> codes) {
        for (const int code : codes) Keypad_Exe(code);
    };
    constexpr int soft = key_soft_first;
    const auto* const start = AutosetLink[0].label[0];
    press({key_autoset, soft + 1, '-', '4', '5', soft});
    Walk({{"", Autoset_Data.floor, -45}, {"", Autoset_Data.floor_manual, 1}});
    press({soft + 1});
    EXPECT_EQ(Autoset_Data.floor_manual, 0);
    press({key_down});
    EXPECT_EQ(Autoset_Data.floor, -55);
    press({soft + 2, key_up});
    Walk({{"", Autoset_Data.span, 5e6}, {"", Autoset_Data.span_manual, 1}});
    press({soft});
    EXPECT_EQ(Run_AuotSet_flag, 1);
    EXPECT_NE(AutosetLink[0].label[0], start) << "it reads Stop";
    press({soft + 1, soft + 2, '7', key_up, key_span});
    Walk({{"", Autoset_Data.span, 5e6}, {"", AutosetLink[0]}});
    press({soft});
    Walk({{"", Run_AuotSet_flag, 0}, {"", AutosetLink[0].label[0], start}, {"", Freqs.span[0], MAXSPAN}});
    press({soft, key_preset});
    Walk({{"", Run_AuotSet_flag, 0}, {"", AutosetLink[0].label[0], start}, {"", Autoset_Data.floor, -60, "preset"},
          {"", Amp.attenuation[0], 10}});
}

TEST_F(Autoset, OtherModesAndADeadCoreRefuseIt) {
    EXPECT_FALSE(Start_Autoset()) << "no core";
    Power_On("");
    for (const int mode : {mode_power_meter, mode_emission_mask, mode_am_fm, mode_iq, mode_fsk}) {
        FunctionMode_Flag = mode;
        EXPECT_EQ(Errors("ASET:RUN"), Codes{-221}) << mode;
    }
    FunctionMode_Flag = mode_spectrum;
    for (const int table : {table_split, table_single_frequency}) {
        Global_Table = table;
        EXPECT_FALSE(Start_Autoset());
    }
    Global_Table = 0;
    EMC_Data.mode = 1;
    EXPECT_FALSE(Start_Autoset());
}

}  // namespace
