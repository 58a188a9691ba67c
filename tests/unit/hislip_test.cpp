
#include "hislip_client.h"
#include "remote/hislip_locks.h"

namespace {

using namespace std::chrono_literals;
using namespace remote;

TEST(Hislip_Framing, MessagesComeOutWholeHoweverTheyAreCut) {
    std::string stream;
    for (const std::size_t size : {0u, 1u, 511u, 512u, 513u, 5000u}) {
        const auto header = Hislip_Bytes({hislip_data_end, 1, 0xffffff00u + static_cast<std::uint32_t>(size), size});
        stream += std::string(header.data(), header.size()) + std::string(size, static_cast<char>('a' + size % 26));
    }
    for (const std::size_t piece : {1u, 7u, 16u, 17u, 100000u}) {
        Hislip_Reader reader;
        std::vector<std::uint64_t> lengths;
        for (std::size_t place = 0; place < stream.size();) {
            place += reader.Take(std::string_view(stream).substr(place, piece));
            if (!reader.Complete()) continue;
            const std::size_t length = static_cast<std::size_t>(reader.Header().length);
            lengths.push_back(length);
            EXPECT_EQ(reader.Header().parameter, 0xffffff00u + static_cast<std::uint32_t>(length));
            EXPECT_EQ(reader.Payload(), std::string(std::min<std::size_t>(length, 512), static_cast<char>('a' + length % 26)));
            EXPECT_EQ(reader.Beyond_Record(), length > 512);
            reader.Next();
        }
        EXPECT_EQ(lengths, (std::vector<std::uint64_t>{0, 1, 511, 512, 513, 5000})) << piece;
        EXPECT_TRUE(reader.Between_Messages());
    }
}

TEST(Hislip_Framing, WhateverTheLengthSaysOnlyTheRecordIsKept) {
    for (const std::uint64_t length : {1048577ull, 0xffffffffull, ~0ull}) {
        const auto header = Hislip_Bytes({hislip_data, 0, 0, length});
        Hislip_Reader reader;
        EXPECT_EQ(reader.Take({header.data(), header.size()}), header.size());
        for (int i = 0; i < 100; ++i) EXPECT_EQ(reader.Take(std::string(4096, 'x')), 4096u);
        EXPECT_TRUE(reader.Too_Large() && !reader.Complete());
        EXPECT_EQ(reader.Payload().size(), 512u);
    }
    Hislip_Reader largest;
    const auto header = Hislip_Bytes({hislip_data, 0, 0, 1048576});
    largest.Take({header.data(), header.size()});
    EXPECT_FALSE(largest.Too_Large());
}

/// "request" or "release" of a session at a time; what each gives.
TEST(Hislip_Lock_Table, RequestsAndReleasesInEveryState) {
    using enum Lock_Outcome;
    Hislip_Locks locks;
    Expect({{locks.Release(1), refused}, {locks.Request(1, ""), granted}, {locks.Request(1, ""), refused},
            {locks.Request(1, "key"), refused}, {locks.Request(2, ""), busy}, {locks.Request(2, "key"), busy},
            {locks.Release(2), refused}});
    EXPECT_TRUE(locks.Allows(1) && !locks.Allows(2) && locks.Exclusively_Held());
    EXPECT_EQ(locks.Holders(), 1u);
    EXPECT_EQ(locks.Release(1), granted);

    Expect({{locks.Request(1, "key"), granted}, {locks.Request(1, "other"), refused},
            {locks.Request(2, "key"), granted}, {locks.Request(3, "other"), busy}, {locks.Request(3, ""), busy}});
    EXPECT_TRUE(locks.Allows(1) && locks.Allows(2) && !locks.Allows(3) && !locks.Exclusively_Held());
    EXPECT_EQ(locks.Request(2, ""), granted) << "beside the shared one";
    EXPECT_EQ(locks.Request(1, ""), busy);
    EXPECT_EQ(locks.Request(4, "key"), granted);
    EXPECT_TRUE(!locks.Allows(1) && locks.Allows(2));
    EXPECT_EQ(locks.Holders(), 3u) << "who holds both counts once";
    EXPECT_EQ(locks.Release(4), shared_released);
    EXPECT_EQ(locks.Release(2), granted);
    EXPECT_TRUE(locks.Allows(1) && locks.Allows(2));
    EXPECT_EQ(locks.Release(2), shared_released);
    EXPECT_TRUE(locks.Release_All(1));
    EXPECT_FALSE(locks.Release_All(1));
    EXPECT_EQ(locks.Holders(), 0u);
    EXPECT_EQ(locks.Request(3, "other"), granted);
}

class Hislip : public Hislip_Rig {};

TEST_F(Hislip, ChannelsFindEachOtherInAnyOrderAndStrangersAreToldSo) {
    Connection first = Channel(), second = Channel(), third = Channel(), fourth = Channel();
    ASSERT_TRUE(fourth.Send(Bytes(hislip_initialize, 0, 0x02004141, "HISLIP0")));
    const Hislip_Message early = Next(fourth);
    ASSERT_TRUE(first.Send(Bytes(hislip_initialize, 0, 0x01007878, "hislip0")));
    const Hislip_Message late = Next(first);
    Expect({{early.type, hislip_initialize_response}, {early.control, 0, "synchronized mode"},
            {early.parameter >> 16, 0x0100u}, {late.parameter, early.parameter + 2}});
    for (const auto& [channel, answer] : {std::pair(&second, &late), std::pair(&third, &early)}) {
        ASSERT_TRUE(channel->Send(Bytes(hislip_async_initialize, 0, answer->parameter & 0xffff)));
        const Hislip_Message paired = Next(*channel);
        EXPECT_EQ(paired.type, hislip_async_initialize_response);
        EXPECT_EQ(paired.parameter, 0x5158u) << "QX";
        EXPECT_EQ(paired.payload, "");
    }
    Session session{std::move(first), std::move(second)};
    EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");

    const Connection again = Channel(), stranger = Channel(), eager = Channel();
    ASSERT_TRUE(again.Send(Bytes(hislip_async_initialize, 0, late.parameter & 0xffff)));
    EXPECT_EQ(Got(again).substr(0, 4), "2:3:") << "it has its channel";
    EXPECT_TRUE(Ended(again));
    ASSERT_TRUE(stranger.Send(Bytes(hislip_async_initialize, 0, 4711)));
    EXPECT_EQ(Got(stranger).substr(0, 4), "2:3:");
    ASSERT_TRUE(eager.Send(Bytes(hislip_data_end, 0, 0, "*IDN?\n")));
    EXPECT_EQ(Got(eager).substr(0, 4), "2:2:");
    EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
    ASSERT_TRUE(session.data.Send(Bytes(hislip_initialize, 0, 0, "hislip0")));
    EXPECT_EQ(Got(session.data).substr(0, 4), "2:3:");
    EXPECT_EQ(Got(session.control).substr(0, 4), "2:3:") << "on both channels";
    EXPECT_TRUE(Ended(session.control));
}

TEST_F(Hislip, OtherSubAddressesGetNoAnswerAndHalfASessionIsDroppedAfterAWhile) {
    testing::internal::CaptureStderr();
    const Connection other = Channel(), half = Channel(), mute = Channel();
    for (const char* name : {"hislip1", "", "Hislip0", "hislip0 "}) {
        ASSERT_TRUE(other.Send(Bytes(hislip_initialize, 0, 0x01000000, name)));
    }
    ASSERT_TRUE(half.Send(Bytes(hislip_initialize, 0, 0x01000000, "hislip0")));
    EXPECT_EQ(Next(half).type, hislip_initialize_response);
    Session session = Open();
    EXPECT_TRUE(other.Silent());
    platform::Step_Clock(9s);
    EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
    EXPECT_TRUE(other.Silent() && half.Silent() && mute.Silent());
    platform::Step_Clock(1s);
    EXPECT_TRUE(Ended(other) && Ended(half) && Ended(mute));
    EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "hislip init fail\n") << "once a connection";
}

