#include "commands_rig.h"

namespace {

constexpr const char* none = "9.910000000e+37";

/// Remote commands and keys of the markers, on a trace with three peaks: 980 MHz -30, 1000 MHz -20, 1020 MHz -40 dBm.
class Marker_Commands : public Factory_Commands {
protected:
    void SetUp() override {
        Factory_Commands::SetUp();
        Set_Span(2, 60e6);
        Set_Cent(2, 1e9);
        auto& values = Trace_Data[0].value[0];
        values.fill(-90);
        values[100] = -30, values[300] = -20, values[500] = -40;
        keylink = &FreqLink[0];
    }
};

TEST_F(Marker_Commands, PlacesAndLevelsAreSetAndAnswered) {
    Talk({{"CALC:MARK1:X 1.01 GHZ;X?", "1.010000000e+09"},
          {":CALCulate:MARKer10:X 1000040KHZ;:CALC:MARK10:X?", "1.000000000e+09"},
          {"CALC:MARK:X 1;:CALC:MARK1:X?", "9.700000000e+08"}, {"CALC:MARK2:X 9e99;X?", "1.030000000e+09"},
          {"CALC:MARK10:STAT ON;Y?", "-2.000000000e+01"},
          {"CALC:DELT10:X 20 MHZ;X?;Y?", "2.000000000e+07;-2.000000000e+01"},
          {"CALC:DELT10:X -1 GHZ;X?", "-3.000000000e+07"},
          {"CALC:DELT10:PAIR:SPAN 10 MHZ;:CALC:DELT10:X?;:CALC:MARK10:X?", "-1.000000000e+07;9.900000000e+08"},
          {"CALC:DELT10:PAIR:CENT 1 GHZ;:CALC:DELT10:X?;:CALC:MARK10:X?", "-1.000000000e+07;1.005000000e+09"},
          {"CALC:MARK10:TYPE NORM;:CALC:DELT10:X?;Y?", "9.910000000e+37;9.910000000e+37"},
          {"CALC:MARK3:TYPE DELT;TYPE?;STAT?", "DELTa;1"}, {"CALC:MARK3:NOIS:STAT 1;STAT?", "1"},
          {"CALC:MARK3:FCO:STAT 1;STAT?;:CALC:MARK3:NOIS:STAT?", "1;0"},
          {"CALC:MARK3:FCO:RES 8;RES?;RES:AUTO?", "1.000000000e+01;0"}, {"CALC:MARK3:TRAC 1;TRAC?;TRAC:AUTO?", "1;0"},
          {"CALC:MARK3:TRAC:AUTO 1;AUTO?", "1"}, {"CALC:MARK:TABL:STAT ON;STAT?;:CALC:MARK:PEAK:TABL:STAT?", "1;0"},
          {"CALC:MARK:PEAK:TABL:STAT ON;:CALC:MARK:TABL:STAT?;:CALC:MARK:PEAK:TABL:STAT?", "0;1"},
          {"CALC:MARK:AOFF;:CALC:MARK3:STAT?;:CALC:MARK1:STAT?", "0;0"},
          {"CALC:MARK:PEAK:EXC 6 DB;EXC?", "6.000000000e+00"}, {"CALC:MARK:PEAK:EXC 1000;EXC?", "1.000000000e+02"},
          {"CALC:MARK:PEAK:THR 46.99 DBMV;THR?", "0.000000000e+00"}, {"CALC:MARK:PEAK:THR:STAT ON;STAT?", "1"},
          {"CALC:MARK:PEAK:SORT:TYPE AMPL;TYPE?", "AMPLitude"},
          {"CALC:MARK:PEAK:CTR:STAT ON;STAT?;:CALC:MARK3:STAT?", "1;1"}});
}

TEST_F(Marker_Commands, WhatIsOffHasNoReading) {
    for (const char* query :
         {"MARK1:X?", "MARK1:Y?", "MARK1:FCO:X?", "MARK1:NOIS:Y?", "MARK1:VSWR:Y?", "DELT1:X?", "DELT1:Y?"})
        EXPECT_EQ(Ask(std::string("CALC:") + query), none) << query;
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
    Talk({{"CALC:MARK2:PEAK MAX;X?", "1.000000000e+09"}, {"CALC:MARK2:PEAK NEXT;X?", "9.800000000e+08"},
          {"CALC:MARK2:PEAK RIGHT;X?", "1.000000000e+09"}, {"CALC:MARK2:PEAK RIGHT;X?", "1.020000000e+09"},
          {"CALC:MARK2:PEAK LEFT;X?", "1.000000000e+09"}, {"CALC:MARK2:PEAK MIN;X?", "9.700000000e+08"},
          {"CALC:MARK:PEAK:DATA?",
           "3,9.799833611e+08,-3.000000000e+01,9.999500832e+08,-2.000000000e+01,1.019916805e+09,-4.000000000e+01"},
          {"CALC:MARK:PEAK:SORT:TYPE AMPL;:CALC:MARK:PEAK:THR -35;:CALC:MARK:PEAK:THR:STAT 1"},
          {"CALC:MARK:PEAK:DATA?", "2,9.999500832e+08,-2.000000000e+01,9.799833611e+08,-3.000000000e+01"}});
    Trace_Data[0].value[0].fill(-50);
    Talk({{"CALC:MARK:PEAK:DATA?", "0"}, {"CALC:MARK2:PEAK MAX", -200},
          {"CALC:MARK2:X?", "9.700000000e+08", "nothing moves"}});
}

TEST_F(Marker_Commands, MarkerToNeedsWhatItTakes) {
    Expect_Error(-221, {"CALC:MARK1:SET CENT", "CALC:MARK1:SET STAR", "CALC:MARK1:SET STOP", "CALC:MARK1:SET STEP",
        "CALC:MARK1:SET RLEV", "CALC:MARK1:SET SPAN"});
    Talk({{"CALC:MARK1:X 1.01 GHZ"}, {"CALC:MARK1:SET CENT"}, {"FREQ:CENT?", "1.010000000e+09"},
          {"CALC:MARK1:SET SPAN", -221}, {"CALC:DELT1:X 5 MHZ"}, {"CALC:MARK1:SET SPAN"},
          {"FREQ:SPAN?", "5.000000000e+06"}, {"FREQ:SPAN 0"}});
    Expect_Error(-221, {"CALC:MARK1:SET STAR", "CALC:MARK1:SET STOP", "CALC:MARK1:SET STEP", "CALC:MARK1:SET SPAN"});
    Talk({{"CALC:MARK1:SET CENT"}, {"CALC:MARK1:FCO:STAT ON", -221}, {"CALC:MARK:PEAK:CTR:STAT ON", -221},
          {"CALC:MARK1:VSWR:STAT ON", -221}, {"CALC:MARK1:TRAC 2", -221, "blank"}});
}

TEST_F(Marker_Commands, WrongNumbersUnitsAndParametersAreRefusedAndChangeNothing) {
    Ask("CALC:MARK1:X 1.01 GHZ");
    const Marker_Record before = Marker_Data;
    for (const char* header : {"MARK#:X 1 GHZ", "MARK#:X?", "MARK#:Y?", "DELT#:X 1", "DELT#:Y?", "DELT#:PAIR:SPAN 1",
                               "MARK#:PEAK MAX", "MARK#:SET CENT", "MARK#:STAT ON", "MARK#:TYPE DELT", "MARK#:TRAC 1",
                               "MARK#:NOIS:STAT ON", "MARK#:NOIS:Y?", "MARK#:VSWR:Y?", "MARK#:FCO:X?", "MARK#:FCO:RES 1",
                               "MARK#:FCO:RES:AUTO 0"}) {
        for (const char* number : {"0", "11", "4294967297"}) {
            const std::string message = std::string("CALC:") + header;
            Expect_Error(-114, {std::string(message).replace(message.find('#'), 1, number).c_str()});
        }
    }
    Expect_Errors({"CALC:MARK1:X", "CALC:DELT1:X", "CALC:DELT1:PAIR:SPAN", "CALC:DELT1:PAIR:CENT"},
                  {{" 1 S", -130}, {" NAN", -224}, {" INF", -224}, {" 1e999", -222}, {"", -109}, {" 1,2", -108}});
    Talk({{"CALC:MARK1:TRAC 5", -222}, {"CALC:MARK1:TRAC 0", -222}, {"CALC:MARK1:PEAK UP", -224},
          {"CALC:MARK1:PEAK", -109}, {"CALC:MARK1:SET HOME", -224}, {"CALC:MARK1:TYPE FIXed", -224},
          {"CALC:MARK:PEAK:THR 1 HZ", -130}, {"CALC:MARK:PEAK:EXC 1 DBM", -130}, {"CALC:MARK1:Y? 1", -108},
          {"", Marker_Data.on, before.on}, {"", Marker_Data.frequency, before.frequency},
          {"", Marker_Data.delta, before.delta}});
    Run_AuotSet_flag = 1;
    Expect_Error(-221, {"CALC:MARK1:X 1", "CALC:DELT1:X 1", "CALC:MARK1:PEAK MAX", "CALC:MARK1:SET CENT",
        "CALC:MARK:AOFF", "CALC:MARK:PEAK:TABL:STAT 1"});
    EXPECT_EQ(Ask("CALC:MARK1:X?"), "1.010000000e+09");
}

TEST_F(Marker_Commands, InZeroSpanPlacesAreTimes) {
    Ask("FREQ:SPAN 0");
    Sweep_Data.time[0] = 0.6;
    Talk({{"CALC:MARK1:X 150 MS"}, {"CALC:MARK1:X?", "1.500000000e-01"}, {"CALC:MARK1:X 1 HZ", -130},
          {"CALC:DELT1:X -50 MS", Marker_Data.delta_column[0][0], 100}});
}

TEST_F(Marker_Commands, TheMarkerPagesWork) {
    Walk({{"MARKER f0 3", NumLink[8]}, {"f0", [&] { return Active_Marker(); }, 2}, {"f1", Marker_Data.on[2][0], 1},
          {"f2 1.01 f0 >"}});
    EXPECT_EQ(Ask("CALC:MARK3:X?"), "1.010100000e+09");
    Keys("f3");
    EXPECT_EQ(Marker_Data.delta_column[2][0], Marker_Data.column[2][0]) << "the partner starts at the marker";
    Keys("-5 f1 up");
    EXPECT_EQ(Ask("CALC:DELT3:X?"), "1.000000000e+06") << "typed, then a division up";
    Walk({{"f4 f0 10 f1", [&] { return Pair_Span(2); }, 10e6}, {"f2", Freqs.span[0], 10e6, "the pair spans the axis"},
          {"f6 f5 f0", Marker_Data.noise[2][0], 1}, {"f2", Marker_Data.vswr[2][0], 0, "greyed without normalisation"},
          {"f1 f0", Marker_Data.counter[2][0], 1}, {"f1 down down", [&] { return Marker_Resolution(); }, 1},
          {"f1", [&] { return Marker_Resolution(); }, 100, "automatic again, with 100 kHz"},
          {"f6 f3", Marker_Data.counter[2][0], 0}, {"f6 f6 f1", Global_Table, table_marker},
          {"f0 f1", Marker_Data.delta_trace[2][0], 0}, {"f2", Marker_Data.delta_trace[2][0], 0, "trace B is blank"},
          {"", MarkerLink[4].highlight, 1, "the one in force"}, {"f6 f2", Marker_Data.on[2][0], 0},
          {"", Global_Table, 0}});
}

TEST_F(Marker_Commands, ThePeakAndMarkerToPagesWork) {
    Walk({{"PEAK f0 f1", Marker_Data.column[0][0], 100}, {"f2 f2 f3 f5", Freqs.center[0], 1e9},
          {"f4", Marker_Data.column[0][0], 0}, {"f6 f0 6 f0 up", Peak_Data.excursion, 7},
          {"f1 -35 f0", Peak_Data.threshold, -35}, {"", Peak_Data.threshold_on, 1, "a typed threshold is in force"},
          {"f1", Peak_Data.threshold_on, 0}, {"f3 f4 f2", Global_Table, table_peak}, {"", Peak_Data.by_level, 1},
          {"", Marker_Data.column[0][0], 300, "tracking"},
          {"TO f5", Freqs.span[0], 60e6, "greyed without a delta marker"}, {"f1", Freqs.step[0], 1e9},
          {"f4", Amp.reference[0], -20}});
    Ask("CALC:MARK1:TYPE DELT;:CALC:DELT1:X 6 MHZ");
    Walk({{"TO f6", Freqs.center[0], 1003e6}, {"f5", Freqs.span[0], 6e6}, {"f3", Freqs.stop[0], 1006e6}, {"PRESET"}});
    EXPECT_EQ(Marker_Data.on[0][0] + Marker_Data.delta[0][0] + Global_Table + Peak_Data.by_level + Peak_Data.tracking, 0);
    EXPECT_EQ(Peak_Data.excursion, 3);
}

}  // namespace
