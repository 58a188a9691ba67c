
#include "remote/vxi11_record.h"
#include "remote/vxi11_server.h"
#include "vxi11_client.h"

namespace {

using namespace std::chrono_literals;
using namespace remote;

TEST(Vxi11_Records, FragmentsBecomeOneRecordHoweverTheyAreCut) {
    const auto mark = [](std::uint32_t value) {
        return std::string{static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                           static_cast<char>(value >> 8), static_cast<char>(value)};
    };
    const std::string stream = mark(3) + "abc" + mark(0) + mark(0x80000002) + "de" + mark(0x80000000) +
                               mark(0x80001388) + std::string(5000, 'f') + mark(0x80000001) + "g";
    for (const std::size_t piece : {1u, 3u, 7u, 100000u}) {
        Vxi11_Record record;
        std::vector<std::string> records;
        for (std::size_t place = 0; place < stream.size();) {
            place += record.Take(std::string_view(stream).substr(place, piece));
            if (!record.Complete()) continue;
            records.emplace_back(record.Kept());
            record.Next();
        }
        EXPECT_EQ(records, (std::vector<std::string>{"abcde", "", std::string(4096, 'f'), "g"})) << piece;
    }
    Vxi11_Record endless;
    endless.Take(mark(0xffffffff));
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(endless.Take(std::string(4096, 'x')), 4096u);
    EXPECT_TRUE(!endless.Complete() && endless.Kept().size() == Vxi11_Record::capacity);
}

class Vxi11 : public Vxi11_Rig {};

TEST_F(Vxi11, LinksAreCreatedForInstrumentZeroAlone) {
    Vxi11_Link_Client client(Ports()[0]);
    for (const auto& [name, error] :
         {std::pair("inst1", 3), std::pair("inst9x", 3), std::pair("gpib0", 1), std::pair("inst", 1), std::pair("", 1),
          std::pair("Inst0", 1), std::pair("instx", 1)}) {
        EXPECT_EQ(client.Create(name), error) << name;
    }
    Expect({{Remote_Flag, 0, "a link that isn't there takes no control"}, {client.Create("inst0,lan"), 0},
            {Remote_Flag, 1}, {client.created.max_receive_size, 1000u},
            {client.created.abort_port, ntohs(Ports()[0].sin_port)}});
    const int first = client.lid;
    EXPECT_TRUE(first >= 1 && first <= 47483647);
    EXPECT_EQ(client.Create(), 0);
    EXPECT_NE(client.lid, first);
    Expect({{client.Destroy(), 0}, {client.Destroy(), 4}, {client.Write("*IDN?"), 4}, {client.Read(), "4:0:"},
            {client.Status(), -4}});
    for (const rpcproc_t procedure : {device_clear, device_remote, device_local})
        EXPECT_EQ(client.Generic(procedure), 4);
    EXPECT_EQ(std::pair(client.Lock(), client.Unlock()), std::pair(4, 4));
    client.lid = 0;
    EXPECT_EQ(client.Write("*IDN?"), 4);
    client.lid = first;
    EXPECT_EQ(client.Ask(":ERR?"), "0:4:450\n");
    EXPECT_EQ(client.Ask(":COUN?;:ERR?"), "0:4:1;0\n");
}

TEST_F(Vxi11, AMessageEndsWithEndAndWithoutItTheBytesAccumulate) {
    Vxi11_Link_Client link = Linked();
    Expect({{link.Ask("*IDN?"), "0:4:me\n"}, {link.Ask("*IDN?\n"), "0:4:me\n"}, {link.Write(":COUN?", 0), 0},
            {Stepped([&] { return link.Read(10, 0); }), "15:0:", "nothing was executed"}, {link.Ask("\n"), "0:4:1\n"},
            {link.Write("", vxi11_end), 0},
            {link.Ask(std::string_view("*IDN?\0:NONE", 11)), "0:4:me\n", "a zero byte ends the data"},
            {link.Ask(":COUN?;:ERR?"), "0:4:2;0\n"}, {link.Write("*IDN?\n:COUN?\n"), 0}, {link.Read(), "0:4:me\n"},
            {link.Read(), "0:4:3\n"}, {link.Write("*IDN?"), 0},
            {link.Ask(":COUN?"), "0:4:4\n", "the next message throws an answer away"}});
}

TEST_F(Vxi11, ReadsSayWhyTheyEnd) {
    Vxi11_Link_Client link = Linked();
    Expect({{link.Write(":LONG? 9"), 0}, {link.Read(4), "0:1:aaaa"}, {link.Status(), 16}, {link.Read(4), "0:1:aaaa"},
            {link.Read(2), "0:5:a\n", "count and end at once"}, {link.Status(), 0}, {link.Write("*IDN?;*IDN?"), 0},
            {link.Read(100, 0, vxi11_term_char, 'e'), "0:2:me"}, {link.Read(0), "0:1:"},
            {link.Read(100, 0, 0, 'm'), "0:4:;me\n", "a character that isn't enabled"}, {link.Write("*IDN?"), 0},
            {link.Read(3, 0, vxi11_term_char, '\n'), "0:7:me\n"}, {link.Write("*IDN?"), 0},
            {link.Generic(device_clear), 0}, {Stepped([&] { return link.Read(10, 0); }), "15:0:"}});
}

TEST_F(Vxi11, AReadWaitsAsLongAsItsTimeOutSaysAndOneSecondAtLeast) {
    const auto time = [](Vxi11_Link_Client& link, u_int timeout) {
        const platform::Duration begin = platform::Now();
        EXPECT_EQ(Stepped([&] { return link.Read(10, timeout); }), "15:0:");
        return platform::Now() - begin;
    };
    Vxi11_Link_Client link = Linked(), other = Linked();
    EXPECT_GE(time(link, 500), 1s);
    EXPECT_GE(time(link, 3999), 3s);
    std::string got;
    std::thread reader([&] { got = link.Read(10, 0xffffffff); });
    EXPECT_EQ(other.Write(":LONG? 3"), 0);
    reader.join();
    EXPECT_EQ(got, "0:4:aaa\n") << "the buffers are those of all links";
    EXPECT_EQ(Stepped([&] { return other.Read(10, 0); }), "15:0:");
}

TEST_F(Vxi11, WhatIsTooLongPassesNoBuffer) {
    Vxi11_Link_Client link = Linked();
    Expect({{link.Write(":COUN?" + std::string(994, ' ')), 0, "1000 bytes are taken, if not executed"},
            {link.Ask(":COUN?" + std::string(504, ' ')), "0:4:1\n"}, {link.Write(std::string(600, ' '), 0), 0},
            {link.Write(std::string(401, ' '), 0), 5}, {link.Ask(":COUN?"), "0:4:2\n", "nothing is left of it"},
            {link.Write(":LONG? 9000"), 0}});
    const std::string whole = link.Read();
    EXPECT_EQ(whole, "0:4:" + std::string(7999, 'c') + '\n') << "cut, but ended";
    EXPECT_EQ(Stepped([&] { return link.Read(10, 0); }), "15:0:");
    EXPECT_EQ(link.Ask(":COUN?;:ERR?"), "0:4:4;0\n");
}

TEST_F(Vxi11, HostileArgumentsAreRefusedAndTheirConnectionsServed) {
    Vxi11_Link_Client link = Linked();
    const auto lid = static_cast<std::uint32_t>(link.lid);
    const Connection bare = Bare();
    const std::string success = "1 0 0 0 0 ", garbage = "1 0 0 0 4";
    for (const std::uint32_t length : {1001u, 1000000u, 0x7fffffffu, 0xffffffffu}) {
        ASSERT_TRUE(bare.Send(Call(device_write, Words({lid, 0, 0, vxi11_end, length}) + "*IDN?   ")));
        EXPECT_EQ(Reply(bare), success + "5 0") << length;
    }
    ASSERT_TRUE(bare.Send(Call(device_write, Words({lid, 0, 0, vxi11_end, 1000000}) + std::string(1000000, ' '))));
    EXPECT_EQ(Reply(bare), success + "5 0") << "all of it was sent";
    for (const std::string& arguments : {Words({lid, 0, 0, vxi11_end, 1000}) + "*IDN?   ", Words({lid, 0, 0}),
                                         std::string(), Words({lid, 0, 0, 8, 5}) + "*IDN?"}) {
        ASSERT_TRUE(bare.Send(Call(device_write, arguments)));
        EXPECT_EQ(Reply(bare), garbage);
    }
    ASSERT_TRUE(bare.Send(Call(create_link, Words({1, 0, 0, 0xffffffff}) + "inst0   ")));
    EXPECT_EQ(Reply(bare), garbage);
    ASSERT_TRUE(bare.Send(Call(device_read, Words({lid, 0xffffffff, 0, 0, 0xffffffff, 0xffffffff}))));
    EXPECT_EQ(Stepped([&] { return Reply(bare); }), success + "f 0 0");
    ASSERT_TRUE(bare.Send(Call(device_enable_srq, Words({lid, 1, 41}) + std::string(44, 'h'))));
    EXPECT_EQ(Reply(bare), success + "8");
    ASSERT_TRUE(bare.Send(Call(device_docmd, Words({lid, 0, 0, 0, 0x20000, 1, 1, 0xffffffff}))));
    Expect({{Reply(bare), success + "8 0"}, {link.Ask("*IDN?"), "0:4:me\n"}, {link.Ask(":ERR?"), "0:4:0\n"}});
}

TEST_F(Vxi11, WhatIsNoCallOfOursIsRefusedByTheLibrary) {
    const Connection bare = Bare();
    for (const std::uint32_t procedure : {1u, 9u, 21u, 24u, 27u, 0xffffffffu}) {
        ASSERT_TRUE(bare.Send(Call(procedure, "")));
        EXPECT_EQ(Reply(bare), "1 0 0 0 3") << procedure;
    }
    ASSERT_TRUE(bare.Send(Call(0, "") + Call(0, "", 395184) + Call(0, "", 395185) + Call(1, "", 395186)));
    EXPECT_EQ(Reply(bare) + Reply(bare) + Reply(bare), "1 0 0 0 01 0 0 0 01 0 0 0 0");
    EXPECT_EQ(Reply(bare), "1 0 0 0 1") << "no such program";
    ASSERT_TRUE(bare.Send(Record(Words({7, 0, 2, 395183, 2, 0, 0, 0, 0, 0}))));
    EXPECT_EQ(Reply(bare), "1 0 0 0 2 1 1") << "no such version";
    ASSERT_TRUE(bare.Send(Record(Words({7, 0, 2, 395183, 1, 0, 6, 4, 1, 0, 0}))));
    EXPECT_EQ(Reply(bare), "1 1 1 2") << "credentials of another kind";
    ASSERT_TRUE(bare.Send(Record(Words({7, 0, 2, 395183, 1, 0, 1, 20, 1, 0, 0, 0, 0, 0, 0}))));
    EXPECT_EQ(Reply(bare), "1 0 0 0 0") << "a user's";
    for (const std::string& bytes :
         {Record(Words({7, 1, 2})), Record(""), std::string("GET / HTTP/1.1\r\n\r\n") + std::string(0x20, 'x')}) {
        const Connection stranger = Bare();
        ASSERT_TRUE(stranger.Send(bytes));
        if (bytes[0] == 'G') continue;
        EXPECT_EQ(Reply(stranger), "ended");
    }
    Vxi11_Link_Client link = Linked();
    EXPECT_EQ(link.Generic(device_trigger), 8);
    EXPECT_EQ(link.Error(device_enable_srq, xdr_Device_EnableSrqParms, Device_EnableSrqParms{link.lid, 1, {}}), 8);
    EXPECT_EQ(link.Error(create_intr_chan, xdr_Device_RemoteFunc, Device_RemoteFunc{}), 8);
    EXPECT_EQ(link.Error(destroy_intr_chan, xdr_Device_Nothing, Device_Nothing{}), 8);
    const Rpc_Client async(Ports()[0], false, DEVICE_ASYNC), interrupt(Ports()[0], false, DEVICE_INTR);
    Device_Error aborted;
    EXPECT_EQ(async.Call(device_abort, xdr_Device_Link, Device_Link{link.lid}, xdr_Device_Error, aborted), RPC_SUCCESS);
    EXPECT_EQ(aborted.error, 8);
    Device_Nothing nothing;
    EXPECT_EQ(interrupt.Call(device_intr_srq, xdr_Device_SrqParms, Device_SrqParms{}, xdr_Device_Nothing, nothing),
              RPC_SUCCESS);
}

TEST_F(Vxi11, LocksBarOthersWithTheirAsymmetries) {
    Vxi11_Link_Client holder = Linked(), other = Linked();
    Expect({{holder.Unlock(), 12}, {holder.Lock(), 0}, {other.Unlock(), 11}, {other.Write("*IDN?"), 11},
            {other.Read(), "11:0:"}, {other.Status(), -11}, {other.Create(), 11, "also without asking for the lock"},
            {holder.Ask("*IDN?"), "0:4:me\n"}, {holder.Status(), 0}});
    for (const Vxi11_Link_Client* link : {&holder, &other}) {
        for (const rpcproc_t procedure : {device_clear, device_remote, device_local})
            EXPECT_EQ(link->Generic(procedure), 11);
        EXPECT_EQ(link->Lock(), 11) << "whoever holds it";
        EXPECT_EQ(link->Lock(vxi11_wait_lock, 999), 11) << "less than a second is none";
    }
    Expect({{holder.Unlock(), 0}, {holder.Unlock(), 12}, {other.Create("inst0", true), 0}, {holder.Lock(), 11},
            {other.Destroy(), 0, "and with it its lock"}, {holder.Lock(), 0}});
}

TEST_F(Vxi11, WhileCallsWaitForTheLockOthersAreServedAndTheUnlockLetsThemPassInTurn) {
    Vxi11_Link_Client holder = Linked(), witness = Linked();
    std::vector<Vxi11_Link_Client> links;
    for (int i = 0; i < 6; ++i) links.push_back(Linked(i == 5));
    ASSERT_EQ(holder.Lock(), 0);
    std::atomic<int> done{0};
    std::vector<std::thread> waiting;
    const auto start = [&](auto work) { waiting.emplace_back([&done, work] { EXPECT_EQ(work(), 0); ++done; }); };
    start([&] { return links[0].Write(":SIL", vxi11_end | vxi11_wait_lock, 1000000000); });
    start([&] { return links[1].Generic(device_clear, vxi11_wait_lock, 1000000000); });
    start([&] { return links[2].Status(vxi11_wait_lock) == -11 ? 0 : 1; });
    start([&] { return Vxi11_Link_Client(Ports()[0]).Create("inst0", false, 1000000000); });
    start([&] { return links[4].Generic(device_remote, vxi11_wait_lock, 1000000000); });
    start([&] { return links[5].Generic(device_local, vxi11_wait_lock, 1000000000); });
    for (int i = 0; i < 20; ++i) EXPECT_EQ(holder.Ask("*IDN?"), "0:4:me\n");
    EXPECT_TRUE(Eventually([&] { return done == 1; }));
    Expect({{executed, 0}, {witness.Lock(vxi11_wait_lock, 500), 11},
            {Stepped([&] { return witness.Lock(vxi11_wait_lock, 1999); }), 11},
            {done, 1, "those with more time wait on"}, {holder.Unlock(), 0}});
    for (std::thread& thread : waiting) thread.join();
    EXPECT_EQ(executed, 1);
    EXPECT_EQ(done, 6);
}

TEST_F(Vxi11, ACommandThatWaitsForASweepLeavesOthersServedAndAClearEndsIt) {
    Vxi11_Link_Client link = Linked(), other = Linked();
    const Connection raw = Raw();
    std::thread writer([&] { EXPECT_EQ(link.Write("*IDN?;*OPC?"), 0); });
    ASSERT_TRUE(Sweep_Waited_For());
    Expect({{other.Lock(), 0}, {other.Unlock(), 0}, {other.Status(), 0},
            {other.Write(":SI", 0), 0, "bytes without END are collected meanwhile"}});
    std::thread second([&] { EXPECT_EQ(other.Write("L"), 0); });
    ASSERT_TRUE(raw.Send("*IDN?\n"));
    EXPECT_EQ(executed, 0);
    End_Sweep();
    writer.join();
    second.join();
    EXPECT_EQ(executed, 1);
    EXPECT_EQ(raw.Line(), "me\n");

    writer = std::thread([&] { EXPECT_EQ(link.Write("*IDN?;*OPC?"), 0); });
    ASSERT_TRUE(Sweep_Waited_For());
    EXPECT_EQ(other.Generic(device_clear), 0);
    writer.join();
    EXPECT_EQ(Stepped([&] { return link.Read(10, 0); }), "15:0:") << "what was answered before the clear is gone too";
    EXPECT_EQ(Command_Query_Opc_Flag, 0);
    EXPECT_EQ(link.Ask("*IDN?"), "0:4:me\n");

    writer = std::thread([&] {
        Vxi11_Link_Client leaving = Linked();
        const std::string call =
            Call(device_write, Words({static_cast<std::uint32_t>(leaving.lid), 0, 0, 8, 5}) + "*OPC?\n\n\n");
        const Connection bare = Bare();
        bare.Send(call);
        EXPECT_TRUE(Sweep_Waited_For());
    });
    writer.join();
    EXPECT_EQ(link.Ask("*IDN?"), "0:4:me\n") << "nobody waits for one who has left";
    raw.Send("*OPC?\n");
    ASSERT_TRUE(Sweep_Waited_For());
    writer = std::thread([&] { EXPECT_EQ(link.Ask("*IDN?"), "0:4:me\n"); });
    EXPECT_EQ(other.Status(), 0) << "a message that another's wait holds back";
    End_Sweep();
    writer.join();
}

TEST_F(Vxi11, AClearForgetsTheCompletionThatItsInterfaceWaitsFor) {
    Vxi11_Link_Client link = Linked(), other = Linked();
    Expect({{Raw().Ask("*OPC;*IDN?\n"), "me\n"}, {link.Generic(device_clear), 0},
            {Command_Opc_Flag, 1, "a raw client's"}, {link.Write("*OPC"), 0}, {other.Generic(device_clear), 0},
            {Command_Opc_Flag, 0}});
}

TEST_F(Vxi11, RemoteAndLocal) {
    const Vxi11_Link_Client link = Linked();
    Expect({{link.Generic(device_local), 0}, {Remote_Flag, 0}, {link.Status(), 0}, {Remote_Flag, 0},
            {link.Generic(device_remote), 0}, {Remote_Flag, 1}});
}

TEST_F(Vxi11, DatagramsAreServedAsWell) {
    Vxi11_Link_Client first = Linked(true), second = Linked(true);
    EXPECT_EQ(first.Ask("*IDN?"), "0:4:me\n");
    EXPECT_EQ(first.Lock(), 0);
    std::thread waiting([&] { EXPECT_EQ(second.Lock(vxi11_wait_lock, 1000000000), 0); });
    for (int i = 0; i < 20; ++i) EXPECT_EQ(first.Status(), 0);
    Expect({{first.Write(":LONG? 7990"), 0}, {first.Read().size(), 4u + 7991}, {first.Unlock(), 0}});
    waiting.join();
    EXPECT_EQ(second.Unlock(), 0);

    // The same call again while it waits is the same call.
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const Connection bare(socket);
    const sockaddr_in port = Ports()[1];
    ASSERT_EQ(connect(socket, reinterpret_cast<const sockaddr*>(&port), sizeof port), 0);
    const std::string read =
        Call(device_read, Words({static_cast<std::uint32_t>(first.lid), 10, 60000, 0, 0, 0})).substr(4);
    for (int i = 0; i < 5; ++i) ASSERT_TRUE(bare.Send(read));
    for (const std::string& junk : {std::string(), std::string("x"), std::string(60000, 'y'), read.substr(0, 40)})
        bare.Send(junk);
    EXPECT_EQ(second.Write("*IDN?"), 0);
    EXPECT_EQ(bare.Receive(40).substr(24), Words({0, 4, 3}) + std::string("me\n\0", 4));
    EXPECT_EQ(second.Status(), 0);
    EXPECT_TRUE(bare.Silent());
}

TEST_F(Vxi11, ClientsThatVanishInAnyStateLeaveNothingButTheirLinks) {
    Vxi11_Link_Client witness = Linked();
    const Connection raw = Raw();
    ASSERT_EQ(raw.Ask("*IDN?\n"), "me\n") << "all servers have started and hold what they hold";
    const auto lid = static_cast<std::uint32_t>(witness.lid);
    const std::size_t threads = Entries("/proc/self/task"), descriptors = Entries("/proc/self/fd");
    for (int turn = 0; turn < 100; ++turn) {
        { const Connection mute = Bare(); }
        {
            const Connection cut = Bare();
            cut.Send(Call(device_write, Words({lid, 0, 0, 8, 6}) + "*IDN?\n").substr(0, 50));
        }
        { const Connection asking = Bare(); asking.Send(Call(device_write, Words({lid, 0, 0, 8, 6}) + "*IDN?\n  ")); }
        { const Connection reading = Bare(); reading.Send(Call(device_read, Words({lid, 10, 100000, 0, 0, 0}))); }
        { const Connection waiting = Bare(); waiting.Send(Call(device_write, Words({lid, 0, 0, 8, 6}) + "*OPC?\n  ")); }
        {
            const Connection many = Bare();
            for (int i = 0; i < 9; ++i) many.Send(Call(device_write, Words({lid, 0, 0, 8, 6}) + "*IDN?\n  "));
        }
        { const Vxi11_Link_Client linked = Linked(); EXPECT_EQ(linked.Status(), 0 + (linked.Status() & 16)); }
    }
    EXPECT_EQ(witness.Ask("*IDN?"), "0:4:me\n");
    EXPECT_TRUE(Eventually([&] { return Entries("/proc/self/fd") == descriptors; }))
        << Entries("/proc/self/fd") << " descriptors, not " << descriptors;
    EXPECT_LE(Entries("/proc/self/task"), threads);
    int left = 0;
    {
        Vxi11_Link_Client holder = Linked();
        EXPECT_EQ(holder.Lock(), 0);
        left = holder.lid;
    }
    EXPECT_TRUE(Eventually([&] { return Entries("/proc/self/fd") == descriptors; }));
    EXPECT_EQ(witness.Write("*IDN?"), 11) << "links and locks outlive their connection";
    std::swap(witness.lid, left);
    EXPECT_EQ(witness.Unlock(), 0);
    EXPECT_EQ(witness.Destroy(), 0);
}

TEST_F(Vxi11, OneTooManyIsRefusedAndTheNextOneServedWhenRoomIsThere) {
    testing::internal::CaptureStderr();
    Vxi11_Link_Client first = Linked();
    std::vector<Connection> crowd;
    for (std::size_t i = 1; i < Vxi11_Server::most_connections; ++i) crowd.push_back(Bare());
    for (int i = 0; i < 3; ++i) {
        const Connection refused = Bare();
        EXPECT_EQ(Reply(refused), "ended");
    }
    EXPECT_EQ(first.Ask("*IDN?"), "0:4:me\n");
    crowd.clear();
    EXPECT_TRUE(Eventually([] {
        const Connection next = Bare();
        next.Send(Call(0, ""));
        return Reply(next) == "1 0 0 0 0";
    }));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a VXI-11 client is refused: there are 100 already\n");
}

TEST_F(Vxi11, WhenDescriptorsRunOutTheOthersAreServedAndTheNextOneLater) {
    Vxi11_Link_Client old = Linked();
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t usual = std::exchange(limit.rlim_cur, 100);
    testing::internal::CaptureStderr();
    const int waiting = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> eaten;
    for (int taken = dup(waiting); taken >= 0; taken = dup(waiting)) eaten.push_back(taken);
    const Connection client(waiting);
    sockaddr_in port{};
    socklen_t size = sizeof port;
    getpeername(old.Socket(), reinterpret_cast<sockaddr*>(&port), &size);
    ASSERT_EQ(connect(waiting, reinterpret_cast<const sockaddr*>(&port), size), 0);
    ASSERT_TRUE(client.Send(Call(0, "")));
    for (int i = 0; i < 50; ++i) EXPECT_EQ(old.Ask("*IDN?"), "0:4:me\n");
    for (const int descriptor : eaten) close(descriptor);
    limit.rlim_cur = usual;
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(client.Silent());
    platform::Step_Clock(1s);
    EXPECT_EQ(Reply(client), "1 0 0 0 0");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vxi11 accept error: Too many open files\n");
}

TEST_F(Vxi11, WhoNeverReadsIsNotReadAndInTheEndDropped) {
    Vxi11_Link_Client other = Linked();
    const Connection deaf = Bare();
    fcntl(deaf.Descriptor(), F_SETFL, O_NONBLOCK);
    const std::string ask = Call(device_readstb, Words({static_cast<std::uint32_t>(other.lid), 0, 0, 0}));
    std::string flood;
    for (int i = 0; i < 1000; ++i) flood += ask;
    testing::internal::CaptureStderr();
    std::size_t sent = 0;
    EXPECT_TRUE(Eventually([&] {
        for (ssize_t taken = 1; taken > 0; sent += static_cast<std::size_t>(std::max<ssize_t>(taken, 0))) {
            const std::string_view left = std::string_view(flood).substr(sent % ask.size());
            taken = send(deaf.Descriptor(), left.data(), left.size(), MSG_NOSIGNAL);
        }
        EXPECT_EQ(other.Status(), 0);
        platform::Step_Clock(100ms);
        pollfd wait{deaf.Descriptor(), POLLRDHUP, 0};
        return poll(&wait, 1, 0) > 0;
    }));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a VXI-11 client that doesn't read its replies is dropped\n");
    EXPECT_EQ(other.Ask("*IDN?"), "0:4:me\n");
}

TEST_F(Vxi11, LockingLinksBesideHislipAndRawClientsGetTheirOwnAnswers) {
    constexpr int links = 16, sockets = 16, turns = 25;
    std::atomic<int> wrong{0};
    std::vector<std::thread> clients;
    for (int number = 0; number < links + sockets; ++number) {
        clients.emplace_back([&wrong, number] {
            std::optional<Vxi11_Link_Client> link;
            std::optional<Connection> raw;
            number < links ? void(link.emplace(Linked())) : void(raw.emplace(Raw()));
            for (int turn = 0; turn < turns; ++turn) {
                std::string query = "*IDN?", expected = "me";
                for (int i = (number + turn) % 9; i > 0; --i) {
                    query += ";*IDN?";
                    expected += ";me";
                }
                if (raw) {
                    if (raw->Ask(query + '\n') != expected + '\n') ++wrong;
                    continue;
                }
                if (link->Lock(vxi11_wait_lock, 1000000) != 0) ++wrong;
                if (link->Ask(query) != "0:4:" + expected + '\n') ++wrong;
                if (link->Unlock() != 0) ++wrong;
            }
        });
    }
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(Vxi11, TheStopEndsAWaitAndTakesThePortsAway) {
    Vxi11_Link_Client link = Linked();
    const Connection bare = Bare(), reading = Bare();
    bare.Send(Call(device_write, Words({static_cast<std::uint32_t>(link.lid), 0, 0, 8, 5}) + "*OPC?\n\n\n"));
    reading.Send(Call(device_read, Words({static_cast<std::uint32_t>(link.lid), 10, 100000, 0, 0, 0})));
    ASSERT_TRUE(Sweep_Waited_For());
    End_Server();
    const std::string last = Reply(reading);
    EXPECT_TRUE(last == "ended" || Reply(reading) == "ended") << last;
    EXPECT_TRUE(Ports().empty());
    EXPECT_EQ(Command_Query_Opc_Flag, 0);
}

}  // namespace
