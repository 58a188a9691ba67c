#include <string>

#include "commands_rig.h"
#include "keys/dispatch.h"
#include "keys/key_codes.h"
#include "keys/pages.h"
#include "panel.h"
#include "records/amp.h"
#include "records/analysis.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/sweep.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "trace/acquisition.h"
#include "trace/markers.h"
#include "trace/peak_search.h"

namespace {

using Codes = std::vector<int>;
constexpr const char* none = "9.910000000e+37";

/// Remote commands and keys of the markers, on a trace with three peaks: 980 MHz -30, 1000 MHz -20, 1020 MHz -40 dBm.
class Marker_Commands : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        root.Write("/var/log/error.log", "");
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Init_Trace_Data();
        PeakSearch_Init();
        Marker_Init();
        Set_Span(2, 60e6);
        Set_Cent(2, 1e9);
        auto& values = Trace_Data[0].value[0];
        values.fill(-90);
        values[100] = -30, values[300] = -20, values[500] = -40;
        keylink = &FreqLink[0];
    }
};

constexpr std::int32_t soft(int key) { return key_soft_first + key; }

TEST_F(Marker_Commands, PlacesAndLevelsAreSetAndAnswered) {
    constexpr struct {
        const char *setting, *query, *answer;
    } cases[] = {
        {"CALC:MARK1:X 1.01 GHZ", "CALC:MARK1:X?", "1.010000000e+09"},
        {":CALCulate:MARKer10:X 1000040KHZ", "CALC:MARK10:X?", "1.000000000e+09"},
        {"CALC:MARK:X 1", "CALC:MARK1:X?", "9.700000000e+08"},
        {"CALC:MARK2:X 9e99", "CALC:MARK2:X?", "1.030000000e+09"},
        {"CALC:MARK10:STAT ON", "CALC:MARK10:Y?", "-2.000000000e+01"},
        {"CALC:DELT10:X 20 MHZ", "CALC:DELT10:X?;Y?", "2.000000000e+07;-2.000000000e+01"},
        {"CALC:DELT10:X -1 GHZ", "CALC:DELT10:X?", "-3.000000000e+07"},
        {"CALC:DELT10:PAIR:SPAN 10 MHZ", "CALC:DELT10:X?;:CALC:MARK10:X?", "-1.000000000e+07;9.900000000e+08"},
        {"CALC:DELT10:PAIR:CENT 1 GHZ", "CALC:DELT10:X?;:CALC:MARK10:X?", "-1.000000000e+07;1.005000000e+09"},
        {"CALC:MARK10:TYPE NORM", "CALC:DELT10:X?;Y?", "9.910000000e+37;9.910000000e+37"},
        {"CALC:MARK3:TYPE DELT", "CALC:MARK3:TYPE?;STAT?", "DELTa;1"},
        {"CALC:MARK3:NOIS:STAT 1", "CALC:MARK3:NOIS:STAT?", "1"},
        {"CALC:MARK3:FCO:STAT 1", "CALC:MARK3:FCO:STAT?;:CALC:MARK3:NOIS:STAT?", "1;0"},
        {"CALC:MARK3:FCO:RES 8", "CALC:MARK3:FCO:RES?;RES:AUTO?", "1.000000000e+01;0"},
        {"CALC:MARK3:TRAC 1", "CALC:MARK3:TRAC?;TRAC:AUTO?", "1;0"},
        {"CALC:MARK3:TRAC:AUTO 1", "CALC:MARK3:TRAC:AUTO?", "1"},
        {"CALC:MARK:TABL:STAT ON", "CALC:MARK:TABL:STAT?;:CALC:MARK:PEAK:TABL:STAT?", "1;0"},
        {"CALC:MARK:PEAK:TABL:STAT ON", "CALC:MARK:TABL:STAT?;:CALC:MARK:PEAK:TABL:STAT?", "0;1"},
        {"CALC:MARK:AOFF", "CALC:MARK3:STAT?;:CALC:MARK1:STAT?", "0;0"},
        {"CALC:MARK:PEAK:EXC 6 DB", "CALC:MARK:PEAK:EXC?", "6.000000000e+00"},
        {"CALC:MARK:PEAK:EXC 1000", "CALC:MARK:PEAK:EXC?", "1.000000000e+02"},
        {"CALC:MARK:PEAK:THR 46.99 DBMV", "CALC:MARK:PEAK:THR?", "0.000000000e+00"},
        {"CALC:MARK:PEAK:THR:STAT ON", "CALC:MARK:PEAK:THR:STAT?", "1"},
        {"CALC:MARK:PEAK:SORT:TYPE AMPL", "CALC:MARK:PEAK:SORT:TYPE?", "AMPLitude"},
        {"CALC:MARK:PEAK:CTR:STAT ON", "CALC:MARK:PEAK:CTR:STAT?;:CALC:MARK3:STAT?", "1;1"},
    };
    for (const auto& [setting, query, text] : cases) {
        EXPECT_EQ(Errors(setting), Codes{}) << setting;
        EXPECT_EQ(Ask(query), text) << setting;
    }
}

