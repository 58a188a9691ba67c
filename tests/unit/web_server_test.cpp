#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <thread>

#include "connection.h"
#include "platform/backlight.h"
#include "platform/stop.h"
#include "remote/server.h"
#include "temp_root.h"
#include "web_rig.h"
#include "virtual_board/devices.h"
#include "web/frame_source.h"
#include "web/instrument_link.h"
#include "web/live.h"
#include "web/screen.h"
#include "web/server.h"
#include "web/state.h"

namespace {

// ---- The instrument's side

std::atomic<int> keys_taken, last_key, powers;
std::atomic<double> center;
std::atomic<bool> takes_keys;

/// The instrument's own end of the local socket, with a key queue that only counts.
class Instrument {
public:
    Instrument() {
        std::filesystem::create_directories(platform::Rooted("/tmp/web_store"));
        keys_taken = powers = 0;
        last_key = -1;
        center = 0;
        takes_keys = true;
        platform::Reset_Stop();
        thread_ = std::thread([] {
            remote::Serve({
                [](std::int32_t code) {
                    if (!takes_keys) return false;
                    last_key = code;
                    ++keys_taken;
                    return true;
                },
                [](std::string_view name, double value) {
                    if (!takes_keys || name != "center") return false;
                    center = std::clamp(value, 0.0, 3.25e9);
                    return true;
                },
                [] { return ++powers, true; },
                [](std::string& json) {
                    json = R"({"model":"KVA7230","starting":false,"remote":true,"center":)" +
                           std::to_string(static_cast<long long>(center)) + "}";
                },
                [](std::string& csv) { csv = "frequency_hz,level_dbm\n1.000,-20.000\n"; },
            });
        });
        const auto limit = std::chrono::steady_clock::now() + patience;
        web::Instrument_Link link;
        while (!link.Info() && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
    }
    ~Instrument() {
        platform::Request_Stop();
        thread_.join();
        platform::Reset_Stop();
    }

private:
    std::thread thread_;
};

TEST(Web_Link, KeysReachTheInstrumentAndFollowItsRestart) {
    const Temp_Root root(3);  // deeper than a socket's name is long
    web::Instrument_Link link;
    EXPECT_EQ(link.Press_Key(0), web::Key_Answer::unreachable);
    EXPECT_FALSE(link.Info());
    for (int start = 0; start < 2; ++start) {
        const Instrument instrument;
        Expect({{link.Press_Key(123), web::Key_Answer::taken}, {last_key, 123},
                {link.Press_Power(), web::Key_Answer::taken}, {powers, 1}});
        takes_keys = false;
        EXPECT_EQ(link.Press_Key(0), web::Key_Answer::refused);
        EXPECT_EQ(link.Trace(), "frequency_hz,level_dbm\n1.000,-20.000\n");
    }
    EXPECT_EQ(link.Press_Key(0), web::Key_Answer::unreachable);
}

/// An instrument that follows a script on each connection instead of the protocol.
class Odd_Instrument {
public:
    explicit Odd_Instrument(std::function<void(int socket)> script) {
        const std::filesystem::path folder = platform::Rooted("/tmp/web_store");
        std::filesystem::create_directories(folder);
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::snprintf(name.sun_path, sizeof name.sun_path, "%s/talmiron.sock", folder.c_str());
        listener_ = socket(AF_UNIX, SOCK_STREAM, 0);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
        EXPECT_EQ(listen(listener_, 4), 0);
        thread_ = std::thread([this, script] {
            for (int client; (client = accept(listener_, nullptr, nullptr)) >= 0; close(client)) {
                ++connections;
                script(client);
            }
        });
    }
    ~Odd_Instrument() {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }
    std::atomic<int> connections = 0;

private:
    int listener_;
    std::thread thread_;
};

void Wait_For_End(int socket) {
    char scrap[64];
    while (recv(socket, scrap, sizeof scrap, 0) > 0) {
    }
}

TEST(Web_Link, ALostKeyIsNotSentTwice) {
    const Temp_Root root;
    std::atomic<int> keys = 0;
    Odd_Instrument instrument([&](int socket) {
        char bytes[3];
        if (recv(socket, bytes, 2, MSG_WAITALL) != 2) return;
        EXPECT_EQ(send(socket, "ST", 3, MSG_NOSIGNAL), 3);
        keys += recv(socket, bytes, 1, MSG_WAITALL) == 1;  // and hangs up without an answer
    });
    web::Instrument_Link link;
    Expect({{link.Press_Key(1), web::Key_Answer::unreachable}, {keys, 1},
            {link.Press_Key(2), web::Key_Answer::unreachable}, {keys, 2}});
}

TEST(Web_Link, SilenceAndNonsenseEndInTime) {
    const Temp_Root root;
    {
        Odd_Instrument mute(Wait_For_End);
        web::Instrument_Link link(50ms);
        EXPECT_EQ(link.Press_Key(1), web::Key_Answer::unreachable);
        EXPECT_EQ(link.Info(), "");
    }
    std::filesystem::remove(platform::Rooted("/tmp/web_store/talmiron.sock"));
    Odd_Instrument liar([](int socket) {
        send(socket, "\xff\xff\xff\xff....", 8, MSG_NOSIGNAL);  // four gigabytes to come
        Wait_For_End(socket);
    });
    web::Instrument_Link link(50ms);
    EXPECT_EQ(link.Trace().value_or(""), "");
    EXPECT_EQ(link.Press_Power(), web::Key_Answer::unreachable);
}

TEST(Web_Link, StateIsToldInPlainWords) {
    EXPECT_EQ(web::State_Message(std::nullopt), R"({"instrument":"off"})");
    EXPECT_EQ(web::State_Message(""), R"({"instrument":"on"})");
    EXPECT_EQ(web::State_Message("[1,2"), R"({"instrument":"on"})");
    EXPECT_EQ(web::State_Message(R"({"model":"KVA7200","starting":true,"remote":false,"x":1})"),
              R"({"instrument":"starting","model":"KVA7200","remote":false})");
    EXPECT_EQ(web::State_Message(R"({"center":433920000,"span":2e6,"reference":"-20","stop":1})"),
              R"({"center":433920000,"instrument":"on","span":2000000.0})");
    EXPECT_EQ(web::State_Message(R"({"model":7,"starting":1,"remote":null})"), R"({"instrument":"on"})");
}

// ---- The devices

void Fill_Video(std::uint8_t value) {
    const int device = platform::Frame_Open("/dev/fb/1");
    auto* memory = platform::Frame_Map(device, 800 * 600 * 3);
    std::memset(memory, value, 800 * 600 * 3);
    platform::Frame_Unmap(memory, 800 * 600 * 3);
    platform::Frame_Set_Position(device, 0, 0);
    platform::Frame_Enable_Window(device, true);
    platform::Frame_Close(device);
}

TEST(Web_Source, FollowsDevicesThatComeAndGo) {
    const Temp_Root root;
    web::Frame_Source source(0ms);
    Pixels screen(web::screen_bytes, 1);
    EXPECT_FALSE(source.Capture(screen));
    EXPECT_EQ(screen, Pixels(web::screen_bytes, 0));
    for (const std::uint8_t value : {0x40, 0x41}) {
        virtual_board::Make_Frame_Devices();
        Fill_Video(value);
        EXPECT_TRUE(source.Capture(screen));
        EXPECT_EQ(screen, Pixels(web::screen_bytes, value));
    }
    root.Write("/dev/backlight", std::string(1, '\0'));
    EXPECT_TRUE(source.Capture(screen));
    EXPECT_EQ(screen, Pixels(web::screen_bytes, 0));
    virtual_board::Remove_Frame_Devices();
    EXPECT_FALSE(source.Capture(screen));
}

TEST(Web_Source, ADeviceCutShortUnderItsMappingIsLeftOut) {
    const Temp_Root root;
    virtual_board::Make_Frame_Devices();
    Fill_Video(0x55);
    web::Frame_Source source(1h);
    Pixels screen(web::screen_bytes);
    ASSERT_TRUE(source.Capture(screen));
    std::filesystem::resize_file(platform::Rooted("/dev/fb/1"), 4096);
    source.Capture(screen);
    EXPECT_EQ(Pixel(screen, 799, 599), 0u);
}

TEST(Web_Source, NewsIsWhateverTheScreenIsMadeOf) {
    const Temp_Root root;
    virtual_board::Make_Frame_Devices();
    Fill_Video(0x55);
    web::Frame_Source source(0ms);
    Pixels screen(web::screen_bytes), other(web::screen_bytes);
    std::uint64_t seen = 0, others = 0;
    const auto news = [&] { return source.Capture_News(seen, screen); };
    EXPECT_TRUE(news());
    EXPECT_FALSE(news());

    const int device = platform::Frame_Open("/dev/fb/1");
    auto* memory = platform::Frame_Map(device, 800 * 600 * 3);
    memory[800 * 600 * 3 - 1] = std::byte{0x56};
    source.Capture(other);  // a look of somebody else's takes no news away
    EXPECT_TRUE(news());
    EXPECT_EQ(Pixel(screen, 799, 599), 0x555556u);
    EXPECT_EQ(screen, other);
    platform::Frame_Set_Position(device, 1, 0);
    EXPECT_TRUE(news());
    platform::Frame_Set_Background(device, 0x0000ff);
    EXPECT_TRUE(news());
    EXPECT_EQ(Pixel(screen, 0, 0), 0x0000ffu);
    root.Write("/dev/backlight", std::string(1, '\0'));
    EXPECT_TRUE(news());
    EXPECT_FALSE(news());
    platform::Frame_Unmap(memory, 800 * 600 * 3);
    platform::Frame_Close(device);
    virtual_board::Remove_Frame_Devices();
    EXPECT_TRUE(news());
    EXPECT_FALSE(news());
    EXPECT_TRUE(source.Capture_News(others, other));
    EXPECT_EQ(screen, other);
}

// ---- The server, over its wires

class Client : public Connection {
public:
    explicit Client(int port) : Connection(To_Port(port)) {}

