#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <poll.h>
#include <thread>

#include "platform/backlight.h"
#include "platform/clock.h"
#include "platform/dsp_link.h"
#include "platform/dsp_message.h"
#include "platform/fpga_int.h"
#include "platform/sample_memory.h"
#include "platform/stop.h"
#include "platform/virtual/device_files.h"
#include "tests/unit/core_rig.h"
#include "tests/unit/expect.h"
#include "tests/unit/temp_root.h"
#include "virtual_board/board.h"
#include "virtual_board/seed.h"

namespace {

using namespace std::chrono_literals;
using platform::DSP_SUCCEEDED;
using virtual_board_test::Message;

constexpr const char* carrier_scene = R"(
[[carrier]]
frequency = 100e6
level = -20
)";

/// The instrument's end of the link.
class Link {
  public:
    bool Open() {
        void* buffer = nullptr;
        const bool up = DSP_SUCCEEDED(platform::PROC_setup()) && DSP_SUCCEEDED(platform::PROC_attach(0)) &&
                        DSP_SUCCEEDED(platform::POOL_open(0, platform::message_bytes)) &&
                        DSP_SUCCEEDED(platform::PROC_load(0, "dsp_loop_new.out", "2048", "1")) &&
                        DSP_SUCCEEDED(platform::CHNL_create(0, 0, platform::Channel_Mode::output)) &&
                        DSP_SUCCEEDED(platform::CHNL_create(0, 1, platform::Channel_Mode::input)) &&
                        DSP_SUCCEEDED(platform::CHNL_allocateBuffer(0, 0, &buffer, platform::message_bytes)) &&
                        DSP_SUCCEEDED(platform::PROC_start(0));
        buffer_ = static_cast<double*>(buffer);
        return up;
    }
    ~Link() { Close(); }

    void Close() {
        if (buffer_ != nullptr)
            platform::CHNL_freeBuffer(0, 0, buffer_);
        buffer_ = nullptr;
        platform::CHNL_delete(0, 1);
        platform::CHNL_delete(0, 0);
        platform::PROC_destroy();
    }

    /// One exchange as the instrument makes it; the answer's elements are left in Answer().
    bool Exchange(const Message& message) {
        std::ranges::copy(message, buffer_);
        return Pass(platform::dsp_channel_out) && Pass(platform::dsp_channel_in);
    }

    std::span<const double> Answer() const { return {buffer_, platform::message_elements}; }

  private:
    bool Pass(unsigned channel) {
        void* buffer = nullptr;
        return DSP_SUCCEEDED(platform::CHNL_issue(0, channel, buffer_, platform::message_bytes)) &&
               DSP_SUCCEEDED(platform::CHNL_reclaim(0, channel, &buffer)) && buffer == buffer_;
    }

    double* buffer_ = nullptr;
};

class Board_Test : public testing::Test {
  protected:
    void SetUp() override {
        platform::Reset_Stop();
        platform::Set_Clock_Mode(platform::Clock_Mode::real);
    }
    void TearDown() override { platform::Reset_Stop(); }

    std::unique_ptr<virtual_board::Board> Start(bool manual) {
        auto board = std::make_unique<virtual_board::Board>(virtual_board::Parse_Scene(carrier_scene, "scene"),
                                                            virtual_board::Board_Options{.manual = manual});
        board->Start();
        return board;
    }

    Temp_Root root{3};
};

double Written(const double* memory) {
    return platform::Load_Element(memory, platform::written_count);
}

TEST_F(Board_Test, ASweepGoesOverTheLinkAndComesBackThroughTheSampleMemory) {
    const auto board = Start(true);
    double* memory = platform::Map_Sample_Memory();
    ASSERT_NE(memory, nullptr);
    Link link;
    ASSERT_TRUE(link.Open());

    const Message message = virtual_board_test::Sweep_Message(100e6, 1e6, 5);
    ASSERT_TRUE(link.Exchange(message));
    EXPECT_TRUE(std::ranges::equal(link.Answer(), message));
    EXPECT_EQ(Written(memory), 0.0);
    board->Step(platform::Duration(std::llround(message[platform::sweep_time] * 0.5e9)));
    EXPECT_NEAR(Written(memory), 300.0, 1.0);
    board->Step(platform::Duration(std::llround(message[platform::sweep_time] * 0.51e9)));
    ASSERT_GE(Written(memory), 601.0);
    EXPECT_NEAR(memory[platform::positive_peak_samples + 300], -20.0, 0.1);

    // A new sweep message starts the count again before its answer comes.
    ASSERT_TRUE(link.Exchange(message));
    EXPECT_EQ(Written(memory), 0.0);
    platform::Unmap_Sample_Memory(memory);
}

