#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "expect.h"
#include "platform/backlight.h"
#include "platform/clock.h"
#include "platform/dsp_link.h"
#include "platform/fpga_int.h"
#include "platform/frame_buffer.h"
#include "platform/keys.h"
#include "platform/link_state.h"
#include "platform/root.h"
#include "platform/serial.h"
#include "platform/shell.h"
#include "platform/stop.h"
#include "platform/virtual/device_files.h"
#include "tests/unit/temp_root.h"
#include "virtual_board/devices.h"

namespace {

using namespace std::chrono_literals;
namespace files = platform::device_files;

class Seam : public testing::Test {
  protected:
    void SetUp() override {
        platform::Reset_Stop();
        platform::Set_Clock_Mode(platform::Clock_Mode::real);
    }
    void TearDown() override {
        platform::Reset_Stop();
        platform::Set_Clock_Mode(platform::Clock_Mode::real);
    }
};

/// A call in a thread of its own, to see whether it returns.
class Blocked_Call {
  public:
    explicit Blocked_Call(std::function<void()> call) : thread_([this, call = std::move(call)] {
        call();
        done_ = true;
    }) {}
    ~Blocked_Call() { thread_.join(); }
    bool Done() const { return done_; }

  private:
    std::atomic<bool> done_{false};
    std::thread thread_;
};

template <typename Condition>
bool Comes_True(Condition condition) {
    for (int i = 0; i < 1000; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

/// Brings the link up to where messages can be exchanged; returns the buffer, or nullptr.
void* Open_Link() {
    void* buffer = nullptr;
    const bool up = platform::DSP_SUCCEEDED(platform::PROC_setup()) &&
                    platform::DSP_SUCCEEDED(platform::PROC_attach(0)) &&
                    platform::DSP_SUCCEEDED(platform::POOL_open(0, 2048)) &&
                    platform::DSP_SUCCEEDED(platform::PROC_load(0, "image", "2048", "1")) &&
                    platform::DSP_SUCCEEDED(platform::CHNL_create(0, 0, platform::Channel_Mode::output)) &&
                    platform::DSP_SUCCEEDED(platform::CHNL_create(0, 1, platform::Channel_Mode::input)) &&
                    platform::DSP_SUCCEEDED(platform::CHNL_allocateBuffer(0, 0, &buffer, 2048)) &&
                    platform::DSP_SUCCEEDED(platform::PROC_start(0));
    return up ? buffer : nullptr;
}

void Close_Link(void* buffer) {
    platform::CHNL_freeBuffer(0, 0, buffer);
    platform::CHNL_delete(0, 1);
    platform::CHNL_delete(0, 0);
    platform::PROC_stop(0);
    platform::POOL_close(0);
    platform::PROC_detach(0);
    platform::PROC_destroy();
}

// Stop and clock

TEST_F(Seam, StopFromASignalHandlerWakesEveryBlockedCall) {
    const Temp_Root root(3);
    const virtual_board::Devices devices;  // nobody serves its sockets, so every call on them waits
    const int keypad = platform::Open_Key_Device(files::keypad);
    const int fpga = platform::Open_Fpga_Int(files::fpga_int);
    ASSERT_GE(keypad, 0);
    ASSERT_GE(fpga, 0);
    void* buffer = Open_Link();
    ASSERT_NE(buffer, nullptr);

    std::atomic<bool> key_came{false}, event_came{false}, slept_through{false}, link_succeeded{false};
    {
        const Blocked_Call read_key([&] { key_came = platform::Read_Key(keypad).has_value(); });
        const Blocked_Call read_event([&] { event_came = platform::Read_Fpga_Event(fpga).has_value(); });
        const Blocked_Call sleep([&] { slept_through = platform::Sleep_For(1h); });
        const Blocked_Call exchange([&] {
            void* returned = nullptr;
            platform::CHNL_issue(0, 0, buffer, 2048);
            link_succeeded = platform::DSP_SUCCEEDED(platform::CHNL_reclaim(0, 0, &returned));
        });
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(read_key.Done() || read_event.Done() || sleep.Done() || exchange.Done());

        struct sigaction handler {}, old {};
        handler.sa_handler = [](int) { platform::Request_Stop(); };
        ::sigaction(SIGUSR1, &handler, &old);
        ::raise(SIGUSR1);
        ::sigaction(SIGUSR1, &old, nullptr);
    }
    EXPECT_FALSE(key_came || event_came || slept_through || link_succeeded);
    EXPECT_FALSE(platform::Sleep_For(1h));
    EXPECT_FALSE(platform::Pause_For(1h));
    Close_Link(buffer);
    platform::Close_Key_Device(keypad);
    platform::Close_Fpga_Int(fpga);
}

TEST_F(Seam, SteppedTimeWakesSleepersWhenTheirTimeHasCome) {
    platform::Set_Clock_Mode(platform::Clock_Mode::stepped);
    EXPECT_EQ(platform::Now(), 0ns);
    std::atomic<int> started{0};
    std::atomic<bool> in_time{false};
    const Blocked_Call early([&] {
        ++started;
        in_time = platform::Sleep_For(300ms) && platform::Now() == 300ms;
    });
    const Blocked_Call late([&] {
        ++started;
        platform::Sleep_For(301ms);
    });
    ASSERT_TRUE(Comes_True([&] { return started == 2; }));
    std::this_thread::sleep_for(50ms);
    platform::Step_Clock(299ms);
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(early.Done() || late.Done());
    platform::Step_Clock(1ms);
    EXPECT_TRUE(Comes_True([&] { return early.Done(); }));
    EXPECT_TRUE(in_time);
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(late.Done());
    platform::Step_Clock(1ms);
    EXPECT_TRUE(Comes_True([&] { return late.Done(); }));

    platform::Step_Clock(24h);
    const std::tm calendar = platform::Wall_Clock();
    Expect({{calendar.tm_mday, 3}, {calendar.tm_hour, 3}, {calendar.tm_wday, 6}});
}

TEST_F(Seam, SteppedSleepersStillEndOnAStop) {
    platform::Set_Clock_Mode(platform::Clock_Mode::stepped);
    std::atomic<bool> slept_through{true};
    {
        const Blocked_Call sleep([&] { slept_through = platform::Sleep_For(1s); });
        std::this_thread::sleep_for(20ms);
        platform::Request_Stop();
    }
    EXPECT_FALSE(slept_through);
}

TEST_F(Seam, FastModeLeavesOutPausesButNotWaits) {
    platform::Set_Clock_Mode(platform::Clock_Mode::fast);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(platform::Pause_For(1h));
    EXPECT_TRUE(platform::Sleep_For(30ms));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 30ms);
}

// Root

TEST_F(Seam, NoInstrumentPathLeadsAboveTheRoot) {
    platform::Set_Root("/some/root//");
    EXPECT_EQ(platform::Root(), "/some/root");
    EXPECT_EQ(platform::Rooted("/dev/fb/0"), "/some/root/dev/fb/0");
    EXPECT_EQ(platform::Rooted("/../../etc/passwd"), "/some/root/etc/passwd");
    EXPECT_EQ(platform::Rooted("mnt/../../../x"), "/some/root/x");
    EXPECT_EQ(platform::Rooted("/mnt/nand/a..b"), "/some/root/mnt/nand/a..b");
}

// Frame buffers and back-light

TEST_F(Seam, AViewSeesStateAndPixelsOfALayerAndChangesNeither) {
    const Temp_Root root;
    virtual_board::Make_Frame_Devices();
    const int layer = platform::Frame_Open("/dev/fb/1");
    const int view = platform::Frame_Open_View("/dev/fb/1");
    ASSERT_GE(layer, 0);
    ASSERT_GE(view, 0);

    platform::Frame_Fixed_Info fixed;
    platform::Frame_Variable_Info variable;
    ASSERT_EQ(platform::Frame_Get_Fixed_Info(view, fixed), 0);
    ASSERT_EQ(platform::Frame_Get_Variable_Info(view, variable), 0);
    Expect({{fixed.line_length, 2400U}, {fixed.memory_size, 1440000U}, {variable.bits_per_pixel, 24U}});

    Expect({{platform::Frame_Enable_Window(layer, true), 0}, {platform::Frame_Set_Position(layer, -5, 700), 0},
            {platform::Frame_Set_Blend_Factor(layer, 5), 0}, {platform::Frame_Set_Background(layer, 0x123456), 0},
            {platform::Frame_Enable_Window(view, false), -1}, {errno, EACCES}});
    platform::Frame_State state;
    ASSERT_EQ(platform::Frame_Get_State(view, state), 0);
    Expect({{state.enabled, 1U}, {state.x, -5}, {state.y, 700}, {state.blend_factor, 5U},
            {state.background, 0x123456U}});

    std::byte* pixels = platform::Frame_Map(layer, fixed.memory_size);
    std::byte* seen = platform::Frame_Map(view, fixed.memory_size);
    ASSERT_NE(pixels, nullptr);
    ASSERT_NE(seen, nullptr);
    pixels[fixed.memory_size - 1] = std::byte{0x5a};
    EXPECT_EQ(seen[fixed.memory_size - 1], std::byte{0x5a});
    platform::Frame_Unmap(pixels, fixed.memory_size);
    platform::Frame_Unmap(seen, fixed.memory_size);
    EXPECT_EQ(platform::Frame_Close(layer), 0);
    EXPECT_EQ(platform::Frame_Close(view), 0);
}

TEST_F(Seam, ALayerRefusesWhatItsMemoryCantHold) {
    const Temp_Root root;
    virtual_board::Make_Frame_Devices();
    EXPECT_EQ(platform::Frame_Open("/dev/fb/9"), -1);
    const int layer = platform::Frame_Open("/dev/fb/0");
    ASSERT_GE(layer, 0);
    EXPECT_EQ(platform::Frame_Map(layer, 960001), nullptr);
    for (const platform::Frame_Variable_Info& info : {platform::Frame_Variable_Info{800, 600, 24},
                                                      platform::Frame_Variable_Info{800, 0, 16},
                                                      platform::Frame_Variable_Info{0xffffffff, 0xffffffff, 16},
                                                      platform::Frame_Variable_Info{800, 600, 8}})
        EXPECT_EQ(platform::Frame_Put_Variable_Info(layer, info), -1);
    EXPECT_EQ(platform::Frame_Put_Variable_Info(layer, {400, 600, 16}), 0);
    platform::Frame_Fixed_Info fixed;
    ASSERT_EQ(platform::Frame_Get_Fixed_Info(layer, fixed), 0);
    Expect({{fixed.line_length, 800U}, {platform::Frame_Close(layer), 0},
            {platform::Frame_Enable_Window(layer, true), -1}, {errno, EBADF}});
}

TEST_F(Seam, AFrameFileOfAnotherMakeIsRefused) {
    const Temp_Root root;
    root.Write("/dev/fb/0", std::string(960000, '\0'));
    root.Write("/dev/fb/0.state", std::string(sizeof(files::Frame_Control), '\0'));
    EXPECT_EQ(platform::Frame_Open("/dev/fb/0"), -1);
    root.Write("/dev/fb/0.state", "short");
    EXPECT_EQ(platform::Frame_Open("/dev/fb/0"), -1);
}

TEST_F(Seam, BacklightIsHeldToPercent) {
    const Temp_Root root;
    EXPECT_EQ(platform::Set_Backlight(50), -1);
    const virtual_board::Devices devices;
    EXPECT_EQ(platform::Get_Backlight(), 100);
    for (const auto& [set, got] : {std::pair{40, 40}, std::pair{-1, 0}, std::pair{1000, 100}}) {
        EXPECT_EQ(platform::Set_Backlight(set), 0);
        EXPECT_EQ(platform::Get_Backlight(), got);
    }
}

// Keys and serial line

TEST_F(Seam, TheLanCableIsPluggedUnlessItIsPulled) {
    const Temp_Root root;
    EXPECT_TRUE(platform::Lan_Link_Up());
    for (const auto& [text, up] : {std::pair("0", false), std::pair("1\n", true), std::pair("0\n", false), std::pair("", true)}) {
        root.Write(files::lan, text);
        EXPECT_EQ(platform::Lan_Link_Up(), up) << text;
    }
}

TEST_F(Seam, KeysArriveInOrderAndThePowerKeyHasItsOwnDevice) {
    const Temp_Root root;
    EXPECT_EQ(platform::Open_Key_Device(files::keypad), -1);
    EXPECT_EQ(platform::Press_Power_Key(), -1);
    const virtual_board::Devices devices;
    const int keypad = platform::Open_Key_Device(files::keypad);
    const int power_key = platform::Open_Key_Device(files::power_key);
    const int finger = ::open(platform::Rooted(files::keypad).c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(finger, 0);
    ASSERT_EQ(::write(finger, "\x05\xff", 2), 2);
    ::close(finger);
    Expect({{platform::Read_Key(keypad), 5}, {platform::Read_Key(keypad), 255}, {platform::Press_Power_Key(), 0}});
    EXPECT_TRUE(platform::Read_Key(power_key).has_value());
    platform::Close_Key_Device(keypad);
    platform::Close_Key_Device(power_key);
}

TEST_F(Seam, TheSerialLineIsRawBothWays) {
    const Temp_Root root;
    const virtual_board::Devices devices;
    EXPECT_EQ(platform::Open_Serial(files::serial, 1234), -1);
    const int line = platform::Open_Serial(files::serial, 9600);
    ASSERT_GE(line, 0);
    ASSERT_EQ(::write(devices.Serial_Master(), "*IDN?\n\x03\r", 8), 8);
    std::array<char, 16> bytes{};
    ASSERT_TRUE(Comes_True([&] { return ::read(line, bytes.data(), bytes.size()) == 8; }));
    EXPECT_EQ(std::string(bytes.data(), 8), "*IDN?\n\x03\r");
    ASSERT_EQ(::write(line, "a\nb", 3), 3);
    ASSERT_TRUE(Comes_True([&] { return ::read(devices.Serial_Master(), bytes.data(), bytes.size()) == 3; }));
    EXPECT_EQ(std::string(bytes.data(), 3), "a\nb");
    platform::Close_Serial(line);
}

// Link without a core

TEST_F(Seam, ALinkWithoutABoardFailsAtOnce) {
    const Temp_Root root;
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::PROC_setup()));
    void* buffer = nullptr;
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_issue(0, 0, buffer, 2048)));
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_reclaim(0, 0, &buffer)));
}

