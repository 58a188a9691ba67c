#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "platform/board/dsp_link_library.h"
#include "platform/board/rtc_registers.h"
#include "platform/board/system_classes.h"
#include "platform/clock.h"
#include "platform/dsp_link.h"
#include "platform/fpga_int.h"
#include "platform/frame_buffer.h"
#include "platform/keys.h"
#include "platform/root.h"
#include "platform/shell.h"
#include "platform/stop.h"
#include "platform/whole_file.h"

// A link library whose core never answers, as it has none.

namespace {

std::atomic<int> reclaims{0};
std::atomic<bool> core_answers{false};
std::array<std::byte, 128> link_buffer;
Link_Transfer issued{};

}  // namespace

extern "C" {

std::uint32_t PROC_setup() { return 32768; }
std::uint32_t PROC_attach(std::uint32_t) { return 32768; }
std::uint32_t POOL_open(std::uint32_t, std::uint32_t) { return 32768; }
std::uint32_t PROC_load(std::uint32_t, const char*, std::uint32_t, const char* const*) { return 32768; }
std::uint32_t CHNL_create(std::uint32_t, std::uint32_t, std::uint32_t) { return 32768; }
std::uint32_t CHNL_allocateBuffer(std::uint32_t, std::uint32_t, void** buffer, std::uint32_t size) {
    if (size > link_buffer.size()) return 34049;
    *buffer = link_buffer.data();
    return 32768;
}
std::uint32_t PROC_start(std::uint32_t) { return 32768; }
std::uint32_t CHNL_issue(std::uint32_t, std::uint32_t, const Link_Transfer* transfer) {
    issued = *transfer;
    return 32768;
}
std::uint32_t CHNL_reclaim(std::uint32_t, std::uint32_t, std::uint32_t limit, Link_Transfer* transfer) {
    ++reclaims;
    if (!core_answers) {
        std::this_thread::sleep_for(std::chrono::milliseconds(limit));
        return link_timed_out;
    }
    *transfer = issued;
    return 34048;
}
std::uint32_t CHNL_freeBuffer(std::uint32_t, std::uint32_t, void*) { return 32768; }
std::uint32_t CHNL_delete(std::uint32_t, std::uint32_t) { return 32768; }
std::uint32_t PROC_stop(std::uint32_t) { return 32768; }
std::uint32_t POOL_close(std::uint32_t) { return 32768; }
std::uint32_t PROC_detach(std::uint32_t) { return 32768; }
std::uint32_t PROC_destroy() { return 32768; }

}  // extern "C"

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

class Board_Seam : public testing::Test {
protected:
    void SetUp() override {
        platform::Reset_Stop();
        std::string name = (fs::temp_directory_path() / "kva720-board-XXXXXX").string();
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        folder_ = name;
    }
    void TearDown() override {
        platform::Reset_Stop();
        std::error_code error;
        fs::remove_all(folder_, error);
    }
    std::string Path(const std::string& name) const { return folder_ / name; }
    void Write(const std::string& name, const std::string& text) const {
        fs::create_directories((folder_ / name).parent_path());
        std::ofstream(folder_ / name) << text;
    }
    std::string Read(const std::string& name) const {
        std::string text;
        std::getline(std::ifstream(folder_ / name), text, '\0');
        return text;
    }

private:
    fs::path folder_;
};

TEST_F(Board_Seam, PathsAreTheMachinesOwn) {
    platform::Set_Root("/somewhere");
    EXPECT_EQ(platform::Root(), "");
    EXPECT_EQ(platform::Rooted("/mnt/nand/state.sta"), "/mnt/nand/state.sta");
    EXPECT_EQ(platform::Rooted("mnt"), "/mnt");
}

TEST_F(Board_Seam, TimeStaysRealWhateverModeIsAskedFor) {
    platform::Set_Clock_Mode(platform::Clock_Mode::fast);
    const auto begin = platform::Now();
    EXPECT_TRUE(platform::Pause_For(20ms));
    EXPECT_GE(platform::Now() - begin, 20ms);
    EXPECT_TRUE(platform::Sleep_For(-1s));
    const std::time_t now = std::time(nullptr);
    std::tm calendar = platform::Wall_Clock();
    EXPECT_NEAR(static_cast<double>(std::mktime(&calendar)), static_cast<double>(now), 5);
}

