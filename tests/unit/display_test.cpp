#include <cstring>

#include "commands_rig.h"
#include "display/layers.h"
#include "files/state.h"
#include "keys/handlers.h"
#include "keys/information_screen.h"
#include "platform/sample_memory.h"
#include "sweep/dependants.h"
#include "system/settings.h"
#include "trace/display_line.h"
#include "trace/plot.h"
#include "trace/split.h"
#include "trace/trace_settings.h"
#include "trace/views.h"
#include "virtual_board/devices.h"

namespace {

/// The display's pages, commands and lines, on layers of the test's own.
class Display : public Commands {
protected:
    using Rows = std::vector<int>;

    void SetUp() override {
        Commands::SetUp();
        root.Write("/var/log/error.log", "");
        virtual_board::Make_Frame_Devices();
        fb_init(fbOsd0, "/dev/fb/0", screen_width, screen_height, 16);
        fb_init(fbVid0, "/dev/fb/1", screen_width, screen_height, 24);
        ASSERT_TRUE(fbOsd0.memory && fbVid0.memory);
        Preset_Instrument();
    }
    void TearDown() override {
        fb_free(fbOsd0);
        fb_free(fbVid0);
        virtual_board::Remove_Frame_Devices();
        Commands::TearDown();
    }
    static std::uint16_t Pixel(int x, int y) {
        std::uint16_t pixel = 0;
        std::memcpy(&pixel, fbOsd0.memory + static_cast<std::size_t>(y) * fbOsd0.line + static_cast<std::size_t>(x) * 2,
                    sizeof pixel);
        return pixel;
    }
    /// Rows of the graticule that a line crosses from its first to its last column.
    static Rows Lines() {
        Rows rows;
        for (int y = 58; y <= 532; ++y) {
            int columns = 0;
            for (int x = 10; x <= 610; ++x) columns += Pixel(x, y) != 0;
            if (columns > 500) rows.push_back(y);
            EXPECT_TRUE(columns <= 300 || columns == 601) << "row " << y << " has gaps: " << columns;
        }
        return rows;
    }
    static std::vector<std::byte> Video() { return {fbVid0.memory, fbVid0.memory + fbVid0.size}; }
};

TEST_F(Display, TheLineIsTypedSteppedAndSwitched) {
    Walk({{"DISPLAY f2", Display_Data.line_shown, 0, "the first press selects"}, {"", Says(2), "-50.00 dBm"},
          {"-20.5 f0"}});
    EXPECT_EQ(Ask("DISP:TRAC:Y:DLIN?;DLIN:STAT?"), "-2.050000000e+01;1") << "a level switches it on";
    Walk({{"up <<", Display_Data.line_level, -13.5, "a division up, three steps down"},
          {"f2", Display_Data.line_shown, 0}, {"", [&] { return Face(2).chosen; }, 1},
          {"up", Display_Data.line_shown, 1}, {[] { Amp.unit = unit_watt; }},
          {"f2 1 f1", Display_Data.line_level, 0, "a milliwatt"}});
}

TEST_F(Display, CommandsOfTheLine) {
    for (const auto& [message, level] : {std::pair{"DISP:TRAC:Y:DLIN -30", -30.0},
                                         {":DISPlay:WINDow:TRACe:Y:DLINe 97 DBUV", -10.0},
                                         {"DISP:TRAC:Y:DLIN 1e300", 100.0},
                                         {"DISP:TRAC:Y:DLIN -1e9 DBM", -200.0},
                                         {"DISP:TRAC:Y:DLIN 0 V", -200.0}}) {
        Set_Display_Line_State(false);
        EXPECT_EQ(Errors(message), None());
        EXPECT_NEAR(Display_Data.line_level, level, 0.06) << message;
        EXPECT_EQ(Ask("DISP:TRAC:Y:DLIN:STAT?"), "1") << message;
    }
    Ask("UNIT:POW DBUV;:DISP:TRAC:Y:DLIN 60");
    EXPECT_NEAR(std::stod(Ask("DISP:TRAC:Y:DLIN?")), 60, 0.06) << "in the unit";
    const double level = Display_Data.line_level;
    for (const auto& [message, code] : {std::pair{"DISP:TRAC:Y:DLIN", -109}, {"DISP:TRAC:Y:DLIN 5 HZ", -130},
                                        {"DISP:TRAC:Y:DLIN:STAT 5,6", -108}}) {
        EXPECT_EQ(Errors(message).size(), 1u) << message << code;
        EXPECT_EQ(Display_Data.line_level, level) << message;
    }
    Ask("DISP:TRAC:Y:DLIN:STAT OFF");
    EXPECT_EQ(Display_Data.line_shown, 0);
}

TEST_F(Display, TheLineStandsWhereItsLevelIs) {
    Walk({{{Set_Display_Line, -50}, [&] { return Lines(); }, Rows{58 + 225}},
          {{Set_Reflevel, -20}, [&] { return Lines(); }, Rows{58 + 135}},
          {{display_scale, 5}, [&] { return Lines(); }, Rows{58 + 270}},
          {{Set_ReflevelOffset, 10}, [&] { return Lines(); }, Rows{58 + 360},
           "the top is -10 dBm now, the line stays at -50"},
          {{Set_Amplitude_Unit, unit_dbuv}, [&] { return Lines(); }, Rows{58 + 360}}, {{Set_ReflevelOffset, 0}},
          {{Set_Reflevel, -44}},
          {{Set_Linear_Scale, true}, [&] { return Lines(); }, Rows{58 + 224}, "half the voltage: 6 dB below the top"},
          {{Set_Linear_Scale, false}}});
    for (const double beyond : {-43.0, -95.0}) {
        Set_Display_Line(2, beyond);
        EXPECT_EQ(Lines(), Rows{}) << beyond;
    }
    Walk({{{Set_Reflevel, 0}}, {{display_scale, 10}},
          {{Set_Display_Line, -100}, [&] { return Lines(); }, Rows{508}, "the lowest row"},
          {{Set_Marker_Table, true}, [&] { return Lines(); }, Rows{358}},
          {{Set_Split, split_active}, [&] { return Lines(); }, (Rows{258, 532}), "both halves"},
          {{Set_Split, split_none}}, {{Set_Display_Line_State, false}, [&] { return Lines(); }, Rows{}}});
}

TEST_F(Display, LinesAndMarkersLeaveNoGapsInEachOther) {
    Trace_Data[0].value[0].fill(-49);
    Level_Scale_Changed();
    Set_Display_Line(2, -48);
    Set_Trace_Mode(0, trace_max_hold);
    Trace_Data[0].value[0].fill(-49);
    Level_Scale_Changed();
    Ask("DISP:TRAC1:MODE:MAXH -47");
    const Rows both{58 + 211, 58 + 216};
    Walk({{"", [&] { return Lines(); }, both}, {[] { Set_Marker_Place(0, 1e9); }}});
    const auto symbol = [] {
        int pixels = 0;
        const int x = 10 + Marker_Data.column[0][0];
        for (int y = 58 + 220 - 22; y < 58 + 220; ++y) pixels += Pixel(x, y) != 0;
        return pixels;
    };
    Walk({{"", [&] { return symbol(); }, 22}, {"", [&] { return Lines(); }, both},
          {[] { Set_Marker_Place(0, 2e9); }, [&] { return Lines(); }, both, "where the marker stood"},
          {{Set_Display_Line, -10}, [&] { return symbol(); }, 22, "where the line stood"},
          {[] { Set_Trace_Mode(0, trace_view); }}, {{Set_Display_Line, -48}},
          {Marker_All_Off, [&] { return Lines(); }, Rows{58 + 216}}, {[] { Set_Marker_Place(0, 1e9); }}});
    EXPECT_EQ(Errors("CALC:LIM1:DATA 0,-30,3.25e9,-30"), None());
    Enter_Information_Screen();
    for (int y = 58; y <= 508; ++y) EXPECT_EQ(Pixel(10 + Marker_Data.column[0][0], y), 0) << "a list stands there";
    Leave_Information_Screen();
    EXPECT_EQ(Lines(), (Rows{58 + 135, 58 + 216}));
}

TEST_F(Display, PresetAndStateFileKnowTheLine) {
    std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
    Set_Display_Line(2, -33.5);
    ASSERT_TRUE(Save_LocalState_SpecAndSem("/mnt/nand/state.sta"));
    Preset_Instrument();
    EXPECT_EQ(Ask("DISP:TRAC:Y:DLIN?;DLIN:STAT?"), "-5.000000000e+01;0");
    EXPECT_EQ(Lines(), Rows{});
    ASSERT_TRUE(Recall_Lostate_ForLocal("/mnt/nand/state.sta", 0));
    Walk({{Ext_Frame, Display_Data.line_level, -33.5}, {"", [&] { return Lines(); }, Rows{58 + 150}}});
}

TEST_F(Display, ADarkScreenIsNotDrawnOnAndComesBackAsThingsAre) {
    Trace_Data[0].value[0].fill(-40);
    Level_Scale_Changed();
    const auto before = Video();
    EXPECT_EQ(Ask("DISP:ENAB OFF;:DISP:ENAB?"), "0");
    Trace_Data[0].value[0].fill(-60);
    Level_Scale_Changed();
    Walk({{[] { Set_Marker_Place(0, 1e9); }, [&] { return Video(); }, before}, {"", [&] { return Lines(); }, Rows{}}});
    Talk({{"CALC:MARK1:Y?", "-6.000000000e+01", "readings go on"}, {"DISP:ENAB ON"}});
    EXPECT_NE(Video(), before);
    EXPECT_NE(Pixel(10 + Marker_Data.column[0][0], 58 + 270 - 1), 0) << "the marker's tip";
    Press({key_display, soft(4)});
    EXPECT_EQ(Display_Data.active, 0);
    Ask("SYST:PRES");
    EXPECT_EQ(Display_Data.active, 1);
}

TEST_F(Display, BrightnessByCommand) {
    for (const auto& [message, percent] :
         {std::pair{"DISP:BRIG 40", 40}, {"DISP:BRIG 5", 10}, {"DISP:BRIG 1000", 100}}) {
        EXPECT_EQ(Errors(message), None());
        EXPECT_EQ(Display_Data.brightness, percent);
    }
    Talk({{"DISP:BRIG 55;:SYST:PRES"}, {"DISP:BRIG?", "55", "outlives the preset"}});
}

TEST_F(Display, LockedKeysAndKnobLeadToTheKeyThatFreesThem) {
    Ask("SYST:KLOC ON");
    Press({key_span, soft(1)});
    EXPECT_EQ(keylink.load(), &DisplayLink[0]);
    EXPECT_TRUE(Greyed_Out(DisplayLink[0], 2));
    keylink = &FreqLink[0];
    FreqLink[0].highlight = 0;
    AllKeyVar.unit_type = '1';
    const double center = Freqs.center[0];
    Walk({{">> up 5", Freqs.center[0], center}, {"", FreqLink[0]}, {"f3", DisplayLink[0]},
          {"f5", Display_Data.key_lock, 0}});
    EXPECT_FALSE(Greyed_Out(DisplayLink[0], 2));
    Talk({{"SYST:KLOC 1;PRES", Display_Data.key_lock, 0}, {"SYST:KLOC ON,1", -108}});
}

/// Sweeps of two levels over the sample memory.
TEST_F(Display, TheTopographicViewTakesEachPointWhileItIsShown) {
    platform::Set_Clock_Mode(platform::Clock_Mode::fast);
    std::vector<double> memory(platform::sample_memory_elements, -40.0);
    DSP_Trace_Data = memory.data();
    const auto sweep = [&](double level) {
        std::fill_n(memory.begin(), platform::quasi_peak_samples, level);
        memory[platform::written_count] = Trace_Data[0].processed + trace_points;
        readadc();
    };
    const auto hits = [](int row) {
        const auto& cells = TopographicData[static_cast<std::size_t>(row)];
        const auto [least, most] = std::ranges::minmax(cells);
        EXPECT_EQ(least, most);
        return int{most};
    };
    constexpr int row_of_40 = 180 * 274 / 450, row_of_60 = 270 * 274 / 450;
    sweep(-40);
    EXPECT_EQ(hits(row_of_40), 0) << "not shown";
    Topographic_Shown = 1;
    for (const double level : {-40.0, -60.0, -40.0, 50.0, -500.0}) sweep(level);
    EXPECT_EQ(hits(row_of_40), 2);
    EXPECT_EQ(hits(row_of_60), 1);
    EXPECT_EQ(hits(0) + hits(topographic_rows - 1), 2) << "beyond the graticule at its edges";
    Set_Trace_Mode(0, trace_blank);
    sweep(-40);
    EXPECT_EQ(hits(row_of_40), 2) << "a blank trace hits nothing";
    Preset_Instrument();
    EXPECT_EQ(hits(row_of_40) + Topographic_Shown, 0);
}

}  // namespace
