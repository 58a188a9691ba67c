#include "trace/markers.h"

#include "files/state.h"
#include "keys/number_format.h"
#include "records/normalisation.h"
#include "records_fixture.h"
#include "trace/marker_to.h"

namespace {

class Markers : public Factory_Records {
protected:
    void SetUp() override {
        Factory_Records::SetUp();
        Set_Span(2, 60e6);
        Set_Cent(2, 1e9);  // columns 100 kHz apart, the first at 970 MHz
        for (std::size_t i = 0; i < trace_points; ++i) Trace_Data[0].value[0][i] = -static_cast<float>(i) / 10;
    }
    static int Column(int marker) { return Marker_Data.column[static_cast<std::size_t>(marker)][0]; }
    static int Delta_Column(int marker) { return Marker_Data.delta_column[static_cast<std::size_t>(marker)][0]; }
    /// A step of the knob or the arrows.
    template <class Setter>
    static void Step(Setter&& setter, int source, int steps) {
        (steps > 0 ? AllKeyVar.up : AllKeyVar.down) = static_cast<std::uint16_t>(std::abs(steps));
        setter(source, 0);
        AllKeyVar.up = AllKeyVar.down = 0;
    }
};

TEST_F(Markers, TypedPlacesSnapToTheNearestColumnOfTheAxis) {
    Walk({{[] { Set_Marker_Normal(2, 1'000'040'000); }, [&] { return Marker_Place(0); }, 1e9},
          {"", [&] { return Marker_Level(0); }, -30},
          {[] { Set_Marker_Normal(2, 1'000'050'000); }, [&] { return Column(0); }, 301, "half a column goes up"},
          {[] { Set_Marker_Normal(2, 1); }, [&] { return Marker_Place(0); }, 970e6},
          {[] { Set_Marker_Normal(2, std::numeric_limits<double>::infinity()); }, [&] { return Marker_Place(0); },
           1030e6},
          {[] { Set_Marker_Normal(2, std::nan("")); }, [&] { return Column(0); }, 600},
          {{Set_Offset_Freq, 1e9}, [&] { return Marker_Place(0); }, 2030e6, "shown with the offset"},
          {[] { Set_Marker_Normal(2, 2e9); }, [&] { return Column(0); }, 300, "and typed with it"}});
}

TEST_F(Markers, KnobAndArrowsStepByColumnsAndDivisions) {
    Set_Marker_Normal(2, 1e9);
    for (const auto& [source, steps, column] :
         {std::array{0, 1, 301}, {0, -2, 298}, {0, 3, 308}, {1, 1, 368}, {1, -1, 308}}) {
        Turn(Set_Marker_Normal, source, steps);
        EXPECT_EQ(Column(0), column);
    }
    for (int i = 0; i < 9; ++i) Turn(Set_Marker_Normal, 1, -1);
    EXPECT_EQ(Column(0), 0);
    Turn(Set_Active_Marker, 0, 1);
    EXPECT_EQ(Active_Marker(), 1);
    for (int i = 0; i < 12; ++i) Turn(Set_Active_Marker, 1, 1);
    EXPECT_EQ(Active_Marker(), 9);
}

TEST_F(Markers, TheyKeepTheirFrequenciesWhenTheAxisChanges) {
    Walk({{[] { Set_Marker_Place(0, 1.01e9); }}, {[] { Set_Marker_Type(1, true); }}, {[] { Set_Marker_Delta(2, 5e6); }},
          {[] { Set_Marker_Place(2, 1.0234e9); }}, {{Set_Span, 30e6}, [&] { return Column(1); }, 300},
          {"", [&] { return Marker_Place(0); }, 1.01e9}, {"", [&] { return Delta_Distance(1); }, 5e6}});
    EXPECT_FALSE(Marker_On_Axis(2));
    EXPECT_TRUE(std::isnan(Marker_Level(2))) << "there is no trace at its frequency";
    Walk({{"", [&] { return Marker_Place(2); }, 1.0234e9}, {Set_Full_Span}});
    EXPECT_NEAR(Marker_Place(0), 1.01e9, 3.25e9 / 1200) << "on the nearest column";
    Walk({{{Set_Cent, 1e9}}, {{Set_Span, 60e6}, [&] { return Marker_Place(0); }, 1.01e9, "but nothing is lost"},
          {"", [&] { return Marker_Place(2); }, 1.0234e9}});
}

TEST_F(Markers, InZeroSpanTheyAreTimesAndKeepTheirColumns) {
    Set_Marker_Place(0, 985e6);
    Set_Span(2, 0);
    const double sweep_time = Sweep_Data.time[0];
    EXPECT_NEAR(Marker_Place(0), sweep_time / 4, 1e-12);
    Sweep_Data.time[0] = Sweep_Data.shortest[0] = 0.6;
    Walk({{[] { Sweep_Data.time_mode[0] = 1; }},
          {[] { Set_Marker_Normal(2, 0.3005); }, [&] { return Column(0); }, 301, "half a column goes up"}});
    Int_Marker_Freq_to_Pixel(0.3004);
    Walk({{"", [&] { return Column(0); }, 300},
          {[] { Sweep_Data.time[0] = 1.2; }, [&] { return Marker_Place(0); }, Near{0.301, 1.01e-3},
           "they stay at their times"},
          {{Set_Span, 60e6}, [&] { return Marker_Place(0) - Column(0) * 100e3; }, 970e6}});
}

TEST_F(Markers, APairIsHeldTogetherOnTheAxis) {
    Walk({{[] { Set_Marker_Place(0, 990e6); }},
          {[] { Set_Marker_Delta(2, -10e6); }, [&] { return Pair_Span(0); }, 10e6,
           "positive also with the partner below"},
          {"", [&] { return Delta_Distance(0); }, -10e6}, {"", [&] { return Pair_Center(0); }, 985e6},
          {[] { Set_Marker_Move_Pair_Span(2, 20e6); }, [&] { return Marker_Place(0); }, 995e6},
          {"", [&] { return Delta_Place(0); }, 975e6},
          {[] { Set_Marker_Move_Pair_Span(2, 1e9); }, [&] { return Delta_Place(0); }, 970e6,
           "the middle stays where it is"},
          {"", [&] { return Marker_Place(0); }, 1000e6},
          {[] { Set_Marker_Move_Pair_Center(2, 5e9); }, [&] { return Marker_Place(0); }, 1030e6},
          {"", [&] { return Delta_Place(0); }, 1000e6},
          {[] { Set_Marker_Move_Pair_Center(2, 1e9); }, [&] { return Pair_Center(0); }, 1e9}});
    Turn(Set_Marker_Move_Pair_Center, 0, 1);
    EXPECT_EQ(Pair_Center(0), 1000.1e6);
    Turn(Set_Marker_Move_Pair_Span, 0, -1);
    Walk({{"", [&] { return Pair_Span(0); }, 29.8e6},
          {[] { Set_Marker_Delta(2, 1e9); }, [&] { return Delta_Place(0); }, 1030e6, "held at the end"},
          {[] { Freqs.offset[0] = 1e9; }, 
           [&] { return Pair_Center(0) - (Marker_Place(0) + Delta_Place(0)) / 2; }, 0}});
}

TEST_F(Markers, ADeltaMarkerReadsTheDifferenceOfTwoTraces) {
    Trace_Data[0].mode[1] = trace_view;
    Trace_Data[0].value[1].fill(-50);
    Walk({{[] { Set_Marker_Place(0, 1e9); }}, {[] { Set_Marker_Type(0, true); }, [&] { return Level_Difference(0); },
           0},
          {[] { Set_Marker_Trace(0, 1); }, [&] { return Level_Difference(0); }, -20},
          {"", [&] { return Marker_Level(0); }, -30, "the marker itself stays on its trace"},
          {[] { Trace_Data[0].mode[1] = trace_blank; }}});
    EXPECT_TRUE(std::isnan(Level_Difference(0)));
    Walk({{"", [&] { return Marker_Trace(0); }, -1},
          {[] { Set_Marker_Trace_Auto(0, true); }, [&] { return Marker_Trace(0); }, 0}});
    Trace_Data[0].mode.fill(trace_blank);
    EXPECT_TRUE(std::isnan(Marker_Level(0)));
    Set_Marker_Trace_Auto(0, false);
    EXPECT_TRUE(std::isnan(Level_Difference(0)));
}

TEST_F(Markers, NoiseDensityCountsTheMiddleTwiceAndStopsAtTheEnds) {
    Marker_Data.noise[0][0] = 1;
    std::array<float, trace_points> values{};
    const double correction = 2.5 - 10 * std::log10(1.15 * Int_RBW_Transfer(BW_Data.rbw[0]));
    const auto density = [&](int column) {
        Marker_noiseaverage(column, 300, values);
        return Marker_NoiseValue[0] - correction;
    };
    values.fill(-100);
    EXPECT_NEAR(density(300), -100, 1e-9);
    values[300] = -70;
    EXPECT_NEAR(density(300), -100 + 30 * 2.0 / 30, 1e-9);
    EXPECT_NEAR(density(314), -100 + 30 * 1.0 / 30, 1e-9);
    EXPECT_NEAR(density(315), -100, 1e-9);
    values[0] = -68;
    EXPECT_NEAR(density(0), -100 + 32 * 2.0 / 16, 1e-9);
    values[600] = -79;
    EXPECT_NEAR(density(595), -100 + 21 * 1.0 / 21, 1e-9);
    EXPECT_NEAR(Marker_Delta_NoiseValue[0] - correction, -98, 1e-9);
    Walk({{[] { Amp.unit = unit_dbuv; }, [&] { return density(315); }, Near{-100 + 106.99, 1e-4}},
          {[] { Marker_Data.noise[0][0] = 0; }}, {[] { Marker_NoiseValue[0] = 7; }},
          {[&] { Marker_noiseaverage(300, 300, values); }, Marker_NoiseValue[0], 7,
           "only while the noise marker is on"}});
}

TEST_F(Markers, FunctionsEndEachOther) {
    Set_Marker_Noise(0, true);
    EXPECT_EQ(Set_Marker_Counter(0, true), 0);
    Walk({{"", Marker_Data.noise[0][0], 0},
          {[] { Set_Marker_Counter(4, true); }, Marker_Data.counter[0][0], 0, "one counter"}, {"", Active_Marker, 4}});
    EXPECT_EQ(Set_Marker_VSWR(4, true), -221);
    Sys_Data.tracking_normalised = 1;
    EXPECT_EQ(Set_Marker_VSWR(4, true), 0);
    EXPECT_EQ(Marker_Data.counter[4][0], 0);
    Normalisation_Trace.fill(-10);
    Trace_Data[0].value[0].fill(-30);
    EXPECT_NEAR(Marker_VSWR(4), 1.1 / 0.9, 1e-6) << "20 dB of return loss";
    Trace_Data[0].value[0].fill(-10);
    EXPECT_TRUE(std::isnan(Marker_VSWR(4)));
    Sys_Data.tracking_normalised = 0;
    Markers_End_Of_Sweep();
    Walk({{"", Marker_Data.vswr[4][0], 0, "ends with the normalisation"}, {[] { Set_Marker_Noise(4, true); }},
          {[] { Set_Marker_Type(4, true); }}, {[] { Set_Marker_State(4, false); }}});
    EXPECT_EQ(Marker_Data.noise[4][0] + Marker_Data.delta[4][0], 0);
    Set_Span(2, 0);
    EXPECT_EQ(Set_Marker_Counter(4, true), -221);
}

TEST_F(Markers, TheCounterResolutionIsCoupledToTheRbwOrStepped) {
    for (const auto& [rbw, hertz] : {std::pair{0, 1000.0}, {1, 100.0}, {4, 10.0}, {6, 1.0}, {7, 0.1}, {12, 0.1}}) {
        BW_Data.rbw[0] = rbw;
        EXPECT_EQ(Marker_Resolution(), hertz) << rbw;
    }
    BW_Data.rbw[0] = 4;
    Turn(Set_Marker_Resolution, 1, 1);
    EXPECT_EQ(Marker_Resolution(), 100) << "from the one in force";
    for (int i = 0; i < 4; ++i) Turn(Set_Marker_Resolution, 0, 1);
    EXPECT_EQ(Marker_Resolution(), 1000);
    for (int i = 0; i < 7; ++i) Turn(Set_Marker_Resolution, 0, -1);
    EXPECT_EQ(Marker_Resolution(), 0.1);
    for (const auto& [typed, hertz] : {std::pair{3.0, 1.0}, {4.0, 10.0}, {0.0, 0.1}, {-5.0, 0.1}, {1e30, 1000.0}}) {
        Set_Marker_Resolution(2, typed);
        EXPECT_EQ(Marker_Resolution(), hertz) << typed;
    }
    Set_Marker_Resolution_Auto(true);
    EXPECT_EQ(Marker_Resolution(), 10);
}

TEST_F(Markers, TheyFollowTheOrderOfTheAxisAndTheLevel) {
    Walk({{[] { Set_Marker_Place(0, 1.01e9); }, [&] { return Marker_To_Center(0); }, 0}, {"", Freqs.center[0], 1.01e9},
          {"", [&] { return Column(0); }, 300, "placed again"}, {"", [&] { return Marker_To_Step(0); }, 0},
          {"", Freqs.step[0], 1.01e9}, {"", stepautoman[0], 1},
          {[] { Set_Marker_Place(0, 1.02e9); }, [&] { return Marker_To_Start(0); }, 0}, {"", Freqs.start[0], 1.02e9},
          {[] { Set_Marker_Place(0, 1.03e9); }, [&] { return Marker_To_Stop(0); }, 0}, {"", Freqs.stop[0], 1.03e9},
          {"", [&] { return Marker_To_Span(0); }, -221, "it is no delta marker"},
          {{Set_Offset_Freq, 2e9}, [&] { return Marker_To_Center(0); }, 0},
          {"", Freqs.center[0], 1.03e9, "the offset is only shown"},
          {[] { Set_Marker_Place(0, Freqs.center[0] + 2e9); }},
          {[] { Set_Marker_Delta(2, 2e6); }, [&] { return Delta_To_Center(0); }, 0}, {"", Freqs.center[0], 1.031e9},
          {"", [&] { return Marker_To_Span(0); }, 0}, {"", Freqs.span[0], 2e6},
          {"", [&] { return Marker_To_Center(0); }, 0},
          {"", Freqs.center[0], 1.032e9, "the partner's of a delta marker"}, {"", [&] { return Span_To_Pair(0); }, 0},
          {"", Freqs.start[0], 1.03e9}, {"", Freqs.stop[0], 1.032e9}, {[] { Set_Marker_Type(0, false); }}});
    Trace_Data[0].value[0].fill(-37.4f);
    Walk({{{Set_ReflevelOffset, 10}, [&] { return Marker_To_Reference(0); }, 0}, {"", Amp.displayed_reference[0], -27},
          {{Set_Span, 0}, [&] { return Marker_To_Start(0); }, -221}, {"", [&] { return Marker_To_Center(0); }, 0},
          {"", [&] { return Column(0); }, 300}, {Marker_All_Off, [&] { return Marker_To_Center(0); }, -221},
          {"", [&] { return Marker_To_Reference(0); }, -221}});
}

TEST_F(Markers, TablesShareTheScreenWithTheTracesAndGiveItBack) {
    Walk({{{Set_Marker_Table, true}, ScreenInf.clamp_bottom, 358}, {"", Trace_Data[0].rows[0][600], 58 + 6 * 30},
          {{Set_Peak_Table, true}, Global_Table, table_peak, "one of them"},
          {{Set_Peak_Table, false}, ScreenInf.clamp_bottom, 508}, {"", Trace_Data[0].rows[0][600], 58 + 6 * 45},
          {{Set_Marker_Table, true}}, {Marker_All_Off, Global_Table, 0}});
}

TEST_F(Markers, ARecalledTableTakesItsPartOfTheGraticule) {
    std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
    Set_Peak_Table(true);
    ASSERT_TRUE(Save_LocalState_SpecAndSem("/mnt/nand/state.sta"));
    Set_Peak_Table(false);
    ASSERT_TRUE(Recall_Lostate_ForLocal("/mnt/nand/state.sta", 0));
    Walk({{"", Global_Table, table_peak}, {"", ScreenInf.clamp_bottom, 358}});
}

TEST_F(Markers, ReadoutsAreInTheUnitAndAsFineAsTheAxis) {
    std::array<char, 40> text{};
    const auto frequency = [&](double hertz, double resolution) {
        Show_MFvalue_Chunit(hertz, resolution, text);
        return std::string(text.data());
    };
    Expect({{frequency(433.92e6, 1666), "433.920 MHz"}, {frequency(433.92e6, 16), "433.920 00 MHz"},
            {frequency(3.249999999e9, 1), "3.249 999 999 GHz"}, {frequency(999'999'999.96, 0.1), "1.000 000 000 0 GHz"},
            {frequency(-1.25e6, 100), "-1.250 0 MHz"}, {frequency(433920123.4, 0.1), "433.920 123 4 MHz"},
            {frequency(std::nan(""), 1), "---"}});
    Show_Noise_Density(-147.23, 2, text);
    EXPECT_STREQ(text.data(), "-147.23 dBm/Hz");
    Amp.unit = unit_volt;
    Show_Noise_Density(-147.23, 2, text);
    EXPECT_STREQ(text.data(), "9.73 nV/\u221aHz");
    Show_Timevalue_Chunit(-1.6667e-3, text);
    EXPECT_STREQ(text.data(), "-1.667 ms");
    Show_DMAvalue_Chunit(-std::numeric_limits<double>::infinity(), text);
    EXPECT_STREQ(text.data(), "---");
}

}  // namespace
