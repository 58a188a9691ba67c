#include <chrono>
#include <thread>

#include "app/main_loop.h"
#include "app/start_up.h"
#include "app/workers.h"
#include "display/layers.h"
#include "keys/reader.h"
#include "files/state.h"
#include "palette.h"
#include "platform/shell.h"
#include "records/normalisation.h"
#include "records_fixture.h"
#include "system/system.h"
#include "virtual_board/board.h"
#include "virtual_board/scene.h"
#include "virtual_board/seed.h"

namespace {

using namespace std::chrono_literals;

/// The whole instrument with its threads on a virtual board, in this process.
class Instrument : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        virtual_board::Seed_Root(KVA720_SHARE, "KVA7230");
        root.Write("/scene.toml", "[[carrier]]\nfrequency = 500e6\nlevel = -20.0\n");
        Power_On();
    }
    void TearDown() override {
        Power_Cut();
        Records::TearDown();
    }
    void Power_On() {
        board = std::make_unique<virtual_board::Board>(virtual_board::Load_Scene(platform::Rooted("/scene.toml")),
                                                       virtual_board::Board_Options{.core = {.fast = true}});
        board->Start();
        ASSERT_EQ(Start_Up(), 0);
        main_loop = std::thread(Main_Loop);
        ASSERT_TRUE(Eventually([] { return systeminit == 0; }));
    }
    /// Ends the instrument's process part as a stop does.
    void Power_Cut() {
        platform::Request_Stop();
        if (main_loop.joinable()) main_loop.join();
        Join_Workers();
        Shut_Down();
        board.reset();
    }
    static bool Eventually(const std::function<bool()>& condition) {
        for (int i = 0; i < 3000; ++i) {
            {
                const std::lock_guard records(Command_Main_Mutex);
                if (condition()) return true;
            }
            std::this_thread::sleep_for(5ms);
        }
        return false;
    }
    static void Press(std::initializer_list<std::int32_t> codes) {
        for (const auto code : codes) ASSERT_TRUE(num_queue_insert(code));
        ASSERT_TRUE(Eventually([] { return Web_Keyin_Flag == 0; }));
    }
    /// True where anything is drawn on the text layer.
    static bool Drawn(int left, int top, int width, int height) {
        bool drawn = false;
        for (int y = top; y < top + height; ++y) {
            for (int x = left; x < left + width; ++x) drawn |= fbOsd0.memory[y * fbOsd0.line + x * 2] != std::byte{0};
        }
        return drawn;
    }
    static std::size_t Highest() {
        const auto& values = Trace_Data[0].value[0];
        return static_cast<std::size_t>(std::max_element(values.begin(), values.end()) - values.begin());
    }
    std::unique_ptr<virtual_board::Board> board;
    std::thread main_loop;
};

TEST_F(Instrument, FromAKeyPressToTheSignalInTheMiddleOfTheScreen) {
    EXPECT_EQ(fbOsd0.bits, 16u);
    Press({key_frequency, soft(0), '5', '0', '0', soft(1), key_span, soft(0), '2', soft(1)});
    EXPECT_TRUE(Eventually([] { return Freqs.center[0] == 500e6 && Freqs.span[0] == 2e6; }));
    EXPECT_TRUE(Eventually([] {
        return Trace_Data[0].sweeps > 1 && Highest() >= 299 && Highest() <= 301 && Trace_Data[0].value[0][Highest()] > -21;
    }));
    EXPECT_NEAR(Trace_Data[0].rows[0][300] - 58, 45 * 2, 45) << "drawn two divisions below the reference";
}

TEST_F(Instrument, ThePowerKeyKeepsTheStateAndTheNextStartComesUpInIt) {
    Press({key_frequency, soft(0), '4', '3', '3', soft(1), key_span, soft(0), '5', soft(1)});
    ASSERT_TRUE(Eventually([] { return Freqs.span[0] == 5e6; }));
    std::ofstream(platform::Rooted("/dev/killsys")) << 'k' << std::flush;
    for (int i = 0; i < 2000 && !platform::Stop_Requested(); ++i) std::this_thread::sleep_for(5ms);
    ASSERT_TRUE(platform::Stop_Requested()) << "the virtual instrument goes dark";
    Power_Cut();
    EXPECT_NE(root.Read("/opt/KVA720/usb_state").find("LastType HOST"), std::string::npos);
    platform::Reset_Stop();
    Reset_Records();
    Power_On();
    Walk({{"", Freqs.center[0], 433e6}, {"", Freqs.span[0], 5e6}});
}