TEST_F(Board_Seam, AStopWakesEveryBlockedCall) {
    const std::string fifo = Path("keypad");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int keypad = platform::Open_Key_Device(fifo.c_str());
    const int fpga = platform::Open_Fpga_Int(fifo.c_str());
    ASSERT_GE(keypad, 0);
    ASSERT_GE(fpga, 0);
    core_answers = false;
    reclaims = 0;
    std::atomic<bool> key{true}, event{true}, slept{true};
    std::atomic<platform::DSP_STATUS> link{0};
    {
        std::jthread read_key([&] { key = platform::Read_Key(keypad).has_value(); });
        std::jthread read_event([&] { event = platform::Read_Fpga_Event(fpga).has_value(); });
        std::jthread sleep([&] { slept = platform::Sleep_For(1h); });
        std::jthread reclaim([&] {
            void* buffer = nullptr;
            link = platform::CHNL_reclaim(0, 1, &buffer);
        });
        // A wait that gave up by itself would have done so at the first look.
        while (reclaims < 2) std::this_thread::sleep_for(1ms);
        EXPECT_EQ(link, 0u);
        platform::Request_Stop();
    }
    EXPECT_FALSE(key || event || slept);
    EXPECT_FALSE(platform::DSP_SUCCEEDED(link));
    platform::Close_Key_Device(keypad);
    platform::Close_Fpga_Int(fpga);
}

TEST_F(Board_Seam, KeysComeByteByByteAndNobodyPressesThePowerKey) {
    const std::string fifo = Path("keypad");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int keypad = platform::Open_Key_Device(fifo.c_str());
    ASSERT_GE(keypad, 0);
    std::optional<std::uint8_t> first, second;
    {
        std::jthread reader([&] {
            first = platform::Read_Key(keypad);
            second = platform::Read_Key(keypad);
        });
        const int finger = ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
        ASSERT_EQ(::write(finger, "\x05\xff", 2), 2);
        ::close(finger);
    }
    EXPECT_EQ(first, 5);
    EXPECT_EQ(second, 255);
    platform::Close_Key_Device(keypad);
    EXPECT_EQ(platform::Read_Key(-1), std::nullopt);
    EXPECT_EQ(platform::Press_Power_Key(), -1);
}

TEST_F(Board_Seam, TheShellAnswersWithTheCommandsStatus) {
    Write("state", "one\ntwo\n");
    EXPECT_EQ(platform::Run_Command("sed -i '2c LastType HOST' " + Path("state")), 0);
    EXPECT_EQ(Read("state"), "one\nLastType HOST\n");
    EXPECT_EQ(platform::Run_Command("grep -q three " + Path("state")), 1);
    EXPECT_EQ(platform::Run_Command("exit 37"), 37);
    EXPECT_EQ(platform::Run_Command("exec /no/such/program 2>&-"), 127);
    EXPECT_EQ(platform::Run_Command("kill -9 $$"), 128 + 9);
}

TEST_F(Board_Seam, CommandsDontInheritIgnoredSignals) {
    const auto old = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(platform::Run_Command("kill -PIPE $$"), 128 + SIGPIPE);
    std::signal(SIGPIPE, old);
}

TEST_F(Board_Seam, AFileIsReplacedWholeOrNotAtAll) {
    const std::string path = Path("state.sta");
    ASSERT_TRUE(platform::Write_Whole_File(path, "first"));
    ASSERT_TRUE(platform::Write_Whole_File(path, std::string_view("two\0three", 9)));
    std::string content;
    EXPECT_TRUE(platform::Read_Whole_File(path, 9, content));
    EXPECT_EQ(content, std::string_view("two\0three", 9));
    EXPECT_FALSE(platform::Read_Whole_File(path, 8, content));
    EXPECT_FALSE(platform::Write_Whole_File(Path("nowhere/state.sta"), "x"));
    fs::create_directories(Path("folder/full"));
    EXPECT_FALSE(platform::Write_Whole_File(Path("folder"), "x"));
    EXPECT_FALSE(fs::exists(Path("folder.new")));
}

TEST_F(Board_Seam, OnlyAWiredInterfaceWithACarrierIsALink) {
    EXPECT_FALSE(platform::Has_Carrier(Path("net")));
    Write("net/lo/type", "772\n");
    Write("net/lo/carrier", "1\n");
    Write("net/bridge/type", "1\n");
    Write("net/bridge/carrier", "1\n");
    Write("net/eth0/type", "1\n");
    fs::create_directories(Path("net/eth0/device"));
    EXPECT_FALSE(platform::Has_Carrier(Path("net")));
    Write("net/eth0/carrier", "0\n");
    EXPECT_FALSE(platform::Has_Carrier(Path("net")));
    Write("net/eth0/carrier", "1\n");
    EXPECT_TRUE(platform::Has_Carrier(Path("net")));
}