TEST_F(Hislip, ADataEndIsAMessageAndItsAnswerCarriesItsNumber) {
    Session session = Open();
    Expect({{session.Ask("*IDN?\n"), "me\n"}, {session.Ask("*IDN?"), "me\n", "END ends it as well"},
            {session.Ask(":COUN?;:COUN?\r\n"), "1;2\n"}, {Remote_Flag, 1}, {session.Ask("*IDN?\n:COUN?"), "me\n"},
            {session.Heard(), "3\n"}, {session.Ask(":LONG? 20000\n"), std::string(scpi_output_size - 1, 'd')}});
    for (int i = 0; i < 50; ++i) ASSERT_TRUE(session.Say("*IDN?\n"));
    for (int i = 49; i >= 0; --i) {
        const Hislip_Message answer = Next(session.data);
        ASSERT_EQ(answer.payload, "me\n");
        ASSERT_EQ(answer.parameter, session.message_id - 2 * static_cast<std::uint32_t>(i)) << "in order";
    }
    std::string bytes = Bytes(hislip_data_end, 0, session.message_id += 2, "*IDN?\n");
    for (const char byte : bytes) ASSERT_TRUE(session.data.Send({&byte, 1}));
    EXPECT_EQ(session.Heard(), "me\n");
    ASSERT_TRUE(session.Say("") && session.Say(":SIL\n"));
    EXPECT_EQ(session.Ask(":ERR?\n"), "0\n");
}

