#include "app/main_loop.h"

#include "keys/reader.h"
#include "keys/soft_keys.h"
#include "platform/sample_memory.h"
#include "records_fixture.h"

namespace {

/// Single iterations of the main loop over a sample memory of the test's own.
class Iteration : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        Factory_Settings();
        DSP_Trace_Data = memory.data();
        FPGA_Int_Fd = -1;
    }
    /// True when an iteration of the mode takes the samples that wait.
    bool Sweeps_In(std::int32_t mode) {
        FunctionMode_Flag = mode;
        Trace_Data[0].processed = 0;
        memory[platform::written_count] = 10;
        Main_Loop_Once();
        return Trace_Data[0].processed == 10;
    }
    /// True when an iteration sends the settings.
    static bool Sends() {
        Marker_Data.steps = -1;
        Main_Loop_Once();
        return Marker_Data.steps != -1;
    }
    std::vector<double> memory = std::vector<double>(platform::sample_memory_elements);
};

TEST_F(Iteration, TheModeChoosesTheWork) {
    for (const std::int32_t mode : {0, 4, 5, 6, 12, 13, 14, 15, 18, 99, -1}) EXPECT_TRUE(Sweeps_In(mode)) << mode;
    for (const std::int32_t mode : {3, 9}) EXPECT_FALSE(Sweeps_In(mode)) << mode;
}

TEST_F(Iteration, APulledPowerSensorLeadsBackToTheSpectrumAtOnce) {
    FunctionMode_Flag = mode_power_meter;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(Sends());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "set failed\n") << "there is no interrupt device here";
    EXPECT_EQ(FunctionMode_Flag, mode_spectrum);
    EXPECT_EQ(keylink, &ModeLink[0]);
}

TEST_F(Iteration, PanelKeysRunNewestFirstThenWebKeysInOrder) {
    for (const std::int32_t code : {key_frequency, key_marker, key_trace}) Store_Key(code);
    Main_Loop_Once();
    Walk({{"", Keypad_Flag, 0}, {"", HWkeyIdx, key_frequency}});
    Store_Key(key_trace);
    AllKeyVar.unit_type = '1';
    for (const std::int32_t code : {key_marker, key_span}) num_queue_insert(code);
    Main_Loop_Once();
    EXPECT_EQ(Keypad_AllKeyVarunitype, '1') << "as it was before the panel key";
    EXPECT_EQ(keylink, &SpanLink[0]);
}

TEST_F(Iteration, APanelKeyWakesADarkDisplayBeforeItIsExecuted) {
    Display_Data.active = 0;
    Store_Key(key_span);
    Main_Loop_Once();
    EXPECT_EQ(Display_Data.active, 1);
    EXPECT_EQ(keylink, &SpanLink[0]);
    Display_Data.active = 0;
    Store_Key(key_soft_first + 4);
    Main_Loop_Once();
    EXPECT_EQ(keylink, &DisplayLink[0]) << "the display page is shown first";
    EXPECT_EQ(Display_Data.active, 0) << "then its key makes it dark again";
}

TEST_F(Iteration, TheWayToLocalControlWakesADarkDisplay) {
    Display_Data.active = 0;
    for (const int remote : {1, 0}) {
        EXPECT_EQ(Display_Data.active, 0) << "remote control leaves it dark";
        Remote_Flag = remote;
        Main_Loop_Once();
    }
    EXPECT_EQ(Display_Data.active, 1);
    EXPECT_EQ(keylink, &FreqLink[0]);
}

TEST_F(Iteration, AnEMCTestThatRunsWhileStartingSendsItsSettingsEachTime) {
    EMC_Data.running = 1;
    EXPECT_FALSE(Sends());
    systeminit = 2;
    Walk({{"", Sends, true}, {"", Sends, true}, {[] { EMC_Data.held = 1; }, Sends, false}});
    EMC_Data = {};
    EXPECT_FALSE(Sends());
}

TEST_F(Iteration, PostedWorkIsDoneOnce) {
    RecallFormCommand = RecallMenuState = 1;
    RecallAfterRemoveDeviceFlag = 1;
    Main_Loop_Once();
    EXPECT_EQ(RecallFormCommand + RecallMenuState, 0);
    EXPECT_EQ(RecallAfterRemoveDeviceFlag, 1) << "the device is still there";
    EXPECT_EQ(keylink, &FreqLink[0]);
    USBButtonOnOff_Flag = 1;
    Main_Loop_Once();
    EXPECT_EQ(USBButtonOnOff_Flag + RecallAfterRemoveDeviceFlag, 0);
    EXPECT_EQ(keylink, &RecallLink[0]) << "the recall menu is built again in the same iteration";
}

TEST_F(Iteration, RemoteControlLeavesInformationSequenceAndMenu) {
    Remote_Flag = 1;
    System_information = 1;
    FunctionMode_Flag = mode_file_view;
    FunctionMode_Flag_For_File = mode_spectrum_list;
    Global_Table_Flag_For_File = table_peak;
    Sequence_runnow_flag = 1;
    FreqLink[0].highlight = 2;
    PresetLink[0].parent = nullptr;
    Main_Loop_Once();
    Walk({{"", System_information, 0}, {"", FunctionMode_Flag, mode_spectrum_list}, {"", Global_Table, table_peak},
          {"", Sequence_runnow_flag, 0}, {"", FreqLink[0].highlight, no_highlight}});
    EXPECT_EQ(keylink, &PresetLink[0]);
    Walk({{"", PresetLink[0].parent, &PresetLink[0]}, {[] { Sequence_runnow_flag = 1; }}});
    Main_Loop_Once();
    EXPECT_EQ(Sequence_runnow_flag, 1) << "entered once only";
    keylink = &FreqLink[0];
    SEQCAL_Flag = 4;
    FunctionMode_Flag_For_File = mode_power_meter;
    Main_Loop_Once();
    EXPECT_EQ(Global_Table, table_sequence);
    EXPECT_EQ(FunctionMode_Flag, mode_spectrum_list) << "no information screen was shown";
    keylink = &FreqLink[0];
    System_information = 1;
    Main_Loop_Once();
    EXPECT_EQ(FunctionMode_Flag, mode_power_meter);
}

TEST_F(Iteration, AClientThatGivesControlBackLeavesThePanelWithItsSettings) {
    Remote_Flag = 1;
    Main_Loop_Once();
    ASSERT_EQ(keylink, &PresetLink[0]);
    Freqs.span[0] = 5e6;
    Remote_Flag = 0;
    Main_Loop_Once();
    EXPECT_EQ(keylink, &FreqLink[0]);
    EXPECT_EQ(Freqs.span[0], 5e6);
    keylink = &SpanLink[0];
    Main_Loop_Once();
    EXPECT_EQ(keylink, &SpanLink[0]) << "left once only";
}

}  // namespace
