#include "remote_rig.h"

namespace {

using namespace std::chrono_literals;

class Raw_Socket : public Remote_Rig {};

TEST_F(Raw_Socket, MessagesAreExecutedHoweverTheyAreCutAndClientsStayApart) {
    const Connection first = Raw(), second = Raw();
    ASSERT_TRUE(first.Send("*ID"));
    EXPECT_EQ(second.Ask("*IDN?\n"), "me\n");
    EXPECT_EQ(Remote_Flag, 1);
    ASSERT_TRUE(second.Send(":COUN"));
    Expect({{first.Ask("N?;:COUN?\r\n"), "me;1\n"}, {second.Ask("t?\n*IDN?\n"), "2\n"}, {second.Line(), "me\n"},
            {first.Ask(":NONE\n:ERR?\n"), "-113\n"}});
    ASSERT_TRUE(first.Send("*RST\n"));
    EXPECT_TRUE(Eventually([] { return resets == 1; }));
}

TEST_F(Raw_Socket, AMessageThatIsTooLongIsForgottenAndTheNextOnesExecuted) {
    const Connection client = Raw(), other = Raw();
    ASSERT_TRUE(client.Send(":SIL " + std::string(3000, 'x')));
    Expect({{other.Ask("*IDN?\n"), "me\n"}, {client.Ask("yy\n*IDN?\n"), "me\n"}, {client.Ask(":ERR?\n"), "0\n"},
            {executed, 0}});
    ASSERT_TRUE(client.Send(":LONG? 20000\n*IDN?\n"));
    EXPECT_EQ(client.Line(), std::string(scpi_output_size - 1, 'a') + "me\n") << "an answer is cut, its newline too";
}

TEST_F(Raw_Socket, SlowReadersGetEveryAnswerInOrder) {
    const Connection slow = Raw();
    const int queries = 2000;
    std::thread asking([&] {
        for (int i = 0; i < queries; ++i) ASSERT_TRUE(slow.Send(":LONG? 4000\n"));
    });
    const Connection other = Raw();
    for (int i = 0; i < 20; ++i) EXPECT_EQ(other.Ask("*IDN?\n"), "me\n");
    for (int i = 0; i < queries; ++i) {
        const std::string expected = std::string(4000, static_cast<char>('a' + i % 26)) + '\n';
        ASSERT_EQ(slow.Receive(expected.size()), expected) << i;
    }
    asking.join();
}

TEST_F(Raw_Socket, WhoNeverReadsIsNotReadAndInTheEndDropped) {
    const Connection deaf = Raw(), other = Raw();
    fcntl(deaf.Descriptor(), F_SETFL, O_NONBLOCK);
    std::string flood;
    for (int i = 0; i < 40; ++i) flood += ":LONG? 9000\n";
    int last = -1;
    EXPECT_TRUE(Eventually([&] {
        // Full when nothing more is taken and nothing more executed.
        while (deaf.Send(flood)) {}
        return std::exchange(last, executed.load()) == executed;
    }));
    EXPECT_EQ(other.Ask("*IDN?\n"), "me\n");
    const auto dropped = [&] {
        pollfd wait{deaf.Descriptor(), POLLRDHUP, 0};
        return poll(&wait, 1, 0) > 0;
    };
    platform::Step_Clock(29s);
    EXPECT_EQ(other.Ask("*IDN?\n"), "me\n");
    EXPECT_FALSE(dropped());
    // A slow machine may only now have come to what stands for good.
    EXPECT_TRUE(Eventually([&] {
        platform::Step_Clock(1s);
        return dropped();
    }));
    EXPECT_EQ(other.Ask("*IDN?\n"), "me\n");
}

TEST_F(Raw_Socket, ManyClientsAreServedAndOneTooManyRefused) {
    std::vector<Connection> crowd;
    for (std::size_t i = 0; i < remote::Raw_Clients::slots; ++i) {
        crowd.push_back(Raw());
        ASSERT_TRUE(crowd.back().Send(i % 2 ? "*ID" : "*IDN"));
    }
    for (std::size_t i = 0; i < crowd.size(); ++i) EXPECT_EQ(crowd[i].Ask(i % 2 ? "N?\n" : "?\n"), "me\n") << i;
    EXPECT_EQ(Raw().Receive(1), "");
    crowd[7].Close();
    EXPECT_TRUE(Eventually([] { return Raw().Ask("*IDN?\n") == "me\n"; }));
    const Connection fresh = Raw();
    EXPECT_EQ(fresh.Ask("N?\n:ERR?\n"), "-113\n") << "what a client left unfinished went with it";
}

TEST_F(Raw_Socket, WhenDescriptorsRunOutTheOthersAreServedAndTheNextOneLater) {
    const Connection old = Raw();
    EXPECT_EQ(old.Ask("*IDN?\n"), "me\n");
    testing::internal::CaptureStderr();
    const Connection client =
        Without_Descriptors(old, "*IDN?\n", [&] { EXPECT_EQ(old.Ask("*IDN?\n"), "me\n"); });
    EXPECT_EQ(client.Line(), "me\n");
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
}

TEST_F(Raw_Socket, APortThatIsTakenIsNamed) {
    const std::string name = remote::Raw_Address();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(remote::Open_Raw_Listener("127.0.0.1", std::stoi(name.substr(name.find(':') + 1))));
    EXPECT_FALSE(remote::Open_Raw_Listener("nowhere", 0));
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find(name.substr(name.find(':') + 1)), std::string::npos) << told;
    EXPECT_EQ(remote::Raw_Address(), name);
}