TEST_F(Hislip, WhatIsNoMessageOfItsOwnIsDropped) {
    Session session = Open();
    testing::internal::CaptureStderr();
    for (const int type : {int{hislip_data}, 12, 13, 26, 38, 127, 128, 255}) {
        ASSERT_TRUE(session.data.Send(Bytes(type, 0, 2, ":COUN?\n")) && session.control.Send(Bytes(type, 0, 2, "x")));
    }
    std::string foreign = Bytes(hislip_data_end, 0, 2, ":COUN?\n");
    foreign[0] = 'h';
    ASSERT_TRUE(session.data.Send(foreign) && session.control.Send(foreign));
    EXPECT_EQ(session.Ask(":COUN?"), "1\n");
    session.Status();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "hislip data error\nhislip data error\n");

    ASSERT_TRUE(session.control.Send(Bytes(hislip_data_end, 0, 2, "*IDN?\n")));
    EXPECT_EQ(Got(session.control), "3:1:wrong channel");
    ASSERT_TRUE(session.data.Send(Bytes(hislip_async_status_query)));
    EXPECT_EQ(Got(session.data), "3:1:wrong channel");
    ASSERT_TRUE(session.data.Send("GET / HTTP/1.1\r\nHost: here\r\n\r\n"));
    EXPECT_EQ(Got(session.data), "2:1:no HiSLIP header");
    EXPECT_EQ(Got(session.control), "2:1:no HiSLIP header");
    EXPECT_TRUE(Ended(session.data) && Ended(session.control));
}

TEST_F(Hislip, AMessageBeyondTheRecordIsReadWholeAndRefused) {
    Session session = Open();
    const std::string exact = "*IDN?" + std::string(505, ' ') + '\n';
    EXPECT_EQ(session.Ask(exact), "me\n") << "511 bytes";
    for (const std::size_t size : {512u, 513u, 5000u, 1048576u, 1048577u}) {
        EXPECT_EQ(session.Ask(":COUN?" + std::string(size - 6, ' ')), "3!message too large") << size;
        EXPECT_EQ(session.Ask("*IDN?\n"), "me\n") << size;
    }
    EXPECT_EQ(session.Ask(":COUN?;:ERR?"), "1;0\n");
    for (const std::uint64_t length : {0xffffffffull, ~0ull}) {
        Session endless = Open();
        const auto header = Hislip_Bytes({hislip_data_end, 0, 2, length});
        ASSERT_TRUE(endless.data.Send({header.data(), header.size()}));
        for (int i = 0; i < 64; ++i) ASSERT_TRUE(endless.data.Send(std::string(65536, 'x')));
        EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
        EXPECT_EQ(endless.Status(), 0);
    }
}