TEST_F(Instrument, PanelKeysOfOneSweepRunNewestFirst) {
    std::ofstream keypad(platform::Rooted("/dev/keypad"), std::ios::binary);
    keypad.put(key_span).flush();  // thrown away: the first after the start-up
    std::this_thread::sleep_for(100ms);
    {
        const std::lock_guard records(Command_Main_Mutex);
        for (const char code : {key_frequency, key_marker, key_trace}) keypad.put(code);
        keypad.flush();
        while (Keypad_Flag < 3) std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(Eventually([] { return Keypad_Flag == 0 && keylink == &FreqLink[0]; }));
}

TEST_F(Instrument, AKeyWakesADarkDisplayAndIsThenExecuted) {
    Press({key_display, soft(4)});
    ASSERT_TRUE(Eventually([] { return Display_Data.active == 0; }));
    Press({key_span});
    EXPECT_TRUE(Eventually([] { return Display_Data.active == 1 && keylink == &SpanLink[0]; }));
}

TEST_F(Instrument, RemoteControlShowsItsPageUntilPreset) {
    Press({key_span, soft(0), '7'});
    Remote_Flag = 1;
    ASSERT_TRUE(Eventually([] { return keylink == &PresetLink[0]; }));
    Press({key_span});
    EXPECT_EQ(keylink, &PresetLink[0]);
    Press({key_preset});
    EXPECT_TRUE(Eventually([] { return keylink == &FreqLink[0] && Remote_Flag == 0; }));
}

TEST_F(Instrument, ARecoveryIsToldOnce) {
    Power_Cut();
    root.Write("/opt/KVA720/recoverydonever", "1\n");
    root.Write("/tmp/recoverydonever", "1\n");
    platform::Reset_Stop();
    Power_On();
    EXPECT_EQ(root.Read("/opt/KVA720/recoverydonever"), "0\n");
    EXPECT_TRUE(Drawn(258, 570, 382, 28)) << "the notice stands in the message area";
    Power_Cut();
    platform::Reset_Stop();
    Power_On();
    EXPECT_FALSE(Drawn(258, 570, 382, 28)) << "and only once";
}

TEST_F(Instrument, WordsOfAnotherVersionAreReportedAndTheInstrumentRuns) {
    Power_Cut();
    std::string words = root.Read("/mnt/nand/wordlist.txt");
    const std::size_t minor = words.find("1", 4);
    words[minor] = '3';
    root.Write("/mnt/nand/wordlist.txt", words);
    root.Write("/mnt/nand/record.out", "1.0 2.0");
    platform::Reset_Stop();
    testing::internal::CaptureStdout();
    Power_On();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "File could not be opened. \n");
    Walk({{"", [&] { return SCPI_ErrorPop(scpi_context); }, 420}, {"", Checkversion, 1}});
    Press({key_span});
    EXPECT_TRUE(Eventually([] { return keylink == &SpanLink[0]; }));
}

TEST_F(Instrument, ClockAndStorageCountFollowTheWorldAndTheInformationKnowsTheVersions) {
    EXPECT_EQ(System_Information_Data.versions, "DSP 1.00  TG 1.00  RF 1.00  0.1");
    EXPECT_FALSE(System_Information_Data.system_name.empty());
    EXPECT_TRUE(Eventually([] { return Drawn(142, 3, 178, 18); })) << "the clock";
    EXPECT_FALSE(Drawn(404, 4, 6, 16));
    std::filesystem::create_directories(platform::Rooted("/mnt/usb/stick"));
    EXPECT_TRUE(Eventually([] { return Drawn(404, 4, 6, 16); })) << "plugged in";
    RecallAfterRemoveDeviceFlag = 1;
    std::filesystem::remove(platform::Rooted("/mnt/usb/stick"));
    EXPECT_TRUE(Eventually([] { return !Drawn(404, 4, 6, 16) && keylink == &RecallLink[0]; }))
        << "pulled while the recall menu waited for it";
}

TEST_F(Instrument, TheStagesOfAPowerOffEndInTheDark) {
    shutdown_flag = 1;
    for (int i = 0; i < 2000 && !platform::Stop_Requested(); ++i) std::this_thread::sleep_for(5ms);
    EXPECT_TRUE(platform::Stop_Requested());
    EXPECT_EQ(shutdown_flag, 3) << "after both pictures";
    EXPECT_TRUE(Drawn(205, 193, 210, 180));
}

