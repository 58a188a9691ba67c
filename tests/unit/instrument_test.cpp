#include <chrono>
#include <functional>
#include <thread>

#include "app/main_loop.h"
#include "app/start_up.h"
#include "app/workers.h"
#include "display/layers.h"
#include "keys/key_codes.h"
#include "keys/reader.h"
#include "platform/shell.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/sys.h"
#include "records_fixture.h"
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
    static std::size_t Highest() {
        const auto& values = Trace_Data[0].value[0];
        return static_cast<std::size_t>(std::max_element(values.begin(), values.end()) - values.begin());
    }
    std::unique_ptr<virtual_board::Board> board;
    std::thread main_loop;
};

constexpr std::int32_t soft(int key) { return key_soft_first + key; }

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
    EXPECT_EQ(Freqs.center[0], 433e6);
    EXPECT_EQ(Freqs.span[0], 5e6);
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
    bool told = false;
    for (int y = 570; y < 598; ++y) {
        for (int x = 258; x < 640; ++x) told |= fbOsd0.memory[y * fbOsd0.line + x * 2] != std::byte{0};
    }
    EXPECT_TRUE(told) << "the notice stands in the message area";
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
    EXPECT_EQ(SCPI_ErrorPop(scpi_context), 420);
    EXPECT_EQ(Checkversion, 1);
    Press({key_span});
    EXPECT_TRUE(Eventually([] { return keylink == &SpanLink[0]; }));
}

TEST_F(Instrument, ADeadBoardEndsTheTransferAndTheInstrumentLivesOn) {
    board->Stop();
    Press({key_frequency, soft(0), '9', '0', '0', soft(1)});
    EXPECT_TRUE(Eventually([] { return Freqs.center[0] == 900e6; }));
}

}  // namespace