TEST_F(Hislip, SizesAreAgreedOnAndKept) {
    Session session = Open();
    const auto size = [](std::uint64_t value) {
        std::string bytes;
        for (int i = 7; i >= 0; --i) bytes += static_cast<char>(value >> (8 * i) & 0xff);
        return bytes;
    };
    ASSERT_TRUE(session.control.Send(Bytes(hislip_async_maximum_message_size, 0, 1, size(20))));
    ASSERT_TRUE(session.control.Send(Bytes(hislip_async_maximum_message_size, 0, 0, "short")));
    EXPECT_EQ(session.Ask(":LONG? 100"), std::string(100, 'a') + '\n') << "neither was taken";
    const Hislip_Message agreed = session.Request(hislip_async_maximum_message_size, 0, 0, size(56));
    EXPECT_EQ(agreed.type, hislip_async_maximum_message_size_response);
    EXPECT_EQ(agreed.payload, size(1048576));
    ASSERT_TRUE(session.Say(":LONG? 100"));
    for (const auto& [type, length] : {std::pair(hislip_data, 40), std::pair(hislip_data, 40), std::pair(hislip_data_end, 21)}) {
        const Hislip_Message piece = Next(session.data);
        EXPECT_EQ(piece.type, type);
        EXPECT_EQ(piece.payload.size(), static_cast<std::size_t>(length));
        EXPECT_EQ(piece.parameter, session.message_id);
    }
    session.Request(hislip_async_maximum_message_size, 0, 0, size(0));
    ASSERT_TRUE(session.Say("*IDN?"));
    for (const char* byte : {"m", "e", "\n"}) EXPECT_EQ(Next(session.data).payload, byte);
}

TEST_F(Hislip, TheStatusByteTellsOfAnAnswerThatWasNotRead) {
    Session session = Open(), other = Open();
    SCPI_RegSet(scpi_context, reg_sre, stb_message_available);
    Expect({{session.Status(), 0}, {session.Ask("*IDN?\n"), "me\n"},
            {Got(session.control), "20:80:", "requests service"}, {session.Status(), 80},
            {other.Status(), 0, "the answer was none of this client's"}});
    EXPECT_EQ(session.Request(hislip_async_status_query, 0, session.message_id + 4).control, 0) << "more is on its way";
    Expect({{session.Request(hislip_async_status_query, 0, session.message_id + 2).control, 80}, {session.Status(), 80},
            {session.Status(1), 0, "delivered"}, {session.Status(), 0}});
    SCPI_RegSet(scpi_context, reg_sre, 0);
    EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
    EXPECT_EQ(session.Status(), 16);
    ASSERT_TRUE(session.Say(":NONE\n"));
    EXPECT_TRUE(Eventually([&] { return session.Status() == 4; })) << "the next message takes it away";
}

TEST_F(Hislip, EveryChangeThatTheRulesNameRequestsService) {
    Session session = Open();
    SCPI_RegSet(scpi_context, reg_ese, esr_command_error);
    SCPI_RegSet(scpi_context, reg_sre, stb_standard_event | stb_operation);
    ASSERT_TRUE(session.Say(":NONE\n"));
    Expect({{Got(session.control), "20:96:"}, {Got(session.control), "20:100:"}, {session.Ask("*IDN?\n"), "me\n"},
            {Got(session.control), "20:116:", "an answer is a change of its own"}});
    SCPI_RegSet(scpi_context, reg_operation + set_enable, operation_waiting_for_trigger);
    ASSERT_TRUE(session.Say("*OPC?\n"));
    ASSERT_TRUE(Sweep_Waited_For());
    EXPECT_EQ(Got(session.control), "20:100:");
    SCPI_RegSetBits(scpi_context, reg_operation + set_condition, operation_waiting_for_trigger);
    EXPECT_EQ(Got(session.control), "20:228:") << "while a command waits";
    End_Sweep();
    EXPECT_EQ(session.Heard(), "1\n");
    EXPECT_EQ(Got(session.control), "20:244:");
    const Connection raw = Raw();
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
    EXPECT_TRUE(session.control.Silent()) << "another client's changes are none of this one's";
}