TEST_F(Marker_Commands, WhatIsOffHasNoReading) {
    for (const char* query : {"CALC:MARK1:X?", "CALC:MARK1:Y?", "CALC:MARK1:FCO:X?", "CALC:MARK1:NOIS:Y?",
                              "CALC:MARK1:VSWR:Y?", "CALC:DELT1:X?", "CALC:DELT1:Y?"}) {
        EXPECT_EQ(Ask(query), none) << query;
    }
    Ask("CALC:MARK1:STAT ON");
    for (auto& trace : Trace_Data[0].mode) trace = trace_blank;
    EXPECT_EQ(Ask("CALC:MARK1:Y?"), none);
}

TEST_F(Marker_Commands, LevelsFollowUnitAndOffset) {
    Ask("CALC:MARK1:X 1 GHZ");
    Set_ReflevelOffset(2, 10);
    EXPECT_EQ(Ask("CALC:MARK1:Y?"), "-1.000000000e+01");
    Amp.unit = unit_dbuv;
    EXPECT_EQ(Ask("CALC:MARK1:Y?"), "9.698999786e+01");
    Amp.unit = unit_watt;
    EXPECT_EQ(Ask("CALC:MARK1:Y?"), "1.000000000e-04");
    EXPECT_EQ(Ask("CALC:DELT1:X 20 MHZ;:CALC:DELT1:Y?"), "-2.000000000e+01") << "differences stay dB";
}

TEST_F(Marker_Commands, PeaksAreSearchedAndListed) {
    const auto place = [](const char* word) {
        EXPECT_EQ(Errors(std::string("CALC:MARK2:PEAK ") + word), Codes{});
        return Ask("CALC:MARK2:X?");
    };
    EXPECT_EQ(place("MAX"), "1.000000000e+09");
    EXPECT_EQ(place("NEXT"), "9.800000000e+08");
    EXPECT_EQ(place("RIGHT"), "1.000000000e+09");
    EXPECT_EQ(place("RIGHT"), "1.020000000e+09");
    EXPECT_EQ(place("LEFT"), "1.000000000e+09");
    EXPECT_EQ(place("MIN"), "9.700000000e+08");
    EXPECT_EQ(Ask("CALC:MARK:PEAK:DATA?"), "3,9.799833611e+08,-3.000000000e+01,9.999500832e+08,-2.000000000e+01,"
                                           "1.019916805e+09,-4.000000000e+01");
    Ask("CALC:MARK:PEAK:SORT:TYPE AMPL;:CALC:MARK:PEAK:THR -35;:CALC:MARK:PEAK:THR:STAT 1");
    EXPECT_EQ(Ask("CALC:MARK:PEAK:DATA?"), "2,9.999500832e+08,-2.000000000e+01,9.799833611e+08,-3.000000000e+01");
    Trace_Data[0].value[0].fill(-50);
    EXPECT_EQ(Ask("CALC:MARK:PEAK:DATA?"), "0");
    EXPECT_EQ(Errors("CALC:MARK2:PEAK MAX"), Codes{-200});
    EXPECT_EQ(Ask("CALC:MARK2:X?"), "9.700000000e+08") << "nothing moves";
}

TEST_F(Marker_Commands, MarkerToNeedsWhatItTakes) {
    for (const char* word : {"CENT", "STAR", "STOP", "STEP", "RLEV", "SPAN"}) {
        EXPECT_EQ(Errors(std::string("CALC:MARK1:SET ") + word), Codes{-221}) << word;
    }
    Ask("CALC:MARK1:X 1.01 GHZ");
    EXPECT_EQ(Errors("CALC:MARK1:SET CENT"), Codes{});
    EXPECT_EQ(Ask("FREQ:CENT?"), "1.010000000e+09");
    EXPECT_EQ(Errors("CALC:MARK1:SET SPAN"), Codes{-221});
    Ask("CALC:DELT1:X 5 MHZ");
    EXPECT_EQ(Errors("CALC:MARK1:SET SPAN"), Codes{});
    EXPECT_EQ(Ask("FREQ:SPAN?"), "5.000000000e+06");
    Ask("FREQ:SPAN 0");
    for (const char* word : {"STAR", "STOP", "STEP", "SPAN"}) {
        EXPECT_EQ(Errors(std::string("CALC:MARK1:SET ") + word), Codes{-221}) << word;
    }
    EXPECT_EQ(Errors("CALC:MARK1:SET CENT"), Codes{});
    EXPECT_EQ(Errors("CALC:MARK1:FCO:STAT ON"), Codes{-221});
    EXPECT_EQ(Errors("CALC:MARK:PEAK:CTR:STAT ON"), Codes{-221});
    EXPECT_EQ(Errors("CALC:MARK1:VSWR:STAT ON"), Codes{-221});
    EXPECT_EQ(Errors("CALC:MARK1:TRAC 2"), Codes{-221}) << "blank";
}

