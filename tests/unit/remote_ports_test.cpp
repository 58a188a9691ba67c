#include <cstring>
#include <optional>

#include "platform/virtual/device_files.h"
#include "remote/gpib.h"
#include "remote/rs232.h"
#include "remote/sinks.h"
#include "remote_rig.h"
#include "virtual_board/board.h"
#include "virtual_board/scene.h"

namespace {

using namespace std::chrono_literals;
namespace files = platform::device_files;

class Rs232_Ring : public testing::Test {
protected:
    void SetUp() override {
        remote::RS232_INBuf = {};
        remote::RS232_Flag = 0;
    }
    static void Insert(std::string_view bytes) {
        for (const char byte : bytes) remote::RS232read_queue_insert(byte);
    }
    static std::string Remove() {
        std::array<char, remote::RS232_ring_size> line;
        return {line.data(), remote::RS232read_queue_remove(line)};
    }
    static std::string Lines(int count) {
        std::string text;
        for (int i = 0; i < count; ++i) text += "L" + std::to_string(100 + i) + "\n";
        return text;
    }
};

TEST_F(Rs232_Ring, LinesComeOutAsTheyWentInRoundTheEnd) {
    for (int round = 0; round < 700; ++round) {
        Insert("ab\ncd\nef");
        Expect({{remote::RS232_Flag, 2 + (round > 0)}, {Remove(), "ab\n"}, {Remove(), "cd\n"}});
        Insert("\n");
        EXPECT_EQ(Remove(), "ef\n");
        remote::RS232_Flag = 1;
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(Remove(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "RS232read_queue_remove queue is empty \n");
    EXPECT_EQ(remote::RS232_INBuf.bytes, (std::array<char, remote::RS232_ring_size>{})) << "bytes are cleared";
}

TEST_F(Rs232_Ring, AFullRingKeepsItsNewestLineAndWhatIsBeingReceived) {
    Insert(Lines(199) + "part1");
    ASSERT_TRUE(remote::RS232_INBuf.full);
    EXPECT_EQ(remote::RS232_Flag, 199);
    Insert("X");
    EXPECT_EQ(remote::RS232_Flag, 1);
    EXPECT_EQ(Remove(), "L298\n");
    Insert("\n");
    EXPECT_EQ(Remove(), "part1X\n");
}

TEST_F(Rs232_Ring, ALineLongerThanTheRingLosesItsBeginning) {
    Insert("short\n" + std::string(994, 'a'));
    ASSERT_TRUE(remote::RS232_INBuf.full);
    Insert("b");
    EXPECT_EQ(remote::RS232_Flag, 1) << "the newest line stands";
    Insert(std::string(999, 'b') + '\n');
    EXPECT_EQ(remote::RS232_Flag, 1);
    EXPECT_EQ(Remove(), std::string(999, 'b') + '\n');
}

TEST(Rs232_Settings, UnknownBaudRatesAreTheFastest) {
    Expect({{remote::Baud_Rate(0), 300}, {remote::Baud_Rate(5), 9600}, {remote::Baud_Rate(8), 57600}});
    for (const int index : {9, 10, -1, 1 << 30}) EXPECT_EQ(remote::Baud_Rate(index), 115200) << index;
}

/// The server beside a virtual board, with a program at the other end of its cables.
class Remote_Ports : public Remote_Rig {
protected:
    void Prepare() override {
        board_ = std::make_unique<virtual_board::Board>(
            virtual_board::Parse_Scene("[[carrier]]\nfrequency = 1e6\nlevel = -20\n", "scene"),
            virtual_board::Board_Options{.manual = true});
        board_->Start();
    }
    void Finish() override { board_.reset(); }

    static Connection Controller(const char* device) {
        return Unix("/dev", (std::string(device).substr(5) + files::controller_suffix).c_str(), SOCK_SEQPACKET);
    }
    static Connection Serial() {
        return Connection(open(platform::Rooted(files::serial_user).c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    }

    /// What the instrument sent: bytes as they are, requests as "<number:argument>".
    static std::string Packet(const Connection& controller) {
        std::array<char, 16384> bytes;
        pollfd wait{controller.Descriptor(), POLLIN, 0};
        if (poll(&wait, 1, 10000) <= 0) return "nothing";
        const ssize_t got = recv(controller.Descriptor(), bytes.data(), bytes.size(), 0);
        files::Device_Header header{};
        if (got < static_cast<ssize_t>(sizeof header)) return "broken";
        std::memcpy(&header, bytes.data(), sizeof header);
        if (header.packet == files::Device_Packet::request)
            return '<' + std::to_string(header.request) + ':' + std::to_string(header.argument) + '>';
        return {bytes.data() + sizeof header, static_cast<std::size_t>(got) - sizeof header};
    }

private:
    std::unique_ptr<virtual_board::Board> board_;
};

TEST_F(Remote_Ports, GpibAnswersAndRequestsService) {
    const Connection controller = Controller(files::gpib);
    ASSERT_TRUE(controller.Send("*ID"));
    ASSERT_TRUE(controller.Send("N?\n"));
    EXPECT_EQ(Packet(controller), "me\n");
    EXPECT_EQ(Remote_Flag, 1);
    ASSERT_TRUE(controller.Send(":LONG? 9998\n"));
    std::string answer = Packet(controller);
    answer += Packet(controller);
    EXPECT_EQ(answer, std::string(9998, 'a') + '\n');

    SCPI_RegSet(scpi_context, reg_ese, esr_command_error);
    SCPI_RegSet(scpi_context, reg_sre, stb_standard_event);
    ASSERT_TRUE(controller.Send(":NONE\n"));
    EXPECT_EQ(Packet(controller), "<2:96>");
    EXPECT_EQ(Packet(controller), "<2:100>") << "the error queue's bit is a change of its own";
    ASSERT_TRUE(controller.Send("*CLS\n"));
    EXPECT_EQ(Packet(controller), "<3:100>");
    remote::Hand_Over_Gpib_Address(7);
    EXPECT_EQ(Packet(controller), "<0:7>");
    SCPI_RegSetBits(scpi_context, reg_esr, esr_command_error);
    SCPI_RegSet(scpi_context, reg_sre, 0);
    SCPI_RegSet(scpi_context, reg_sre, stb_standard_event);
    EXPECT_EQ(Packet(controller), "<2:100>") << "raised by another thread";
}

TEST_F(Remote_Ports, RequestsGoOutWhileACommandWaits) {
    const Connection gpib = Controller(files::gpib);
    const Connection raw = Raw();
    SCPI_RegSet(scpi_context, reg_ese, esr_command_error);
    SCPI_RegSet(scpi_context, reg_sre, stb_standard_event | stb_operation);
    SCPI_RegSet(scpi_context, reg_operation + set_enable, operation_waiting_for_trigger);
    ASSERT_TRUE(gpib.Send(":NONE;*OPC?\n"));
    ASSERT_TRUE(Sweep_Waited_For());
    EXPECT_EQ(Packet(gpib), "<2:96>");
    EXPECT_EQ(Packet(gpib), "<2:100>");
    SCPI_RegSetBits(scpi_context, reg_operation + set_condition, operation_waiting_for_trigger);
    EXPECT_EQ(Packet(gpib), "<2:228>") << "raised by another thread";
    EXPECT_EQ(Command_Query_Opc_Flag, 1);
    End_Sweep();
    EXPECT_EQ(Packet(gpib), "1\n");
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
}

TEST_F(Remote_Ports, UsbIsToldTheStatusByteAfterEveryMessage) {
    const Connection host = Controller(files::usb);
    ASSERT_TRUE(host.Send("*IDN?\n"));
    EXPECT_EQ(Packet(host), "me\n");
    EXPECT_EQ(Packet(host), "<2:16>");
    ASSERT_TRUE(host.Send(":SIL\n"));
    EXPECT_EQ(Packet(host), "<2:0>");
    SCPI_RegSet(scpi_context, reg_sre, stb_message_available);
    ASSERT_TRUE(host.Send(":COUN?\n"));
    Expect({{Packet(host), "2\n"}, {Packet(host), "<2:80>"}, {Packet(host), "<0:80>"}});
    const Connection raw = Raw();
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
    EXPECT_TRUE(host.Silent()) << "another interface's status changes are none of the host's requests";
}

TEST_F(Remote_Ports, ControllersComeAndGoAndOneThatNeverReadsHarmsNobody) {
    {
        const Connection first = Controller(files::gpib);
        ASSERT_TRUE(first.Send("*IDN?\n"));
        EXPECT_EQ(Packet(first), "me\n");
        EXPECT_EQ(Controller(files::gpib).Receive(1), "") << "one at a time";
        ASSERT_TRUE(first.Send(":LONG? 9000\n"));
    }
    std::optional<Connection> second;
    ASSERT_TRUE(Eventually([&] {
        second.reset();
        second.emplace(Controller(files::gpib));
        return second->Send("*IDN?\n") && Packet(*second) == "me\n";
    }));
    fcntl(second->Descriptor(), F_SETFL, O_NONBLOCK);
    int last = -1;
    ASSERT_TRUE(Eventually([&] {
        while (second->Send(":LONG? 9000\n:LONG? 9000\n:LONG? 9000\n")) {}
        return std::exchange(last, executed.load()) == executed;
    }));
    const Connection raw = Raw();
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
    platform::Step_Clock(30s);
    EXPECT_TRUE(Eventually([&] { return executed > last; })) << "its answers are lost and the next message executed";
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
}

TEST_F(Remote_Ports, SerialLinesAreExecutedWhenTheirLineFeedComes) {
    const Connection terminal = Serial();
    for (const char* piece : {"*I", "DN", "?"}) ASSERT_TRUE(terminal.Send(piece));
    Expect({{terminal.Receive(1, 300), ""}, {terminal.Ask("\n"), "me\n"}, {terminal.Ask(":COUN?\r\n"), "1\n"},
            {terminal.Ask("*IDN?;:COUN?\n:LONG? 9000\n"), "me;2\n"}, {terminal.Line(), std::string(9000, 'c') + '\n'}});
    ASSERT_TRUE(terminal.Send(std::string(900, 'x') + '\n'));
    EXPECT_EQ(terminal.Ask(":ERR?\n"), "0\n");
}

TEST_F(Remote_Ports, ASerialUserWhoNeverReadsLosesAnswersOnly) {
    Connection terminal = Serial();
    const Connection raw = Raw();
    fcntl(terminal.Descriptor(), F_SETFL, O_NONBLOCK);
    for (int i = 0; i < 40; ++i) terminal.Send(":LONG? 9000\n");
    int last = -1;
    ASSERT_TRUE(Eventually([&] {
        std::this_thread::sleep_for(20ms);
        return executed > 0 && std::exchange(last, executed.load()) == last;
    }));
    EXPECT_LT(last, 40);
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
    platform::Step_Clock(30s);
    EXPECT_TRUE(Eventually([&] { return executed > last; }));
    terminal.Close();
    EXPECT_TRUE(Eventually([] { return executed >= 40; })) << "with nobody at the cable's end nothing stands";
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
}

TEST_F(Remote_Ports, ABoardThatGoesAwayLeavesTheOthers) {
    const Connection raw = Raw();
    testing::internal::CaptureStderr();
    Finish();
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
    SCPI_RegSet(scpi_context, reg_sre, stb_message_available);
    EXPECT_EQ(raw.Ask("*CLS;*IDN?\n"), "me\n");
    Stop();
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("GPIB"), std::string::npos) << told;
}

/// A kind of interface that is not served by the server itself.
class Far_Sink : public remote::Sink {
public:
    explicit Far_Sink(Interface_Kind kind) : kind_(kind) { remote::Set_Sink(kind, this); }
    ~Far_Sink() override { remote::Set_Sink(kind_, nullptr); }
    void Answer(int session, std::string_view answer) override { answers += std::to_string(session) + answer.data(); }
    void Request_Service(int session, std::uint32_t status_byte) override {
        unlocked = !scpi_lock_mutex.Held_Here() && !Command_Main_Mutex.Held_Here();
        requested = session * 1000 + static_cast<int>(status_byte);
    }
    bool Lives(int) override { return lives; }

    std::string answers;
    std::atomic<int> requested{0};
    std::atomic<bool> lives{true}, unlocked{false};

private:
    Interface_Kind kind_;
};

TEST_F(Remote_Ports, OtherKindsRegisterTheirSinks) {
    Pending_Input pending;
    EXPECT_EQ(Raw().Ask("*IDN?\n"), "me\n") << "the server has its own sinks in place";
    SCPI_Receive(scpi_context, {interface_hislip, 3}, pending, "*IDN?\n");
    EXPECT_EQ(SCPI_outputBuffer_idx, 0u) << "nobody takes it";
    Far_Sink sink(interface_hislip);
    SCPI_RegSet(scpi_context, reg_sre, stb_message_available);
    SCPI_Receive(scpi_context, {interface_hislip, 3}, pending, "*IDN?\n");
    EXPECT_EQ(sink.answers, "3me\n");
    EXPECT_TRUE(Eventually([&] { return sink.requested == 3080; }));
    EXPECT_TRUE(sink.unlocked);
    sink.lives = false;
    SCPI_Receive(scpi_context, {interface_hislip, 3}, pending, "*OPC?\n");
    EXPECT_EQ(sink.answers, "3me\n");
    EXPECT_EQ(Pending_Operation_Flag, 0);
    remote::Set_Sink(interface_hislip, nullptr);
    EXPECT_EQ(Raw().Ask("*IDN?\n"), "me\n");  // by now the server has left the sink
    const std::lock_guard turn(scpi_lock_mutex);
}

}  // namespace