TEST_F(Hislip, ADeviceClearEndsAWaitAndEmptiesTheSession) {
    Session session = Open(), other = Open();
    ASSERT_TRUE(session.Say("*OPC?;:COUN?\n") && session.Say(":COUN?\n"));
    ASSERT_TRUE(Sweep_Waited_For());
    ASSERT_TRUE(other.Say(":COUN?\n"));
    EXPECT_EQ(session.Request(hislip_async_device_clear).type, hislip_async_device_clear_acknowledge);
    EXPECT_EQ(other.Heard(), "2\n") << "the rest of the message was executed, its answer dropped";
    ASSERT_TRUE(session.Say(":COUN?\n") && session.data.Send(Bytes(hislip_device_clear_complete, 1)));
    EXPECT_EQ(Got(session.data), "9:0:") << "nothing before it, and no overlap";
    session.message_id = first_message_id - 2;
    EXPECT_EQ(session.Status(), 0);
    EXPECT_EQ(session.Ask(":COUN?\n"), "3\n");

    ASSERT_TRUE(other.Say("*OPC?\n"));
    ASSERT_TRUE(Sweep_Waited_For());
    EXPECT_EQ(session.Request(hislip_async_device_clear).type, hislip_async_device_clear_acknowledge);
    ASSERT_TRUE(session.data.Send(Bytes(hislip_device_clear_complete)));
    EXPECT_EQ(Got(session.data), "9:0:") << "while another session waits";
    EXPECT_EQ(Command_Query_Opc_Flag, 1);
    EXPECT_EQ(session.Request(hislip_async_device_clear).type, hislip_async_device_clear_acknowledge);
    platform::Step_Clock(60s);
    EXPECT_EQ(Got(session.control).substr(0, 4), "2:0:") << "never completed";
    End_Sweep();
    EXPECT_EQ(other.Heard(), "1\n");
}

TEST_F(Hislip, ALockKeepsOthersOutButNotTheirStatus) {
    Session holder = Open(), other = Open(), third = Open();
    Expect({{holder.Lock(""), 1}, {holder.Lock(""), 3}, {other.Lock(""), 0}});
    ASSERT_TRUE(other.Say(":COUN?\n"));
    Expect({{holder.Ask("*IDN?\n"), "me\n"}, {third.Status(), 0}, {other.Status(), 0}});
    const Hislip_Message information = third.Request(hislip_async_lock_info);
    Expect({{information.type, hislip_async_lock_info_response}, {information.control, 1}, {information.parameter, 1u},
            {other.Request(hislip_async_maximum_message_size, 0, 0, std::string(8, '\x7f')).payload.size(), 8u},
            {Open().Status(), 0, "a new client connects"}, {executed, 0}});
    EXPECT_TRUE(other.data.Silent());
    Expect({{holder.Unlock(), 1}, {other.Heard(), "1\n"}, {holder.Unlock(), 3}});

    Expect({{holder.Lock("key"), 1}, {other.Lock("key"), 1}, {third.Lock("nokey"), 0},
            {third.Request(hislip_async_lock_info).parameter, 2u}, {other.Ask(":COUN?\n"), "2\n"},
            {third.Request(hislip_async_lock, 1, 0, std::string(65, 'k')).type, hislip_error},
            {third.Request(hislip_async_lock, 2).type, hislip_error}, {holder.Unlock(), 2}, {other.Unlock(), 2},
            {third.Ask(":COUN?\n"), "3\n"}});
}

TEST_F(Hislip, WhoWaitsForALockGetsItInTurnOrNotInTime) {
    Session holder = Open(), second = Open(), third = Open(), late = Open();
    EXPECT_EQ(holder.Lock(""), 1);
    ASSERT_TRUE(second.control.Send(Bytes(hislip_async_lock, 1, 60000)));
    EXPECT_EQ(second.Status(), 0);
    ASSERT_TRUE(third.control.Send(Bytes(hislip_async_lock, 1, 60000)));
    EXPECT_EQ(third.Status(), 0);
    ASSERT_TRUE(late.control.Send(Bytes(hislip_async_lock, 1, 250)));
    EXPECT_EQ(late.Status(), 0);
    EXPECT_EQ(late.Request(hislip_async_lock, 1, 0).type, hislip_error) << "one request at a time";
    platform::Step_Clock(249ms);
    EXPECT_EQ(late.Status(), 0);
    EXPECT_TRUE(late.control.Silent());
    platform::Step_Clock(1ms);
    EXPECT_EQ(Got(late.control), "5:0:");
    holder.control.Close();
    EXPECT_EQ(Got(second.control), "5:1:") << "a holder that drops frees it";
    EXPECT_TRUE(third.control.Silent());
    EXPECT_EQ(third.Request(hislip_async_device_clear).type, hislip_async_device_clear_acknowledge);
    EXPECT_EQ(second.Unlock(), 1);
    EXPECT_EQ(late.Lock(""), 1) << "a clear takes a request back";
    EXPECT_TRUE(third.control.Silent());
}