TEST_F(Board_Test, ASingleSweepEndsWithAnEventOfTheFpgaDevice) {
    const auto board = Start(true);
    const int fpga = platform::Open_Fpga_Int(platform::device_files::fpga_int);
    ASSERT_GE(fpga, 0);
    Link link;
    ASSERT_TRUE(link.Open());
    ASSERT_EQ(platform::Fpga_Int_Request(fpga, 0, 0), 0);
    Message message = virtual_board_test::Sweep_Message(100e6, 1e6, 5);
    const auto sweep_time = platform::Duration(std::llround(message[platform::sweep_time] * 1e9));
    ASSERT_TRUE(link.Exchange(message));
    Message single{};
    single[0] = platform::code_single_sweep;
    single[1] = 1.0;
    ASSERT_TRUE(link.Exchange(single));

    pollfd event{fpga, POLLIN, 0};
    board->Step(sweep_time / 2);
    EXPECT_EQ(::poll(&event, 1, 0), 0);
    board->Step(sweep_time);
    EXPECT_EQ(platform::Read_Fpga_Event(fpga), platform::fpga_sweep_finished);
    board->Step(sweep_time * 3);
    EXPECT_EQ(::poll(&event, 1, 0), 0);
    platform::Close_Fpga_Int(fpga);
}

/// The trigger input is a file, and the armed interrupt tells when its edge has come.
TEST_F(Board_Test, AnEdgeWrittenToTheTriggerInputStartsASweep) {
    const auto board = Start(true);
    const int fpga = platform::Open_Fpga_Int(platform::device_files::fpga_int);
    Link link;
    ASSERT_TRUE(link.Open());
    Message trigger{};
    trigger[0] = platform::code_trigger;
    trigger[platform::trigger_source] = platform::trigger_external;
    const Message message = virtual_board_test::Sweep_Message(100e6, 1e6, 5);
    const auto sweep_time = platform::Duration(std::llround(message[platform::sweep_time] * 1e9));
    ASSERT_TRUE(link.Exchange(trigger));
    ASSERT_TRUE(link.Exchange(message));
    board->Step(sweep_time * 2);
    double* memory = platform::Map_Sample_Memory();
    EXPECT_EQ(Written(memory), 0.0);
    for (const int request : {1, 0}) EXPECT_EQ(platform::Fpga_Int_Request(fpga, request, 1), 0);
    root.Write(platform::device_files::trigger, "x\n10");
    EXPECT_EQ(platform::Read_Fpga_Event(fpga), platform::fpga_triggered);
    board->Step(sweep_time * 2);
    EXPECT_EQ(Written(memory), 601.0);
    EXPECT_EQ(platform::Read_Fpga_Event(fpga), platform::fpga_sweep_finished);
    platform::Unmap_Sample_Memory(memory);
    platform::Close_Fpga_Int(fpga);
}