TEST_F(Seam, ALinkRefusesForeignBuffersAndWrongOrders) {
    const Temp_Root root;
    const virtual_board::Devices devices;
    void* buffer = Open_Link();
    ASSERT_NE(buffer, nullptr);
    std::array<std::byte, 2048> foreign{};
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_issue(0, 0, foreign.data(), 2048)));
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_issue(0, 0, buffer, 2049)));
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_issue(0, 2, buffer, 2048)));
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_issue(1, 0, buffer, 2048)));
    void* returned = nullptr;
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_reclaim(0, 0, &returned)));
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::PROC_start(0)));
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_create(0, 0, platform::Channel_Mode::input)));
    Close_Link(buffer);
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_freeBuffer(0, 0, buffer)));
}

// Shell

constexpr const char* usb_state = "/tmp/usb_state";

TEST_F(Seam, TheShellChangesCopiesAndSearchesBelowTheRoot) {
    const Temp_Root root;
    root.Write(usb_state, "1\n2\n3\nLastType HOST\n5");
    root.Write("/opt/KVA720/recoverydonever", "0\n");
    EXPECT_EQ(platform::Run_Command("sed -i '4c LastType DEVICE' /tmp/usb_state"), 0);
    EXPECT_EQ(root.Read(usb_state), "1\n2\n3\nLastType DEVICE\n5");
    EXPECT_EQ(platform::Run_Command("sed -i '5c five' /tmp/usb_state"), 0);
    EXPECT_EQ(platform::Run_Command("sed -i '9c nine' /tmp/usb_state"), 0);
    EXPECT_EQ(root.Read(usb_state), "1\n2\n3\nLastType DEVICE\nfive\n");
    EXPECT_EQ(platform::Run_Command("cp /tmp/usb_state /opt/KVA720/"), 0);
    EXPECT_EQ(root.Read("/opt/KVA720/usb_state"), root.Read(usb_state));
    EXPECT_EQ(platform::Run_Command("cp /tmp/usb_state /opt/KVA720/copy"), 0);
    EXPECT_EQ(root.Read("/opt/KVA720/copy"), root.Read(usb_state));

    EXPECT_EQ(platform::Run_Command("grep -q '1' /opt/KVA720/recoverydonever"), 1);
    root.Write("/opt/KVA720/recoverydonever", "1\n");
    EXPECT_EQ(platform::Run_Command("grep -q '1' /opt/KVA720/recoverydonever"), 0);
    EXPECT_EQ(platform::Run_Command("grep -q '1' /opt/KVA720/nowhere"), 2);
    EXPECT_NE(platform::Run_Command("cp /tmp/nowhere /opt/KVA720/"), 0);
    EXPECT_NE(platform::Run_Command("sed -i '1c 0' /tmp/nowhere"), 0);
    EXPECT_EQ(platform::Run_Command("sync"), 0);
    EXPECT_FALSE(platform::Stop_Requested());
}