TEST_F(Hislip, AReleaseComesAfterTheMessageThatItNames) {
    Session holder = Open(), other = Open();
    EXPECT_EQ(holder.Lock(""), 1);
    ASSERT_TRUE(other.Say(":COUN?\n"));
    const std::uint32_t named = holder.message_id + 2;
    ASSERT_TRUE(holder.control.Send(Bytes(hislip_async_lock, 0, named)));
    EXPECT_EQ(holder.Status(), 0);
    EXPECT_TRUE(holder.control.Silent() && other.data.Silent());
    Expect({{holder.Request(hislip_async_lock, 1).type, hislip_error, "a release is pending"},
            {holder.Ask(":COUN?\n"), "1\n"}, {Got(holder.control), "5:1:"}, {other.Heard(), "2\n"}});

    EXPECT_EQ(holder.Lock(""), 1);
    ASSERT_TRUE(holder.control.Send(Bytes(hislip_async_lock, 0, 12345)));
    EXPECT_EQ(holder.Status(1), 0);
    platform::Step_Clock(2s);
    EXPECT_EQ(Got(holder.control), "5:1:") << "a message that never comes is waited for no longer";
}

TEST_F(Hislip, ClientsGiveControlBackAndLockThePanelOut) {
    Session session = Open();
    const auto control = [&](int code, int remote) {
        EXPECT_EQ(session.Request(hislip_async_remote_local_control, code, session.message_id).type,
                  hislip_async_remote_local_response);
        return Eventually([&] { return Remote_Flag == remote; });
    };
    Expect({{Remote_Flag, 0}, {session.Ask("*IDN?\n"), "me\n"}, {Remote_Flag, 1}});
    EXPECT_TRUE(control(6, 0));
    session.Status();
    EXPECT_EQ(Remote_Flag, 1) << "any of a client's requests takes control";
    EXPECT_TRUE(control(0, 0));
    EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
    EXPECT_EQ(Remote_Flag, 0) << "not while it is disabled";
    EXPECT_TRUE(control(1, 0));
    EXPECT_TRUE(control(3, 1));
    EXPECT_TRUE(control(2, 0));
    EXPECT_TRUE(control(4, 0));
    EXPECT_TRUE(Eventually([] { return Local_Lockouts == 1; }));
    EXPECT_TRUE(control(5, 1));
    EXPECT_TRUE(control(6, 0));
    EXPECT_EQ(Local_Lockouts, 1);
    EXPECT_EQ(session.Request(hislip_async_remote_local_control, 7).type, hislip_error);
    ASSERT_TRUE(session.control.Send(Bytes(hislip_async_remote_local_control, 6, session.message_id + 2)));
    EXPECT_EQ(Next(session.control).type, hislip_async_remote_local_response);
    EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
    EXPECT_TRUE(Eventually([] { return Remote_Flag == 0; })) << "after the message that it names";
    session.data.Close();
    EXPECT_TRUE(Eventually([] { return Local_Lockouts == 0; })) << "a client that drops bars nobody";
}

TEST_F(Hislip, WhileItsCommandWaitsAllElseGoesOn) {
    Session session = Open(), other = Open();
    const Connection raw = Raw(), page = Page();
    ASSERT_TRUE(session.Say("*IDN?\n*OPC?\n"));
    EXPECT_EQ(session.Heard(), "me\n") << "sent before the wait";
    ASSERT_TRUE(Sweep_Waited_For());
    ASSERT_TRUE(raw.Send(":COUN?\n") && other.Say(":COUN?\n"));
    ASSERT_TRUE(page.Send("KY\x05"));
    EXPECT_EQ(page.Receive(6), std::string("ST\0OK\0", 6)) << "though the server has read a command that is held back";
    EXPECT_EQ(session.Status() & 16, 16);
    EXPECT_EQ(other.Status(), 0);
    Session late = Open();
    EXPECT_EQ(late.Lock("key"), 1);
    EXPECT_EQ(late.Unlock(), 2);
    EXPECT_TRUE(raw.Silent() && other.data.Silent());
    EXPECT_EQ(executed, 0) << "messages of all interfaces stay one after another";
    End_Sweep();
    EXPECT_EQ(session.Heard(), "1\n");
    const std::string first = raw.Line(), second = other.Heard();
    EXPECT_TRUE((first == "1\n" && second == "2\n") || (first == "2\n" && second == "1\n")) << first << second;

    ASSERT_TRUE(raw.Send("*OPC?\n"));
    ASSERT_TRUE(Sweep_Waited_For());
    ASSERT_TRUE(session.Say("*IDN?\n"));
    EXPECT_EQ(other.Status(1), 0) << "another interface's wait holds data only";
    EXPECT_TRUE(session.data.Silent());
    End_Sweep();
    EXPECT_EQ(raw.Line(), "1\n");
    EXPECT_EQ(session.Heard(), "me\n");
}