TEST_F(Instrument, ACommandOfThePowerOffIsRepeatedUntilItSucceeds) {
    const std::string role = root.Read("/tmp/usb_state");
    std::filesystem::remove(platform::Rooted("/tmp/usb_state"));
    {
        const std::lock_guard records(Command_Main_Mutex);
        USB_Select = 1;
        EMC_Data.running = 1;
    }
    std::ofstream(platform::Rooted("/dev/killsys")) << 'k' << std::flush;
    std::this_thread::sleep_for(150ms);
    EXPECT_FALSE(platform::Stop_Requested());
    root.Write("/tmp/usb_state", role);
    for (int i = 0; i < 2000 && !platform::Stop_Requested(); ++i) std::this_thread::sleep_for(5ms);
    EXPECT_TRUE(platform::Stop_Requested());
    Power_Cut();
    EXPECT_NE(root.Read("/opt/KVA720/usb_state").find("LastType DEVICE"), std::string::npos);
    EXPECT_EQ(EMC_Data.running, 0) << "no test is resumed";
}

TEST_F(Instrument, TheStopWaitsForNoCommandThatKeepsFailing) {
    std::filesystem::remove(platform::Rooted("/tmp/usb_state"));
    std::ofstream(platform::Rooted("/dev/killsys")) << 'k' << std::flush;
    std::this_thread::sleep_for(50ms);
    Power_Cut();
}

TEST_F(Instrument, ALinkAndAFontThatFailAreToldAndTheInstrumentStarts) {
    Power_Cut();
    root.Write("/dev/faults", "PROC_load\n");
    std::filesystem::remove(platform::Rooted("/mnt/nand/fonts/arialbd.ttf"));
    root.Write("/mnt/nand/fonts/arialbd.ttf", "no font");
    platform::Reset_Stop();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Power_On();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\r\nload font fail!!!\r\nPROC_load failed.\n");
    EXPECT_EQ(DSP_Trace_Data, nullptr);
    Press({key_span});
    EXPECT_TRUE(Eventually([] { return keylink == &SpanLink[0]; }));
    root.Write("/dev/faults", "");
}

TEST_F(Instrument, PowerOnTakesTheChosenState) {
    Press({key_frequency, soft(0), '1', '0', '0', soft(1), key_span, soft(0), '2', soft(1)});
    {
        const std::lock_guard records(Command_Main_Mutex);
        Sys_Data.tracking_normalised = 1;
        ASSERT_TRUE(Save_LocalState_SpecAndSem("/mnt/nand/state.sta"));
    }
    Power_Cut();
    Reset_Records();
    platform::Reset_Stop();
    TG_Pos_Diff_Value = 7;
    Normalisation_Trace.fill(-3);
    Power_On();
    Walk({{"", Freqs.center[0], 100e6}, {"", Sys_Data.tracking_normalised, 1}, {"", TG_Pos_Diff_Value, 0},
          {"", Normalisation_Trace[300], 0, "the old reference is gone"}});
    EXPECT_EQ(Check_TG_Normalize + Check_Sweep_Again + CheckNormInit, 3) << "and is measured again";
    Power_Cut();
    Reset_Records();
    platform::Reset_Stop();
    POWER_On = 0;
    Power_On();
    EXPECT_EQ(Freqs.span[0], MAXSPAN) << "the preset state";
}

TEST_F(Instrument, TheWakeUpTimeReachesTheClock) {
    Power_Cut();
    root.Write("/mnt/nand/weektime", "3 6 45");
    platform::Reset_Stop();
    Power_On();
    std::array<std::uint8_t, 13> registers{};
    ASSERT_EQ(pread(fd_i2c, registers.data(), registers.size(), 0), 13);
    Expect({{registers[9], 0x45, "minutes, in decimal digits as the clock counts them"}, {registers[10], 0x06},
            {registers[12], 0x03}, {registers[8], 0, "its control byte"}});
}

TEST_F(Instrument, ADeadBoardEndsTheTransferAndTheInstrumentLivesOn) {
    board->Stop();
    Press({key_frequency, soft(0), '9', '0', '0', soft(1)});
    EXPECT_TRUE(Eventually([] { return Freqs.center[0] == 900e6; }));
}

}  // namespace