TEST_F(Marker_Commands, WrongNumbersUnitsAndParametersAreRefusedAndChangeNothing) {
    Ask("CALC:MARK1:X 1.01 GHZ");
    const Marker_Record before = Marker_Data;
    for (const char* header : {"CALC:MARK#:X 1 GHZ", "CALC:MARK#:X?", "CALC:MARK#:Y?", "CALC:DELT#:X 1", "CALC:DELT#:Y?",
                               "CALC:DELT#:PAIR:SPAN 1", "CALC:MARK#:PEAK MAX", "CALC:MARK#:SET CENT",
                               "CALC:MARK#:STAT ON", "CALC:MARK#:TYPE DELT", "CALC:MARK#:TRAC 1",
                               "CALC:MARK#:NOIS:STAT ON", "CALC:MARK#:NOIS:Y?", "CALC:MARK#:VSWR:Y?",
                               "CALC:MARK#:FCO:X?", "CALC:MARK#:FCO:RES 1", "CALC:MARK#:FCO:RES:AUTO 0"}) {
        for (const char* number : {"0", "11", "4294967297"}) {
            std::string message = header;
            message.replace(message.find('#'), 1, number);
            EXPECT_EQ(Errors(message), Codes{-114}) << message;
        }
    }
    for (const char* setting : {"CALC:MARK1:X", "CALC:DELT1:X", "CALC:DELT1:PAIR:SPAN", "CALC:DELT1:PAIR:CENT"}) {
        const std::string header = setting;
        EXPECT_EQ(Errors(header + " 1 S"), Codes{-130}) << "a time in a swept span";
        EXPECT_EQ(Errors(header + " NAN"), Codes{-224});
        EXPECT_EQ(Errors(header + " INF"), Codes{-224});
        EXPECT_EQ(Errors(header + " 1e999"), Codes{-222});
        EXPECT_EQ(Errors(header), Codes{-109});
        EXPECT_EQ(Errors(header + " 1,2"), Codes{-108});
    }
    EXPECT_EQ(Errors("CALC:MARK1:TRAC 5"), Codes{-222});
    EXPECT_EQ(Errors("CALC:MARK1:TRAC 0"), Codes{-222});
    EXPECT_EQ(Errors("CALC:MARK1:PEAK UP"), Codes{-224});
    EXPECT_EQ(Errors("CALC:MARK1:PEAK"), Codes{-109});
    EXPECT_EQ(Errors("CALC:MARK1:SET HOME"), Codes{-224});
    EXPECT_EQ(Errors("CALC:MARK1:TYPE FIXed"), Codes{-224});
    EXPECT_EQ(Errors("CALC:MARK:PEAK:THR 1 HZ"), Codes{-130});
    EXPECT_EQ(Errors("CALC:MARK:PEAK:EXC 1 DBM"), Codes{-130});
    EXPECT_EQ(Errors("CALC:MARK1:Y? 1"), Codes{-108});
    EXPECT_EQ(Marker_Data.on, before.on);
    EXPECT_EQ(Marker_Data.frequency, before.frequency);
    EXPECT_EQ(Marker_Data.delta, before.delta);
    Run_AuotSet_flag = 1;
    for (const char* setting : {"CALC:MARK1:X 1", "CALC:DELT1:X 1", "CALC:MARK1:PEAK MAX", "CALC:MARK1:SET CENT",
                                "CALC:MARK:AOFF", "CALC:MARK:PEAK:TABL:STAT 1"}) {
        EXPECT_EQ(Errors(setting), Codes{-221}) << setting;
    }
    EXPECT_EQ(Ask("CALC:MARK1:X?"), "1.010000000e+09");
}

TEST_F(Marker_Commands, InZeroSpanPlacesAreTimes) {
    Ask("FREQ:SPAN 0");
    Sweep_Data.time[0] = 0.6;
    EXPECT_EQ(Errors("CALC:MARK1:X 150 MS"), Codes{});
    EXPECT_EQ(Ask("CALC:MARK1:X?"), "1.500000000e-01");
    EXPECT_EQ(Errors("CALC:MARK1:X 1 HZ"), Codes{-130});
    Ask("CALC:DELT1:X -50 MS");
    EXPECT_EQ(Marker_Data.delta_column[0][0], 100);
}