TEST_F(Board_Test, InRealTimeSamplesComeByThemselves) {
    const auto board = Start(false);
    double* memory = platform::Map_Sample_Memory();
    Link link;
    ASSERT_TRUE(link.Open());
    Message message = virtual_board_test::Sweep_Message(100e6, 1e6, 5);
    message[platform::sweep_time] = 0.05;
    ASSERT_TRUE(link.Exchange(message));
    for (int i = 0; i < 1000 && Written(memory) < 1202.0; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_GE(Written(memory), 1202.0);
    platform::Unmap_Sample_Memory(memory);
}

TEST_F(Board_Test, ThePeripheralMessageSetsTheBacklight) {
    const auto board = Start(true);
    Link link;
    ASSERT_TRUE(link.Open());
    const auto send = [&](double on, double percent) {
        Message message{};
        message[0] = platform::code_peripheral;
        message[1] = on;
        message[2] = percent;
        return link.Exchange(message) ? platform::Get_Backlight() : -1;
    };
    Expect({{send(1, 30), 30}, {send(0, 30), 0}, {send(1, 1e300), 100}, {send(1, std::nan("")), 100}});
}

TEST_F(Board_Test, ADeadBoardEndsAWaitingCallAndANewOneCanBeReached) {
    auto board = Start(true);
    Link link;
    ASSERT_TRUE(link.Open());
    void* buffer = nullptr;
    ASSERT_TRUE(DSP_SUCCEEDED(platform::CHNL_allocateBuffer(0, 1, &buffer, 64)));
    // No message has gone out, so no answer comes.
    ASSERT_TRUE(DSP_SUCCEEDED(platform::CHNL_issue(0, 1, buffer, 64)));
    auto waiting = std::async(std::launch::async, [] {
        void* returned = nullptr;
        return platform::CHNL_reclaim(0, 1, &returned);
    });
    EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    board->Stop();
    EXPECT_FALSE(DSP_SUCCEEDED(waiting.get()));
    EXPECT_FALSE(link.Exchange({}));
    EXPECT_FALSE(link.Exchange({}));
    platform::CHNL_freeBuffer(0, 1, buffer);

    board.reset();
    board = Start(true);
    link.Close();
    ASSERT_TRUE(link.Open());
    EXPECT_TRUE(link.Exchange(virtual_board_test::Sweep_Message(100e6, 1e6, 5)));
}

TEST_F(Board_Test, OneInstrumentAtATimeAndTheNextWhenItHasGone) {
    const auto board = Start(true);
    Link first;
    ASSERT_TRUE(first.Open());
    ASSERT_TRUE(first.Exchange({}));

    // Another process's instrument: its connection is closed at once.
    const std::string path = platform::Rooted(platform::device_files::dsp_link);
    const int second = platform::device_files::Connect_Device(path);
    ASSERT_GE(second, 0);
    pollfd ended{second, POLLIN, 0};
    EXPECT_EQ(::poll(&ended, 1, 10000), 1);
    std::byte byte;
    EXPECT_EQ(::recv(second, &byte, 1, MSG_DONTWAIT), 0);
    ::close(second);
    EXPECT_TRUE(first.Exchange({}));

    first.Close();
    ASSERT_TRUE(first.Open());
    EXPECT_TRUE(first.Exchange({}));
}

TEST_F(Board_Test, UnreadablePacketsDoNoHarm) {
    const auto board = Start(true);
    const std::string path = platform::Rooted(platform::device_files::dsp_link);
    const int client = platform::device_files::Connect_Device(path);
    using platform::device_files::Link_Header, platform::device_files::Link_Packet;
    const Link_Header unknown{static_cast<Link_Packet>(99), 0xffffffff};
    const std::array<std::uint32_t, 4> odd{1, 0xffffffff, 7, 7};  // a message of one double, its size a lie
    ASSERT_EQ(::send(client, &unknown, sizeof unknown, MSG_NOSIGNAL), ssize_t{sizeof unknown});
    ASSERT_EQ(::send(client, &odd, sizeof odd, MSG_NOSIGNAL), ssize_t{sizeof odd});
    Link_Header answer{};
    pollfd wait{client, POLLIN, 0};
    ASSERT_EQ(::poll(&wait, 1, 10000), 1);
    ASSERT_EQ(::recv(client, &answer, sizeof answer, 0), ssize_t{sizeof answer});
    EXPECT_EQ(answer.packet, Link_Packet::taken);
    // Too short for a header: no instrument speaks so.
    ASSERT_EQ(::send(client, "x", 1, MSG_NOSIGNAL), 1);
    ASSERT_EQ(::poll(&wait, 1, 10000), 1);
    EXPECT_EQ(::recv(client, &answer, sizeof answer, 0), 0);
    ::close(client);
    Link link;
    ASSERT_TRUE(link.Open());
    EXPECT_TRUE(link.Exchange({}));
}

TEST_F(Board_Test, TheBoardTakesItsDevicesAway) {
    Start(true).reset();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(platform::Rooted("/dev")))
        EXPECT_TRUE(entry.is_directory()) << entry.path();
}

TEST_F(Board_Test, SeedingKeepsTheUsersFilesAndFollowsTheBuild) {
    virtual_board::Seed_Root(KVA720_SHARE, "KVA7230");
    const std::string words = root.Read("/mnt/nand/wordlist.txt");
    EXPECT_FALSE(words.empty());
    EXPECT_TRUE(std::filesystem::exists(platform::Rooted("/mnt/nand/fonts/NI7SEG.TTF")));
    const std::string identity = root.Read("/opt/KVA720/identity");
    EXPECT_EQ(identity.substr(0, 12), "KVA\nKVA7230\n");
    std::istringstream corrections(root.Read("/mnt/nand/record.out"));
    EXPECT_EQ(std::distance(std::istream_iterator<double>(corrections), {}), 17);

    root.Write("/mnt/nand/wordlist.txt", "old");
    root.Write("/mnt/nand/record.out", "1\n");
    root.Write("/mnt/nand/state.sta", "state");
    root.Write("/mnt/mtd14/Logo.jpg", "logo");
    virtual_board::Seed_Root(KVA720_SHARE, "KVA7200");
    Expect({{root.Read("/mnt/nand/wordlist.txt"), words}, {root.Read("/mnt/nand/record.out"), "1\n"},
            {root.Read("/mnt/nand/state.sta"), "state"}, {root.Read("/mnt/mtd14/Logo.jpg"), "logo"},
            {root.Read("/opt/KVA720/identity"), "KVA\nKVA7200\n" + identity.substr(12)}});
}

TEST_F(Board_Test, AMissingShareIsOneClearLine) {
    try {
        virtual_board::Seed_Root("/nowhere", "KVA7230");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        EXPECT_NE(std::string(error.what()).find("/nowhere"), std::string::npos);
    }
}

}  // namespace