    void Write(std::string_view text) { EXPECT_TRUE(Send(text)); }
    std::string Read(std::size_t count) { return Receive(count); }
    std::string Read_Head() {
        std::string text;
        while (!text.ends_with("\r\n\r\n")) {
            const auto byte = Read(1);
            if (byte.empty()) break;
            text += byte;
        }
        return text;
    }

    std::string Upgrade(const std::string& more = "") {
        Write(
            "GET /live HTTP/1.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
            "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
            more + "\r\n");
        return Read_Head();
    }
    struct Message {
        int opcode = -1;
        std::string text;
    };
    Message Read_Message() {
        const auto head = Read(2);
        if (head.size() < 2) return {};
        std::size_t size = head[1] & 0x7f;
        if (const int more = size == 126 ? 2 : size == 127 ? 8 : 0) {
            size = 0;
            for (const char byte : Read(more)) size = size << 8 | static_cast<unsigned char>(byte);
        }
        return {head[0] & 0x0f, Read(size)};
    }
    Message Read_Kind(int opcode) {
        for (;;) {
            auto message = Read_Message();
            if (message.opcode == opcode || message.opcode < 0) return message;
        }
    }
    void Write_Text(const std::string& text) {
        std::string frame{char(0x81), char(0x80 | text.size()), 0, 0, 0, 0};  // masked with zeros
        Write(frame + text);
    }
};

constexpr int text_message = 1, binary_message = 2, closing = 8;

std::unique_ptr<web::Server> Start_Server() {
    std::string error;
    auto server = web::Server::Start({.listen = "127.0.0.1", .port = 0, .page = KVA720_SOURCE "/web/page"}, error);
    EXPECT_TRUE(server) << error;
    return server;
}

/// The whole answer to a request; a body is only sent with its head.
std::string Ask(int port, const std::string& line, const std::string& more = "", const std::string& body = "") {
    Client client(port);
    client.Write(line + " HTTP/1.1\r\n" + more + "\r\n" + body);
    return client.Read(std::string::npos);
}

int Status(const std::string& answer) { return answer.size() > 12 ? std::stoi(answer.substr(9, 3)) : 0; }

TEST(Web_Server, ServesThePageAndTheScreenAndNothingElse) {
    const Temp_Root root;
    const auto server = Start_Server();
    const int port = server->Port();
    const auto page = Ask(port, "GET /", "Host: 127.0.0.1:" + std::to_string(port) + "\r\n");
    EXPECT_EQ(Status(page), 200);
    EXPECT_NE(page.find("<canvas id=\"screen\""), page.npos);
    for (const char* path : {"/panel.js", "/panel.css", "/screen.js", "/knob.js", "/icon.svg"})
        EXPECT_EQ(Status(Ask(port, std::string("GET ") + path)), 200) << path;
    for (const char* path : {"/main.cpp", "/../main.cpp", "/%2e%2e/main.cpp", "/panel.js/../../main.cpp",
                             "//etc/passwd", "/..%2fmain.cpp", "/index.html%00"})
        EXPECT_EQ(Ask(port, std::string("GET ") + path).find("int main"), std::string::npos) << path;
    EXPECT_EQ(Status(Ask(port, "GET /../main.cpp")), 404);
    EXPECT_EQ(Status(Ask(port, "GET /screen.png")), 200);  // without an instrument: a dark one
    EXPECT_EQ(Status(Ask(port, "GET /trace.csv")), 503);
    EXPECT_EQ(Status(Ask(port, "POST /key/0")), 503);
    EXPECT_NE(Ask(port, "GET /state.json").find(R"({"instrument":"off"})"), std::string::npos);
    EXPECT_EQ(Status(Ask(port, "GET /live")), 426);
    EXPECT_EQ(Status(Ask(port, "DELETE /")), 405);
    EXPECT_EQ(Status(Ask(port, "POST /set/center", "Transfer-Encoding: chunked\r\n")), 411);
    EXPECT_EQ(Status(Ask(port, "GET /", "Host: evil.example\r\n")), 403);

    std::string error;
    EXPECT_FALSE(web::Server::Start({.listen = "127.0.0.1", .port = port, .page = KVA720_SOURCE "/web/page"}, error));
    EXPECT_NE(error.find("in use"), std::string::npos) << error;
    EXPECT_FALSE(web::Server::Start({.listen = "127.0.0.256", .port = 0, .page = KVA720_SOURCE "/web/page"}, error));
    EXPECT_FALSE(web::Server::Start({.listen = "127.0.0.1", .port = 0, .page = root.Top()}, error));
    EXPECT_NE(error.find("index.html"), std::string::npos) << error;
}

TEST(Web_Server, OnlyItsOwnPageAndProgramsPressKeys) {
    const Temp_Root root;
    const Instrument instrument;
    const auto server = Start_Server();
    const int port = server->Port();
    const std::string own = "127.0.0.1:" + std::to_string(port), foreign = "Origin: http://evil.example\r\n";
    EXPECT_EQ(Status(Ask(port, "POST /key/0", foreign)), 403);
    EXPECT_EQ(Status(Ask(port, "POST /key/0", "Host: " + own + "\r\n" + foreign)), 403);
    EXPECT_EQ(Status(Ask(port, "POST /power", "Origin: null\r\n")), 403);
    EXPECT_EQ(Status(Ask(port, "OPTIONS /key/0", foreign + "Access-Control-Request-Method: POST\r\n")), 403);
    EXPECT_EQ(Status(Client(port).Upgrade(foreign)), 403);
    EXPECT_EQ(Status(Ask(port, "GET /key/0")), 404);
    EXPECT_EQ(Status(Ask(port, "POST /key/0", "Content-Length: 70000\r\n", std::string(70000, 'x'))), 413);
    for (const char* code : {"24", "31", "39", "47", "125", "-1", "256", "", "1x", "4294967296", "0x1"})
        EXPECT_EQ(Status(Ask(port, std::string("POST /key/") + code)), 400) << code;
    EXPECT_EQ(keys_taken + powers, 0);

    Expect({{Status(Ask(port, "POST /key/38", "Host: " + own + "\r\nOrigin: http://" + own + "\r\n")), 204},
            {last_key, 38}, {Status(Ask(port, "POST /key/0", "Content-Length: 3000\r\n", std::string(3000, 'x'))), 204},
            {last_key, 0}, {Status(Ask(port, "POST /power")), 204}, {powers, 1}});
    takes_keys = false;
    EXPECT_EQ(Status(Ask(port, "POST /key/1")), 503);
    EXPECT_NE(Ask(port, "GET /trace.csv").find("\r\n\r\nfrequency_hz,level_dbm\n1.000,-20.000\n"), std::string::npos);
}

TEST(Web_Server, SettingsAreSetByScripts) {
    const Temp_Root root;
    const auto server = Start_Server();
    const auto set = [&](const std::string& name, const std::string& value) {
        return Status(Ask(server->Port(), "POST /set/" + name,
                          "Content-Length: " + std::to_string(value.size()) + "\r\n", value));
    };
    EXPECT_EQ(set("center", "1"), 503);
    const Instrument instrument;
    EXPECT_EQ(set("center", "433.92 MHz\n"), 204);
    EXPECT_EQ(center, 433.92e6);
    for (const char* value : {"", "x", "1e300", "-20 dBm"}) EXPECT_EQ(set("center", value), 400) << value;
    EXPECT_EQ(set("colour", "1"), 400);
    EXPECT_EQ(set("center", std::string(5000, '1')), 400);
    EXPECT_EQ(set("span", "2"), 503);  // which this instrument refuses
    EXPECT_EQ(center, 433.92e6);
}

TEST(Web_Server, LiveScreenFollowsTheInstrumentAndTakesKeys) {
    const Temp_Root root;
    virtual_board::Make_Frame_Devices();
    Fill_Video(1);
    const Instrument instrument;
    auto server = Start_Server();
    Client viewer(server->Port());
    EXPECT_EQ(Status(viewer.Upgrade()), 101);
    Pixels shown(web::screen_bytes);
    EXPECT_EQ(Apply(Bytes(viewer.Read_Kind(binary_message).text), shown).size(), 600u);
    EXPECT_EQ(shown, Pixels(web::screen_bytes, 1));
    Fill_Video(2);
    while (shown != Pixels(web::screen_bytes, 2)) {
        const auto message = viewer.Read_Kind(binary_message);
        ASSERT_EQ(message.opcode, binary_message);
        Apply(Bytes(message.text), shown);
    }

    viewer.Write_Text(R"({"key":16})");
    for (const char* bad : {R"({"key":99})", R"({"key":"0"})", R"({"key":1.5})", R"({"power":1})", "[]", "{", ""}) {
        viewer.Write_Text(bad);
        std::string answer;
        do answer = viewer.Read_Kind(text_message).text;
        while (answer.find("instrument\":") != answer.npos);
        EXPECT_TRUE(answer.starts_with(R"({"error":)")) << bad << ": " << answer;
    }
    const auto await_texts = [&](std::set<std::string> wanted) {
        while (!wanted.empty()) {
            const auto message = viewer.Read_Kind(text_message);
            if (message.opcode < 0) break;
            wanted.erase(message.text);
        }
        EXPECT_EQ(wanted, std::set<std::string>{});
    };
    // The state may be told before the answer.
    viewer.Write_Text(R"({"set":"center","value":"9 GHz"})");
    await_texts({R"({"set":"center","value":3250000000})",
                 R"({"center":3250000000,"instrument":"on","model":"KVA7230","remote":true})"});
    viewer.Write_Text(R"({"set":"center","value":"much"})");
    await_texts({R"({"error":"not a frequency","set":"center"})"});
    EXPECT_EQ(last_key, 16);
    EXPECT_EQ(keys_taken, 1);

    std::thread end([&] { server.reset(); });
    EXPECT_EQ(viewer.Read_Kind(text_message).text, R"({"closing":true})");
    EXPECT_EQ(viewer.Read_Kind(closing).text, "\x03\xe9");
    end.join();
}

TEST(Web_Server, AViewerThatBreaksTheRulesIsClosedAndNobodyElse) {
    const Temp_Root root;
    virtual_board::Make_Frame_Devices();
    Fill_Video(1);
    const Instrument instrument;
    const auto server = Start_Server();
    Client good(server->Port());
    EXPECT_EQ(Status(good.Upgrade()), 101);
    const std::string bad_text = Frame(0x81, "\xff\xfe{\"key\":1}");
    for (const auto& bytes : {Frame(0x81, R"({"key":1})", false), Frame(0x01, R"({"key":1})"), Frame(0x82, "x"),
                              std::string("\x81\xff\0\0\0\0\x7f\xff\0\0", 10)}) {
        Client bad(server->Port());
        EXPECT_EQ(Status(bad.Upgrade()), 101);
        bad.Write(bad_text + bytes);  // what is no text is answered, what is no frame ends it
        EXPECT_EQ(bad.Read_Kind(closing).text[0], '\x03') << testing::PrintToString(bytes);
    }
    EXPECT_EQ(keys_taken, 0);
    good.Write(Frame(0x89, "still here"));
    EXPECT_EQ(good.Read_Kind(10).text, "still here");
    Fill_Video(2);
    EXPECT_EQ(good.Read_Kind(binary_message).opcode, binary_message);
    good.Write(Frame(0x88, "\x03\xe8"));
    EXPECT_EQ(good.Read_Kind(closing).text, "\x03\xe8");
}

TEST(Web_Server, AViewerThatStopsReadingHoldsUpNobody) {
    const Temp_Root root;
    virtual_board::Make_Frame_Devices();
    Fill_Video(1);
    const auto server = Start_Server();
    Client stuck(server->Port()), viewer(server->Port());
    EXPECT_EQ(Status(stuck.Upgrade()), 101);
    EXPECT_EQ(Status(viewer.Upgrade()), 101);

    // Pictures of noise: a megabyte and a half each, so that the stuck one's buffers are soon full.
    const int device = platform::Frame_Open("/dev/fb/1");
    auto* memory = platform::Frame_Map(device, web::screen_bytes);
    std::mt19937 random(3);
    Pixels shown(web::screen_bytes), noise(web::screen_bytes);
    for (int picture = 0; picture < 9; ++picture) {
        for (auto& value : noise) value = static_cast<std::uint8_t>(random());
        std::memcpy(memory, noise.data(), noise.size());
        while (shown != noise) {
            const auto message = viewer.Read_Kind(binary_message);
            ASSERT_EQ(message.opcode, binary_message);
            Apply(Bytes(message.text), shown);
        }
    }
    platform::Frame_Unmap(memory, web::screen_bytes);
    platform::Frame_Close(device);
}

}  // namespace