class Remote_Wait : public Remote_Rig {};

TEST_F(Remote_Wait, ThePageGoesOnWhileACommandWaitsAndOthersComeAfterIt) {
    const Connection client = Raw(), other = Raw();
    const Connection page = Page(), console = Page();
    ASSERT_TRUE(client.Send(":COUN?\n*OPC?\n:COUN?\n"));
    EXPECT_EQ(client.Line(), "1\n") << "sent before the wait";
    ASSERT_TRUE(Sweep_Waited_For());
    ASSERT_TRUE(other.Send(":COUN?\n"));
    ASSERT_TRUE(console.Send("KY\x09RW"));
    EXPECT_EQ(console.Receive(9), std::string("ST\0OK\0ST\0", 9));
    ASSERT_TRUE(console.Send(":SIL;*IDN?"));
    ASSERT_TRUE(page.Send("KY\x05"));
    EXPECT_EQ(page.Receive(6), std::string("ST\0OK\0", 6));
    EXPECT_EQ(last_key, 5);
    const Connection late = Page();
    ASSERT_TRUE(late.Send("PW"));
    EXPECT_EQ(late.Receive(3), std::string("NO\0", 3));
    EXPECT_TRUE(client.Silent() && other.Silent() && console.Silent());
    EXPECT_EQ(executed, 1);
    End_Sweep();
    Expect({{client.Line(), "1\n"}, {client.Line(), "2\n"}, {console.Receive(4), std::string("me\n\0", 4)}});
    EXPECT_FALSE(other.Line().empty());
    EXPECT_EQ(executed, 4);
}

TEST_F(Remote_Wait, AClientThatLeavesEndsItsWaitAndNobodyGetsItsAnswer) {
    const Connection other = Raw();
    {
        Connection client = Raw();
        ASSERT_TRUE(client.Send("*IDN?;*OPC?\n"));
        ASSERT_TRUE(Sweep_Waited_For());
        client.Close();
    }
    EXPECT_EQ(other.Ask(":COUN?\n"), "1\n");
    std::vector<Connection> fresh;
    for (int i = 0; i < 8; ++i) fresh.push_back(Raw());
    for (const Connection& client : fresh) EXPECT_EQ(client.Ask("*IDN?\n"), "me\n");
    EXPECT_EQ(Pending_Operation_Flag, 0);

    Connection console = Page();
    ASSERT_TRUE(console.Send(std::string("SC\x05\0\0\0*OPC?", 11)));
    ASSERT_TRUE(Sweep_Waited_For());
    console.Close();
    EXPECT_EQ(other.Ask(":COUN?\n"), "2\n");
}

TEST_F(Remote_Wait, HeldInputGoesOnWhenTheHoldersClientHasLeft) {
    Connection holder = Raw();
    const Connection other = Raw();
    ASSERT_TRUE(holder.Send("*WAI\n"));
    ASSERT_TRUE(Eventually([] { return Pending_Operation_Flag == 1; }));
    ASSERT_TRUE(other.Send(":COUN?\n"));
    const Connection page = Page();
    ASSERT_TRUE(page.Send("PW"));
    EXPECT_EQ(page.Receive(3), std::string("NO\0", 3));
    EXPECT_TRUE(other.Silent());
    holder.Close();
    EXPECT_EQ(other.Line(), "1\n");
}

TEST_F(Remote_Wait, WithoutASweepToComeNobodyWaitsAndTheStopEndsAWait) {
    const Connection client = Raw();
    sweep_can_come = false;
    EXPECT_EQ(client.Ask("*OPC?\n"), "1\n");
    sweep_can_come = true;
    ASSERT_TRUE(client.Send("*OPC?\n"));
    ASSERT_TRUE(Sweep_Waited_For());
    Stop();
    EXPECT_EQ(Command_Query_Opc_Flag, 0);
}

}  // namespace