TEST_F(Hislip, AClientThatLeavesEndsItsWaitAndWhatItSentBeforeIsExecuted) {
    const Connection raw = Raw();
    {
        Session session = Open();
        ASSERT_TRUE(session.Say("*OPC?\n"));
        ASSERT_TRUE(Sweep_Waited_For());
    }
    EXPECT_EQ(raw.Ask("*IDN?\n"), "me\n");
    EXPECT_EQ(Pending_Operation_Flag, 0);
    for (int i = 0; i < 20; ++i) {
        Session session = Open();
        ASSERT_TRUE(session.Say(":SIL\n") && session.Say(":SIL\n"));
        if (i % 2) session.control.Close();
    }
    EXPECT_TRUE(Eventually([] { return executed == 40; })) << executed;
}

TEST_F(Hislip, AClearForgetsTheCompletionThatItsClientWaitsFor) {
    Session session = Open(), other = Open();
    EXPECT_EQ(session.Ask("*OPC;*IDN?"), "me\n");
    EXPECT_EQ(other.Request(hislip_async_device_clear).type, hislip_async_device_clear_acknowledge);
    EXPECT_EQ(Command_Opc_Flag, 1);
    EXPECT_EQ(session.Request(hislip_async_device_clear).type, hislip_async_device_clear_acknowledge);
    EXPECT_EQ(Command_Opc_Flag, 0);
}

TEST_F(Hislip, OneTooManyIsRefusedAndTheNextOneServedWhenRoomIsThere) {
    testing::internal::CaptureStderr();
    std::vector<Session> crowd;
    for (std::size_t i = 0; i < Hislip_Server::slots / 2; ++i) crowd.push_back(Open());
    for (int i = 0; i < 20; ++i) {
        const Connection refused = Channel();
        refused.Send(Bytes(hislip_initialize, 0, 0, "hislip0"));
        EXPECT_EQ(Got(refused), "2:4:too many clients");
        EXPECT_TRUE(Ended(refused));
    }
    for (Session& session : crowd) EXPECT_EQ(session.Ask("*IDN?\n"), "me\n");
    crowd[7].control.Close();
    EXPECT_TRUE(crowd[7].data.Silent());
    EXPECT_TRUE(Eventually([&] {
        platform::Step_Clock(1s);
        pollfd wait{crowd[7].data.Descriptor(), POLLRDHUP, 0};
        return poll(&wait, 1, 0) > 0;
    })) << "one channel alone is no session";
    EXPECT_EQ(Open().Ask("*IDN?\n"), "me\n");
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    EXPECT_EQ(crowd[8].Ask("*IDN?\n"), "me\n");
}

TEST_F(Hislip, WhenDescriptorsRunOutTheOthersAreServedAndTheNextOneLater) {
    Session old = Open();
    testing::internal::CaptureStderr();
    const Connection client = Without_Descriptors(old.data, Bytes(hislip_initialize, 0, 0, "hislip0"), [&] {
        EXPECT_EQ(old.Ask("*IDN?\n"), "me\n");
        EXPECT_EQ(old.Status() & 16, 16);
    });
    EXPECT_EQ(Next(client).type, hislip_initialize_response);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "hislip accept error: Too many open files\n");
}

