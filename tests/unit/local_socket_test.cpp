#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <fcntl.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "records_fixture.h"
#include "remote/local_socket.h"

namespace {

std::atomic<int> last_key{-1};
bool Take_Key(std::int32_t code) {
    last_key = code;
    return code != 200;
}
std::string settings;
bool Take_Setting(std::string_view name, double value) {
    settings += std::string(name) + '=' + std::to_string(value) + ';';
    return name == "span";
}
bool No_Power() { return false; }
void Tell_State(std::string& text) { text = "{\"model\":\"X\"}"; }
void Tell_Trace(std::string& text) { text.assign(300'000, 't'); }

class Local_Socket : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        last_key = -1;
        std::filesystem::create_directories(platform::Rooted("/tmp/web_store"));
        root.Write("/tmp/web_store/talmiron.sock", "an old file");
        server = std::thread([] { remote::Serve_Local_Socket({Take_Key, Take_Setting, No_Power, Tell_State, Tell_Trace}); });
    }
    void TearDown() override {
        platform::Request_Stop();
        server.join();
        EXPECT_FALSE(std::filesystem::exists(platform::Rooted("/tmp/web_store/talmiron.sock")));
        Records::TearDown();
    }
    static int Connect() {
        const int folder = open(platform::Rooted("/tmp/web_store").c_str(), O_PATH | O_DIRECTORY);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/talmiron.sock", folder);
        int connection = -1;
        for (int i = 0; i < 400; ++i) {
            connection = socket(AF_UNIX, SOCK_STREAM, 0);
            if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) break;
            close(connection);
            connection = -1;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        close(folder);
        return connection;
    }
    static void Send(int connection, std::string_view bytes) {
        ASSERT_EQ(send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    /// The next bytes; fewer when the connection ends or nothing comes for two seconds.
    static std::string Receive(int connection, std::size_t count) {
        std::string text;
        pollfd wait{connection, POLLIN, 0};
        std::array<char, 4096> piece;
        while (text.size() < count && poll(&wait, 1, 2000) > 0) {
            const ssize_t got = recv(connection, piece.data(), std::min(piece.size(), count - text.size()), 0);
            if (got <= 0) break;
            text.append(piece.data(), static_cast<std::size_t>(got));
        }
        return text;
    }
    std::thread server;
};

const std::string st("ST\0", 3), ok("OK\0", 3), no("NO\0", 3);

TEST_F(Local_Socket, KeysAreAnsweredHoweverTheirBytesAreCut) {
    const int first = Connect(), second = Connect();
    Send(first, "K");
    Send(second, "KY");
    EXPECT_EQ(Receive(second, 3), st);
    Send(second, "\x05");
    EXPECT_EQ(Receive(second, 3), ok) << "half a command of another client is not in the way";
    EXPECT_EQ(last_key, 5);
    Send(first, "Y\x07KY\xc8PW");
    EXPECT_EQ(Receive(first, 15), st + ok + st + no + no);
    EXPECT_EQ(last_key, 200);
    close(first);
    close(second);
}

TEST_F(Local_Socket, SettingsAreLinesOfNameAndNumber) {
    settings.clear();
    const int client = Connect();
    Send(client, "SEspan 2.5e6\nSEcen");
    EXPECT_EQ(Receive(client, 9), st + ok + st);
    Send(client, "ter 1\nSEspan nan\nSEspan 1x\nSEspan\n");
    EXPECT_EQ(Receive(client, 21), no + st + no + st + no + st + no);
    EXPECT_EQ(settings, "span=2500000.000000;center=1.000000;");
    Send(client, "SE");
    EXPECT_EQ(Receive(client, 3), st);
    Send(client, std::string(100, 'x'));
    EXPECT_EQ(Receive(client, 1), "") << "a line without end ends the connection";
    close(client);
}

TEST_F(Local_Socket, LongAnswersComeWholeAndUnknownCommandsEndTheirConnectionOnly) {
    const int first = Connect(), second = Connect();
    Send(first, "TRIN");
    const std::string length = Receive(first, 4);
    EXPECT_EQ(length, std::string("\xe0\x93\x04\0", 4));
    EXPECT_EQ(Receive(first, 300'000), std::string(300'000, 't'));
    EXPECT_EQ(Receive(first, 4 + 13).substr(4), "{\"model\":\"X\"}");
    Send(second, "QQ");
    EXPECT_EQ(Receive(second, 1), "");
    Send(first, "PW");
    EXPECT_EQ(Receive(first, 3), no);
    close(first);
    close(second);
}

TEST_F(Local_Socket, ClientsThatNeverReadOrComeInCrowdsHarmNobody) {
    std::vector<int> crowd;
    for (int i = 0; i < 12; ++i) {
        crowd.push_back(Connect());
        for (int j = 0; j < 20; ++j) send(crowd.back(), "TR", 2, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    const int client = Connect();
    Send(client, "PW");
    EXPECT_EQ(Receive(client, 3), no);
    for (const int connection : crowd) close(connection);
    close(client);
}

}  // namespace
