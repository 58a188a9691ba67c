#include "commands_rig.h"

namespace {

class Amplitude_Commands : public Factory_Commands {};

TEST_F(Amplitude_Commands, SettingsAndTheirAnswers) {
    Talk({{"DISP:TRAC:Y:RLEV -20;RLEV?", "-2.000000000e+01"},
          {":DISPlay:WINDow:TRACe:Y:SCALe:RLEVel -12.4 DBM;:DISP:WIND:TRAC:Y:SCAL:RLEV?", "-1.200000000e+01"},
          {"DISP:TRAC:Y:RLEV 1e300;RLEV?", "3.000000000e+01"}, {"DISP:TRAC:Y:RLEV 50 DBMV;RLEV?", "3.000000000e+00"},
          {"DISP:TRAC:Y:RLEV 97 DBUV;RLEV?", "-1.000000000e+01"}, {"DISP:TRAC:Y:RLEV 10 MV;RLEV?", "-2.700000000e+01"},
          {"DISP:TRAC:Y:RLEV 2 UW;RLEV?", "-2.700000000e+01"}, {"DISP:TRAC:Y:RLEV 0 V;RLEV?", "-1.200000000e+02"},
          {"DISP:TRAC:Y:RLEV 12;:INP:ATT?", "22"}, {"INP:ATT 60;:INP:ATT?;:INP:ATT:AUTO?", "50;0"},
          {"INP:ATT 5 DB;:DISP:TRAC:Y:RLEV?", "-5.000000000e+00"}, {"INP:ATT:AUTO ON;:INP:ATT?;:INP:ATT:AUTO?", "10;1"},
          {"INP:ATT:AUTO OFF;AUTO?", "0"},
          {"INP:ATT:AUTO 1;:POW:GAIN ON;:DISP:TRAC:Y:RLEV -30;:INP:ATT?;:SENS:POW:RF:GAIN?", "0;1"},
          {"POW:GAIN 0;:INP:ATT?;:POW:GAIN?", "10;0"},
          {"DISP:TRAC:Y:RLEV:OFFS 10.4;:DISP:TRAC:Y:RLEV:OFFS?;:DISP:TRAC:Y:RLEV?", "10;-2.000000000e+01"},
          {"DISP:TRAC:Y:RLEV:OFFS -1000DB;OFFS?", "-100"},
          {"DISP:TRAC:Y:RLEV:OFFS 0;:INP:OFFS 5;:INP:IMP 75;:INP:IMP?;:INP:OFFS?;:DISP:TRAC:Y:RLEV?",
           "75;5;-2.500000000e+01"},
          {"INP:IMP 50;:INP:IMP?;:DISP:TRAC:Y:RLEV?", "50;-3.000000000e+01"}, {"DISP:TRAC:Y:PDIV 2 DB;PDIV?", "2"},
          {"DISP:TRAC:Y:PDIV 8;PDIV?", "10"}, {"DISP:TRAC:Y:SPAC LIN;:DISP:TRAC:Y:SPAC?;:UNIT:POW?", "LINear;V"},
          {"DISP:TRAC:Y:SPAC LOG;:DISP:TRAC:Y:SPAC?;:UNIT:POW?", "LOGarithmic;DBM"},
          {"DISP:TRAC:Y:STAT OFF;STAT?", "0"}, {"DISP:TRAC:Y:POS CENT;POS?", "CENTer"}});
}

TEST_F(Amplitude_Commands, LevelsAreReadAndAnsweredInTheUnit) {
    Trace_Data[0].value[0].fill(-10);
    for (const auto& [unit, typed, answer, level] :
         {std::array{"DBM", "-10", "-1.000000000e+01", "-1.000e+01"}, {"DBMV", "37", "3.699000168e+01", "3.699e+01"},
          {"DBUV", "97", "9.698999786e+01", "9.699e+01"}, {"V", "0.07", "7.071067812e-02", "7.071e-02"},
          {"W", "1e-4", "1.000000000e-04", "1.000e-04"}}) {
        Ask("DISP:TRAC:Y:RLEV 0 DBM");
        Expect({{Errors(std::string("UNIT:POW ") + unit), Codes{}}, {Ask("UNIT:POW?"), unit},
                {Errors(std::string("DISP:TRAC:Y:RLEV ") + typed), Codes{}}, {Ask("DISP:TRAC:Y:RLEV?"), answer},
                {Ask("TRAC? TRACE1").substr(0, std::string_view(level).size() + 1), std::string(level) + ','}});
    }
    Ask("UNIT:POW V;:INP:IMP 75;:INP:OFFS 0");
    EXPECT_EQ(Ask("TRAC? TRACE1").substr(0, 10), "8.660e-02,") << "more volts at 75 ohm";
    Ask("INP:OFFS 6");
    EXPECT_EQ(Ask("TRAC? TRACE1").substr(0, 10), "1.728e-01,") << "as shown";
}

TEST_F(Amplitude_Commands, TheAutomaticScale) {
    Trace_Data[0].value[0].fill(-62);
    Trace_Data[0].value[0][9] = -47.3f;
    Talk({{"DISP:TRAC:Y:AUTO"}, {"DISP:TRAC:Y:RLEV?;:DISP:TRAC:Y:PDIV?", "-4.700000000e+01;5"},
          {"DISP:TRAC:Y:AUTO 1", -108}, {"DISP:TRAC:Y:SPAC LIN"}, {"DISP:TRAC:Y:AUTO", -221},
          {"DISP:TRAC:Y:PDIV 10", -221}});
}

TEST_F(Amplitude_Commands, WhatDoesNotSuitIsRefusedAndChangesNothing) {
    const Amp_Record before = Amp;
    Expect_Errors({"DISP:TRAC:Y:RLEV", "DISP:TRAC:Y:RLEV:OFFS", "DISP:TRAC:Y:PDIV", "INP:ATT", "INP:OFFS"},
                  {{" 1 HZ", -130}, {" 1 FURLONG", -131}, {" NAN", -224}, {" 1e999", -222}, {" -1e999", -222},
                   {"", -109},
                   {" 1,2", -108}, {"? 1", -108}});
    Talk({{"INP:ATT 10 DBM", -130}, {"DISP:TRAC:Y:RLEV 10 DB", -130}, {"INP:IMP 60", -224}, {"UNIT:POW DBW", -224},
          {"DISP:TRAC:Y:SPAC SQUARE", -224}, {"DISP:TRAC:Y:POS MIDDLE", -224}, {"POW:GAIN 2", -120}});
    Run_AuotSet_flag = 1;
    Expect_Error(-221, {"DISP:TRAC:Y:RLEV 1", "DISP:TRAC:Y:RLEV:OFFS 1", "DISP:TRAC:Y:PDIV 1", "DISP:TRAC:Y:SPAC LIN",
        "DISP:TRAC:Y:AUTO", "DISP:TRAC:Y:STAT 0", "DISP:TRAC:Y:POS RIGH", "INP:ATT 1", "INP:ATT:AUTO 0", "INP:IMP 75",
        "INP:OFFS 1", "POW:GAIN 1", "UNIT:POW V"});
    Talk({{"UNIT:POW?;:INP:ATT?", "DBM;10", "queries are answered"},
          {"", Amp.displayed_reference, before.displayed_reference},
          {"", Amp.attenuation_mode, before.attenuation_mode}, {"", Amp.correction_75, before.correction_75},
          {"", Amp.scale_code, before.scale_code}, {"", Amp.label_position, before.label_position}});
}

}  // namespace