TEST_F(Board_Seam, BrightnessIsAPercentageOfTheDriversMaximum) {
    EXPECT_EQ(platform::Set_Brightness(Path("backlight"), 50), -1);
    EXPECT_EQ(errno, ENODEV);
    Write("backlight/lcd/max_brightness", "7\n");
    Write("backlight/lcd/brightness", "0\n");
    EXPECT_EQ(platform::Set_Brightness(Path("backlight"), 250), 0);
    EXPECT_EQ(Read("backlight/lcd/brightness"), "7\n");
    EXPECT_EQ(platform::Get_Brightness(Path("backlight")), 100);
    EXPECT_EQ(platform::Set_Brightness(Path("backlight"), 50), 0);
    EXPECT_EQ(Read("backlight/lcd/brightness"), "4\n");
    Write("backlight/lcd/max_brightness", "0\n");
    EXPECT_EQ(platform::Get_Brightness(Path("backlight")), -1);
}

TEST_F(Board_Seam, TheClocksDigitsAreATimeOrNone) {
    std::array<std::uint8_t, platform::rtc_time_registers> registers{0x59, 0x08, 0x23, 0x06, 0x31, 0x12, 0x26};
    const auto time = platform::Rtc_Time(registers);
    ASSERT_TRUE(time);
    EXPECT_EQ(time->tm_sec, 59);
    EXPECT_EQ(time->tm_min, 8);
    EXPECT_EQ(time->tm_hour, 23);
    EXPECT_EQ(time->tm_wday, 6);
    EXPECT_EQ(time->tm_mday, 31);
    EXPECT_EQ(time->tm_mon, 11);
    EXPECT_EQ(time->tm_year, 126);
    for (const auto& [place, digits] : {std::pair{0, 0x60}, {1, 0x0a}, {2, 0x24}, {4, 0x00}, {5, 0x13}, {6, 0xff}}) {
        auto wrong = registers;
        wrong[place] = static_cast<std::uint8_t>(digits);
        EXPECT_FALSE(platform::Rtc_Time(wrong)) << place;
    }
}

TEST_F(Board_Seam, RequestsOfAFileThatIsNoFrameBufferFail) {
    Write("fb", std::string(4096, '\x7f'));
    const int layer = platform::Frame_Open(Path("fb").c_str()), view = platform::Frame_Open_View(Path("fb").c_str());
    platform::Frame_Fixed_Info info;
    EXPECT_EQ(platform::Frame_Get_Fixed_Info(layer, info), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(platform::Frame_Enable_Window(layer, true), -1);
    EXPECT_EQ(platform::Frame_Set_Blend_Factor(layer, 8), -1);
    EXPECT_EQ(errno, EINVAL);

    std::byte* drawn = platform::Frame_Map(layer, 4096);
    std::byte* seen = platform::Frame_Map(view, 4096);
    ASSERT_NE(drawn, nullptr);
    ASSERT_NE(seen, nullptr);
    drawn[4095] = std::byte{1};
    EXPECT_EQ(seen[4095], std::byte{1});
    platform::Frame_Unmap(drawn, 4096);
    platform::Frame_Unmap(seen, 4096);
    platform::Frame_Close(layer);
    platform::Frame_Close(view);
}

TEST_F(Board_Seam, ALinkBufferStartsEmptyAndComesBackFromTheCore) {
    link_buffer.fill(std::byte{0x55});
    void* buffer = nullptr;
    ASSERT_TRUE(platform::DSP_SUCCEEDED(platform::CHNL_allocateBuffer(0, 0, &buffer, link_buffer.size())));
    EXPECT_EQ(std::set(link_buffer.begin(), link_buffer.end()), std::set{std::byte{0}});
    core_answers = true;
    void* returned = nullptr;
    ASSERT_TRUE(platform::DSP_SUCCEEDED(platform::CHNL_issue(0, 0, buffer, link_buffer.size())));
    ASSERT_TRUE(platform::DSP_SUCCEEDED(platform::CHNL_reclaim(0, 0, &returned)));
    EXPECT_EQ(returned, buffer);
    EXPECT_FALSE(platform::DSP_SUCCEEDED(platform::CHNL_allocateBuffer(0, 0, &buffer, 4096)));
    EXPECT_EQ(buffer, nullptr);
}

}  // namespace
