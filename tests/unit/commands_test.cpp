#include "commands_rig.h"

namespace {

TEST_F(Commands, EveryRowIsInTheOrderOnceAndReachesItsHandler) {
    std::vector<std::string_view> offered;
    for (const auto family : Command_Families()) {
        for (const ScpiCommand& row : family) {
            const std::string_view pattern = row.pattern;
            EXPECT_TRUE(std::ranges::find(command_order, pattern) != command_order.end()) << pattern;
            EXPECT_TRUE(std::ranges::find(offered, pattern) == offered.end()) << pattern << " twice";
            EXPECT_NE(row.handler, nullptr);
            offered.push_back(pattern);
        }
    }
    std::size_t rows = 0;
    auto place = command_order.begin();
    for (; scpi_commands[rows].pattern; ++rows) {
        place = std::find(place, command_order.end(), std::string_view(scpi_commands[rows].pattern));
        ASSERT_NE(place, command_order.end()) << scpi_commands[rows].pattern << " stands too late";
    }
    const auto is_offered = [&](std::string_view pattern) { return std::ranges::find(offered, pattern) != offered.end(); };
    EXPECT_EQ(static_cast<long>(rows), std::ranges::count_if(command_order, is_offered)) << "some stand twice";
}

TEST_F(Commands, EnablesAndTheStatusByte) {
    Talk({{"*ESE 32;*SRE 32"}, {"*ESE?;*SRE?", "32;32"}, {"*STB?", "0"}});
    Ask("NO:SUCH:HEADER");
    EXPECT_EQ(Ask("*STB?;*STB?"), "100;100") << "error queue, standard event, request service; asking clears nothing";
    EXPECT_EQ(Ask("*ESR?;*ESR?;*STB?"), "32;0;4");
    Talk({{"*ESE #HFF;*ESE?", "255"}, {"*ESE", -109}, {"*SRE 1,2", -108},
          {"*SRE?;*ESE?", "32;255", "refused settings change nothing"}});
}

TEST_F(Commands, ParameterlessCommandsTakeNone) {
    for (const char* header : {"*CLS", "*ESR?", "*IDN?", "*OPC", "*OPC?", "*RST", "*TST?", "*WAI", "SYST:ERR?",
                               "SYST:ERR:CLE", "STAT:PRES", "STAT:QUES:FREQ?"}) {
        EXPECT_EQ(Errors(std::string(header) + " 1"), Codes{-108}) << header;
    }
    EXPECT_EQ(Ask("*TST?"), "0");
}

TEST_F(Commands, IdentificationFollowsTheSystemInformation) {
    System_Information_Data.model = "KVA7230";
    System_Information_Data.firmware = "0.1";
    EXPECT_EQ(Ask("*IDN?"), "0,KVA7230,0,0.1");
    System_Information_Data.maker = "A maker whose name is longer than a string holds in itself";
    System_Information_Data.serial_number = "S1";
    EXPECT_EQ(Ask("*IDN?"), System_Information_Data.maker + ",KVA7230,S1,0.1");
}

TEST_F(Commands, TheErrorQueueIsReadOldestFirst) {
    EXPECT_EQ(Ask("SYST:ERR?"), "0,\"No error\"");
    Ask("NONE");
    Ask("*ESE ON");
    EXPECT_EQ(Ask("SYSTem:ERRor:NEXT?;*STB?"), "-113,\"Undefined      header\";4");
    EXPECT_EQ(Ask(":SYST:ERR?;ERR?;*STB?"), "-104,\"Data      type      error\";0,\"No error\";0");
    for (int i = 0; i < 101; ++i) Ask("NONE");
    EXPECT_EQ(Ask(":SYST:ERR:CLE;:SYST:ERR?"), "0,\"No error\"");
}

TEST_F(Commands, ClearStatusLeavesNoEventBehind) {
    std::vector<int> handed;
    static std::vector<int>* controls;
    controls = &handed;
    scpi_interface.control = [](ScpiContext&, int control, std::uint32_t) { controls->push_back(control); };
    Ask("STAT:QUES:NTR 65535");
    SCPI_RegSet(scpi_context, reg_questionable_frequency + set_condition, 32);
    SCPI_RegSet(scpi_context, reg_operation + set_condition, 32);
    Ask("NONE");
    Command_Opc_Flag = 1;
    Talk({{"*CLS"}, {"*ESR?;:STAT:QUES?;:STAT:QUES:FREQ?;:STAT:OPER?;:SYST:ERR?", "0;0;0;0;0,\"No error\""},
          {"STAT:OPER:COND?", "32", "conditions stay"}, {"", Command_Opc_Flag, 0}});
    EXPECT_EQ(handed, std::vector<int>{control_status_cleared});
}

struct Set_Case {
    const char* header;
    Scpi_Register base;
};
constexpr std::array<Set_Case, 6> register_sets{{{"STAT:OPER", reg_operation},
                                                 {"STATus:QUEStionable", reg_questionable},
                                                 {"STAT:QUES:ACPL", reg_questionable_acplimit},
                                                 {"STAT:QUES:FREQ", reg_questionable_frequency},
                                                 {"STAT:QUES:SEML", reg_questionable_semlimit},
                                                 {"STAT:QUES:TOIL", reg_questionable_toilimit}}};

TEST_F(Commands, EveryStatusRowWorksOnItsOwnRegister) {
    std::uint32_t value = 1000;
    for (const auto& [header, base] : register_sets) {
        const std::string root = header;
        for (const auto& [node, member] :
             {std::pair{":ENAB", set_enable}, {":NTR", set_negative}, {":PTR", set_positive}}) {
            const std::string text = std::to_string(++value);
            Ask(root + node + " " + text);
            EXPECT_EQ(SCPI_RegGet(scpi_context, base + member), value) << header << node;
            EXPECT_EQ(Ask(root + node + "?"), text);
        }
    }
    Ask("STAT:PRES");
    for (const auto& [header, base] : register_sets) {
        const std::string root = header;
        SCPI_RegSet(scpi_context, base + set_condition, 0);
        SCPI_RegSet(scpi_context, base + set_event, 0);
        SCPI_RegSet(scpi_context, base + set_condition, 2);
        SCPI_RegSet(scpi_context, base + set_condition, 0);
        EXPECT_EQ(Ask(root + "?"), "2");
        EXPECT_EQ(Ask(root + ":EVEN?"), "2") << "reading clears nothing";
        SCPI_RegSet(scpi_context, base + set_condition, 4);
        EXPECT_EQ(Ask(root + ":COND?"), "4");
        EXPECT_EQ(Ask(root + ":NTR?;PTR?"), "0;65535");
    }
    EXPECT_EQ(Ask("STAT:OPER:ENAB?;:STAT:QUES:ENAB?;:STAT:QUES:TOIL:ENAB?"), "0;0;65535");
}

TEST_F(Commands, TheBusyInstrumentRefusesStatusSettingsButAnswers) {
    void (*const reasons[])(bool on) = {
        [](bool on) { Run_AuotSet_flag = on; },
        [](bool on) { FunctionMode_Flag = on ? mode_power_meter : mode_spectrum; },
        [](bool on) { Sweep_Data.busy = on; },
        [](bool on) { Global_Table = on ? table_split : 0; },
    };
    for (const auto reason : reasons) {
        reason(true);
        Talk({{"STAT:OPER:ENAB 7", -221}, {"STAT:QUES:SEML:PTR 7", -221},
              {"STAT:OPER:ENAB?;:STAT:QUES:SEML:PTR?", "0;65535"}, {"*ESE 1;*CLS;:STAT:PRES"}});
        reason(false);
    }
    EXPECT_EQ(Errors("STAT:OPER:ENAB 7"), None());
}

}  // namespace