TEST_F(Marker_Commands, TheMarkerPagesWork) {
    Press({key_marker, soft(0)});
    Type("3");
    EXPECT_EQ(keylink.load(), &NumLink[8]);
    Press({soft(0)});
    EXPECT_EQ(Active_Marker(), 2);
    Press({soft(1)});
    EXPECT_EQ(Marker_Data.on[2][0], 1);
    Press({soft(2)});
    Type("1.01");
    Press({soft(0), key_knob_right_first});
    EXPECT_EQ(Ask("CALC:MARK3:X?"), "1.010100000e+09");
    Press({soft(3)});
    EXPECT_EQ(Marker_Data.delta_column[2][0], Marker_Data.column[2][0]) << "the partner starts at the marker";
    Type("-5");
    Press({soft(1), key_up});
    EXPECT_EQ(Ask("CALC:DELT3:X?"), "1.000000000e+06") << "typed, then a division up";
    Press({soft(4), soft(0)});
    Type("10");
    Press({soft(1)});
    EXPECT_EQ(Pair_Span(2), 10e6);
    Press({soft(2)});
    EXPECT_EQ(Freqs.span[0], 10e6) << "the pair spans the axis";
    Press({soft(6), soft(5), soft(0)});
    EXPECT_EQ(Marker_Data.noise[2][0], 1);
    Press({soft(2)});
    EXPECT_EQ(Marker_Data.vswr[2][0], 0) << "greyed without normalisation";
    Press({soft(1), soft(0)});
    EXPECT_EQ(Marker_Data.counter[2][0], 1);
    Press({soft(1), key_down, key_down});
    EXPECT_EQ(Marker_Resolution(), 1);
    Press({soft(1)});
    EXPECT_EQ(Marker_Resolution(), 100) << "automatic again, with 100 kHz";
    Press({soft(6), soft(3)});
    EXPECT_EQ(Marker_Data.counter[2][0], 0);
    Press({soft(6), soft(6), soft(1)});
    EXPECT_EQ(Global_Table, table_marker);
    Press({soft(0), soft(1)});
    EXPECT_EQ(Marker_Data.delta_trace[2][0], 0);
    Press({soft(2)});
    EXPECT_EQ(Marker_Data.delta_trace[2][0], 0) << "trace B is blank";
    EXPECT_EQ(MarkerLink[4].highlight, 1) << "the one in force";
    Press({soft(6), soft(2)});
    EXPECT_EQ(Marker_Data.on[2][0], 0);
    EXPECT_EQ(Global_Table, 0);
}

TEST_F(Marker_Commands, ThePeakAndMarkerToPagesWork) {
    Press({key_peak_search, soft(0), soft(1)});
    EXPECT_EQ(Marker_Data.column[0][0], 100);
    Press({soft(2), soft(2), soft(3), soft(5)});
    EXPECT_EQ(Freqs.center[0], 1e9);
    Press({soft(4)});
    EXPECT_EQ(Marker_Data.column[0][0], 0);
    Press({soft(6), soft(0)});
    Type("6");
    Press({soft(0), key_up});
    EXPECT_EQ(Peak_Data.excursion, 7);
    Press({soft(1)});
    Type("-35");
    Press({soft(0)});
    EXPECT_EQ(Peak_Data.threshold, -35);
    EXPECT_EQ(Peak_Data.threshold_on, 1) << "a typed threshold is in force";
    Press({soft(1)});
    EXPECT_EQ(Peak_Data.threshold_on, 0);
    Press({soft(3), soft(4), soft(2)});
    EXPECT_EQ(Global_Table, table_peak);
    EXPECT_EQ(Peak_Data.by_level, 1);
    EXPECT_EQ(Marker_Data.column[0][0], 300) << "tracking";
    Press({key_marker_to, soft(5)});
    EXPECT_EQ(Freqs.span[0], 60e6) << "greyed without a delta marker";
    Press({soft(1)});
    EXPECT_EQ(Freqs.step[0], 1e9);
    Press({soft(4)});
    EXPECT_EQ(Amp.reference[0], -20);
    Ask("CALC:MARK1:TYPE DELT;:CALC:DELT1:X 6 MHZ");
    Press({key_marker_to, soft(6)});
    EXPECT_EQ(Freqs.center[0], 1003e6);
    Press({soft(5)});
    EXPECT_EQ(Freqs.span[0], 6e6);
    Press({soft(3)});
    EXPECT_EQ(Freqs.stop[0], 1006e6);
    Press({key_preset});
    EXPECT_EQ(Marker_Data.on[0][0] + Marker_Data.delta[0][0] + Global_Table + Peak_Data.by_level + Peak_Data.tracking, 0);
    EXPECT_EQ(Peak_Data.excursion, 3);
}

}  // namespace