TEST_F(Hislip, WhoNeverReadsIsNotReadAndInTheEndDropped) {
    Session deaf = Open(), other = Open();
    fcntl(deaf.data.Descriptor(), F_SETFL, O_NONBLOCK);
    const std::string flood = Bytes(hislip_data_end, 0, 2, ":LONG? 9000\n");
    int last = -1;
    ASSERT_TRUE(Eventually([&] {
        while (deaf.data.Send(flood)) {}
        return std::exchange(last, executed.load()) == executed;
    }));
    EXPECT_EQ(other.Ask("*IDN?\n"), "me\n");
    EXPECT_EQ(deaf.Request(hislip_async_device_clear).type, hislip_async_device_clear_acknowledge);
    EXPECT_EQ(other.Ask("*IDN?\n"), "me\n");
    testing::internal::CaptureStderr();
    EXPECT_TRUE(Eventually([&] {
        platform::Step_Clock(1s);
        pollfd wait{deaf.control.Descriptor(), POLLRDHUP, 0};
        return poll(&wait, 1, 0) > 0;
    }));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(other.Ask("*IDN?\n"), "me\n");
}

TEST_F(Hislip, ClientsThatVanishInAnyStateLeaveNothing) {
    Session witness = Open();
    const std::size_t threads = Entries("/proc/self/task"), descriptors = Entries("/proc/self/fd");
    for (int turn = 0; turn < 100; ++turn) {
        { const Connection mute = Channel(); }
        { const Connection cut = Channel(); cut.Send("HS\x07"); }
        { const Connection half = Channel(); half.Send(Bytes(hislip_initialize, 0, 0, "hislip0")); }
        { const Session silent = Open(); }
        { const Session inside = Open(); inside.data.Send(Bytes(hislip_data_end, 0, 0, "*IDN?\n").substr(0, 18)); }
        { Session asking = Open(); asking.Say(":LONG? 9000\n"); }
        { Session waiting = Open(); waiting.Say("*OPC?\n"); }
        { Session holding = Open(); holding.Say("*WAI\n"); }
        { const Session locking = Open(); locking.Lock(turn % 2 ? "" : "key"); }
        { const Session clearing = Open(); clearing.Request(hislip_async_device_clear); }
        { const Session queueing = Open(); queueing.control.Send(Bytes(hislip_async_lock, 1, 100000)); }
    }
    EXPECT_EQ(witness.Ask("*IDN?\n"), "me\n");
    EXPECT_TRUE(Eventually([&] { return Entries("/proc/self/fd") == descriptors; }))
        << Entries("/proc/self/fd") << " descriptors, not " << descriptors;
    EXPECT_EQ(Entries("/proc/self/task"), threads);
    EXPECT_EQ(witness.Request(hislip_async_lock_info).parameter, 0u);
    sweep_can_come = false;
    EXPECT_EQ(witness.Ask(":ERR?;*OPC?\n").substr(0, 1), "0") << "nobody waits any more";
}

TEST_F(Hislip, ManyClientsAtOnceGetTheirOwnAnswers) {
    constexpr int sessions = 16, sockets = 32, turns = 40;
    std::atomic<int> wrong{0};
    std::vector<std::thread> clients;
    for (int number = 0; number < sessions + sockets; ++number) {
        clients.emplace_back([&wrong, number] {
            std::optional<Session> session;
            std::optional<Connection> raw;
            number < sessions ? void(session.emplace(Open())) : void(raw.emplace(Raw()));
            for (int turn = 0; turn < turns; ++turn) {
                const int count = (number + turn) % 9 + 1;
                std::string query, expected;
                for (int i = 0; i < count; ++i) {
                    query += i ? ";*IDN?" : "*IDN?";
                    expected += i ? ";me" : "me";
                }
                const std::string got = session ? session->Ask(query) : raw->Ask(query + '\n');
                if (got != expected + '\n') ++wrong;
                if (session && turn % 8 == 0) session->Status();
            }
        });
    }
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(Hislip, TheStopEndsAWaitAndAllChannels) {
    Session session = Open(), other = Open();
    ASSERT_TRUE(session.Say("*OPC?\n"));
    ASSERT_TRUE(Sweep_Waited_For());
    ASSERT_TRUE(other.Say("*IDN?\n"));
    Stop();
    EXPECT_TRUE(Ended(session.data) && Ended(session.control) && Ended(other.control));
    EXPECT_EQ(Command_Query_Opc_Flag, 0);
    EXPECT_EQ(Hislip_Address(), "");
}

}  // namespace