TEST_F(Seam, TheShellRefusesWhatItDoesntKnow) {
    const Temp_Root root;
    root.Write(usb_state, "1\n");
    for (const char* command :
         {"", "reboot", "shutdown -r now", "shutdown", "rm -rf /", "cp -r / /tmp", "cp /tmp/usb_state",
          "sync; reboot", "sync && reboot", "sh -c 'shutdown -h now'", "cp /tmp/usb_state /tmp/`reboot`",
          "cp /tmp/usb_state $HOME/x", "grep -q '.*' /tmp/usb_state", "sed -i 's/1/2/' /tmp/usb_state",
          "sed -i '1c x", "sed -i '1c x\n1d' /tmp/usb_state", "/bin/sync", "/etc/init.d/usb_state.sh stop"})
        EXPECT_EQ(platform::Run_Command(command), 127) << command;
    EXPECT_EQ(root.Read(usb_state), "1\n");
    EXPECT_FALSE(platform::Stop_Requested());
}

TEST_F(Seam, TheShellTouchesNothingOutsideTheRoot) {
    namespace fs = std::filesystem;
    const Temp_Root root(1);
    root.Write(usb_state, "mine\n");
    const std::string outside = root.Top() + "/outside";
    std::ofstream(outside) << "yours\n";
    fs::create_symlink(outside, platform::Rooted("/tmp/link"));
    fs::create_symlink(root.Top(), platform::Rooted("/tmp/folder"));

    for (const char* command :
         {"sed -i '1c x' /tmp/link", "cp /tmp/usb_state /tmp/folder/outside", "cp /tmp/usb_state /tmp/folder",
          "cp /tmp/link /tmp/got", "grep -q 'yours' /tmp/link", "cp /tmp/usb_state tmp/x"})
        EXPECT_NE(platform::Run_Command(command), 0) << command;
    // Above the root is the root again.
    EXPECT_NE(platform::Run_Command("cp /../../outside /tmp/got"), 0);
    EXPECT_NE(platform::Run_Command("sed -i '1c x' " + outside), 0);
    std::ifstream file(outside);
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "yours");
    EXPECT_FALSE(fs::exists(platform::Rooted("/tmp/got")));
}

TEST_F(Seam, APowerOffEndsTheInstrumentAndThenEveryCommandSucceeds) {
    const Temp_Root root;
    EXPECT_EQ(platform::Run_Command("shutdown -h now"), 0);
    EXPECT_TRUE(platform::Stop_Requested());
    EXPECT_EQ(platform::Run_Command("cp /tmp/nowhere /opt/KVA720/"), 0);
    platform::Reset_Stop();
    EXPECT_EQ(platform::Run_Command("/opt/KVA720/killsys"), 0);
    EXPECT_TRUE(platform::Stop_Requested());
}

}  // namespace
