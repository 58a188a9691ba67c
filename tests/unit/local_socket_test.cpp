#include "remote/local_protocol.h"
#include "remote_rig.h"

namespace {

class Local_Socket : public Remote_Rig {
protected:
    void Prepare() override { root.Write("/tmp/web_store/talmiron.sock", "an old file"); }

    static std::string Length(std::uint32_t value) {
        std::string bytes;
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>(value >> shift));
        return bytes;
    }
    static std::string Whole(std::string_view text) {
        return "SC" + Length(static_cast<std::uint32_t>(text.size())) + std::string(text);
    }
};

const std::string st("ST\0", 3), ok("OK\0", 3), no("NO\0", 3);

TEST_F(Local_Socket, KeysAreAnsweredHoweverTheirBytesAreCut) {
    const Connection first = Page(), second = Page();
    first.Send("K");
    second.Send("KY");
    EXPECT_EQ(second.Receive(3), st);
    second.Send("\x05");
    EXPECT_EQ(second.Receive(3), ok) << "half a command of another client is not in the way";
    EXPECT_EQ(last_key, 5);
    first.Send("Y\x07KY\xc8PW");
    EXPECT_EQ(first.Receive(15), st + ok + st + no + no);
    EXPECT_EQ(last_key, 200);
}

TEST_F(Local_Socket, SettingsAreLinesOfNameAndNumber) {
    settings.clear();
    const Connection client = Page();
    client.Send("SEspan 2.5e6\nSEcen");
    EXPECT_EQ(client.Receive(9), st + ok + st);
    client.Send("ter 1\nSEspan nan\nSEspan 1x\nSEspan\n");
    EXPECT_EQ(client.Receive(21), no + st + no + st + no + st + no);
    EXPECT_EQ(settings, "span=2500000.000000;center=1.000000;");
    client.Send("SE");
    EXPECT_EQ(client.Receive(3), st);
    client.Send(std::string(100, 'x'));
    EXPECT_EQ(client.Receive(1), "") << "a line without end ends the connection";
}

TEST_F(Local_Socket, LongAnswersComeWholeAndUnknownCommandsEndTheirConnectionOnly) {
    const Connection first = Page(), second = Page();
    first.Send("TRIN");
    const std::string length = first.Receive(4);
    EXPECT_EQ(length, std::string("\xe0\x93\x04\0", 4));
    EXPECT_EQ(first.Receive(300'000), std::string(300'000, 't'));
    EXPECT_EQ(first.Receive(4 + 13).substr(4), "{\"model\":\"X\"}");
    second.Send("QQ");
    EXPECT_EQ(second.Receive(1), "");
    first.Send("PW");
    EXPECT_EQ(first.Receive(3), no);
}

TEST_F(Local_Socket, ClientsThatNeverReadOrComeInCrowdsHarmNobody) {
    std::vector<Connection> crowd;
    for (int i = 0; i < 12; ++i) {
        crowd.push_back(Page());
        for (int j = 0; j < 20; ++j) send(crowd.back().Descriptor(), "TR", 2, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    const Connection client = Page();
    client.Send("PW");
    EXPECT_EQ(client.Receive(3), no);
}

TEST_F(Local_Socket, ShortTextsAreOneRecvEachAndTheirAnswersCutAtTheSlot) {
    const Connection client = Page();
    ASSERT_TRUE(client.Send("RW"));
    EXPECT_EQ(client.Receive(3), st);
    ASSERT_TRUE(client.Send("*IDN?;:COUN?"));
    EXPECT_EQ(client.Receive(6), std::string("me;1\n\0", 6));
    EXPECT_EQ(Remote_Flag, 0) << "the page is the front panel";
    ASSERT_TRUE(client.Send("WR"));
    EXPECT_EQ(client.Receive(3), st);
    ASSERT_TRUE(client.Send(":COUN?"));
    ASSERT_TRUE(Eventually([] { return executed == 2; }));
    ASSERT_TRUE(client.Send("RW"));
    EXPECT_EQ(client.Receive(3), st) << "no answer of the last text";
    ASSERT_TRUE(client.Send(":SIL"));
    EXPECT_EQ(client.Receive(1), std::string(1, '\0'));
    ASSERT_TRUE(client.Send("RW:LONG? 700"));
    EXPECT_EQ(client.Receive(3 + 600), st + std::string(599, 'd') + '\0');
    ASSERT_TRUE(client.Send("RW"));
    EXPECT_EQ(client.Receive(3), st);
    ASSERT_TRUE(client.Send("*IDN?\n" + std::string(594, ' ')));
    EXPECT_EQ(client.Receive(4), std::string("me\n\0", 4));
    ASSERT_TRUE(client.Send("PW"));
    EXPECT_EQ(client.Receive(3), no);
}

TEST_F(Local_Socket, WholeTextsGetAllTheirAnswersOrNoneAtAll) {
    const Connection client = Page();
    const std::string text = Whole("*IDN?\n:SIL\n:COUN?;*IDN?");
    for (const char byte : text) ASSERT_TRUE(client.Send({&byte, 1}));
    EXPECT_EQ(client.Receive(3 + 4 + 8), st + Length(8) + "me\n2;me\n");
    ASSERT_TRUE(client.Send(Whole("")));
    EXPECT_EQ(client.Receive(7), st + Length(0));

    std::string many;
    for (int i = 0; i < 8; ++i) many += ":LONG? 8999\n";
    ASSERT_TRUE(client.Send(Whole(many)));
    EXPECT_EQ(client.Receive(7), st + Length(65536));
    EXPECT_EQ(client.Receive(65536).substr(65536 - 3), "jjj") << "the eighth answer is cut";

    executed = 0;
    ASSERT_TRUE(client.Send(Whole(":SIL\n:SIL" + std::string(507, ' '))));
    EXPECT_EQ(client.Receive(7), st + Length(0xffffffff)) << "a message that is too long";
    ASSERT_TRUE(client.Send(Whole(std::string(4097, '\n'))));
    EXPECT_EQ(client.Receive(7), st + Length(0xffffffff));
    EXPECT_EQ(executed, 0);
    ASSERT_TRUE(client.Send(Whole(":SIL" + std::string(506, ' ') + "\n:COUN?\n")));
    EXPECT_EQ(client.Receive(9), st + Length(2) + "2\n") << "the connection goes on";
}

}  // namespace
