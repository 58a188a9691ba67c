#include "app/remote_base.h"
#include "commands_rig.h"

namespace {

class Preset_Commands : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        scpi_interface.reset = [](ScpiContext&) { Reset_Instrument(); };
        std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
        Preset_Instrument();
    }
    /// Settings of some areas other than the factory's.
    static void Change_Settings() {
        Ask("FREQ:CENT 433MHZ;SPAN 5MHZ");
        Set_Reflevel(2, -20);
        Trace_Data[0].mode[1] = trace_max_hold;
        Display_Data.key_lock = 1;
        Display_Data.active = 0;
        Display_Data.brightness = 40;
        Ask("INIT:CONT OFF");
        SweepSingle_Data = 1;
    }
    static void Expect_Factory() {
        Walk({{"", Freqs.span[0], MAXSPAN}, {"", Amp.reference[0], 0}, {"", Trace_Data[0].mode[1], trace_blank},
              {"", Sweep_Data.single, 0}, {"", SweepSingle_Data, 0}, {"", Display_Data.key_lock, 0},
              {"", Display_Data.active, 1}, {"", Display_Data.brightness, 40, "stays"},
              {"", FunctionMode_Flag, mode_spectrum}});
    }
};

TEST_F(Preset_Commands, KeyAndCommandsRestoreEverySettingAndKeepStatusAndQueue) {
    const std::array presets{+[] { Ask("*RST"); }, +[] { Ask("SYST:PRES"); }, +[] { Keypad_Exe(key_preset); }};
    for (const auto preset : presets) {
        Change_Settings();
        Ask("*ESE 5;*SRE 6;:STAT:OPER:ENAB 7;:NONE");
        Language = 3;
        preset();
        Expect_Factory();
        Walk({{"", FreqLink[0]}, {"", Language, 3}});
        EXPECT_EQ(Ask("*ESE?;*SRE?;:STAT:OPER:ENAB?"), "5;6;7");
        EXPECT_EQ(SCPI_ErrorPop(scpi_context), -113);
    }
}

TEST_F(Preset_Commands, PresetIsNeverRefusedAndLeavesTheRemotePage) {
    for (const char* preset : {"*RST", "SYST:PRES"}) {
        Change_Settings();
        Run_AuotSet_flag = Sweep_Data.busy = 1;
        Global_Table = table_split;
        FunctionMode_Flag = mode_file_view;
        Remote_Flag = 1;
        keylink = &PresetLink[0];
        Command_Opc_Flag = 1;
        EXPECT_EQ(Errors(preset), None());
        Expect_Factory();
        EXPECT_EQ(Global_Table + Run_AuotSet_flag, 0);
        EXPECT_EQ(keylink.load(), &PresetLink[0]) << "the instrument stays remote";
    }
    EXPECT_EQ(Command_Opc_Flag, 1);
    Ask("*RST");
    EXPECT_EQ(Command_Opc_Flag, 0);
}

TEST_F(Preset_Commands, TheUserPresetIsSavedChosenAndFallsBackToFactory) {
    Talk({{"SYST:PRES:TYPE?", "FACTory"}, {"SYST:PRES:TYPE USER", -221, "none is saved"},
          {"SYST:PRES:TYPE BOTH", -224}});
    Change_Settings();
    Talk({{"SYST:PRES:USER:SAVE"}, {"SYST:PRES:TYPE USER"}, {"SYST:PRES:TYPE?", "USER"}, {"*RST"}});
    Expect_Factory();
    Talk({{"SYST:PRES:TYPE?", "USER", "*RST leaves the type"}, {"SYST:PRES", Freqs.center[0], 433e6},
          {"", Amp.reference[0], -20}, {"", Trace_Data[0].mode[1], trace_max_hold}, {"", Sweep_Data.single, 0}});
    root.Write("/mnt/nand/UserPrset1.sta", "KVA720 state 1\ncenter 1 1\n");
    testing::internal::CaptureStderr();
    Ask("SYST:PRES");
    testing::internal::GetCapturedStderr();
    Expect_Factory();
    Ask("SYST:PRES:TYPE FACT");
    std::filesystem::remove_all(platform::Rooted("/mnt/nand"));
    EXPECT_EQ(Errors("SYST:PRES:USER:SAVE"), Codes{-250});
}

TEST_F(Preset_Commands, RemoteInputLeavesTheErrorList) {
    static constexpr Scpi_Host host{.leave_file_modes = Leave_File_Modes};
    scpi_context.host = &host;
    Global_Table = table_acpr;
    Keypad_Exe(key_system);
    Keypad_Exe(key_soft_first + 1);
    Walk({{"", SysLink[14]}, {"", FunctionMode_Flag, mode_file_view}});
    Talk({{"FREQ:CENT?", "1.625000000e+09"}, {"", FunctionMode_Flag, mode_spectrum}, {"", Global_Table, table_acpr},
          {"", System_information, 0}});
}

TEST_F(Preset_Commands, TheErrorListIsLeftByItsReturnAndByHardKeys) {
    for (const std::int32_t leave : {key_soft_first + 6, static_cast<int>(key_span)}) {
        Keypad_Exe(key_system);
        Keypad_Exe(key_soft_first + 1);
        EXPECT_EQ(System_information, 1);
        Ask("NONE");
        Keypad_Exe(key_soft_first + 2);
        EXPECT_EQ(scpi_context.errors->count, 0) << "the list is cleared";
        EXPECT_EQ(SCPI_RegGet(scpi_context, reg_stb) & stb_error_queue, 0u);
        Keypad_Exe(leave);
        Walk({{"", System_information, 0}, {"", FunctionMode_Flag, mode_spectrum},
              {"", [&] { return keylink.load(); }, leave == key_span ? &SpanLink[0] : &SysLink[0]}});
    }
}

TEST_F(Preset_Commands, TheLanResetAnswersNothingAndTellsWhatFailed) {
    EXPECT_EQ(Errors(":SYST:COMM:LANR"), (Codes{436, 435})) << "there is no folder to store them in";
    std::filesystem::create_directories(platform::Rooted("/opt/KVA720"));
    EXPECT_EQ(Errors(":SYST:COMM:LANR"), None());
    EXPECT_EQ(root.Read("/opt/KVA720/hislip_port"), "HISLIP Port:4880\n");
    EXPECT_EQ(Errors(":SYST:COMM:LANR 1"), Codes{-108});
}

}  // namespace
