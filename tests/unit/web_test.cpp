#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <png.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <zlib.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <thread>

#include "platform/backlight.h"
#include "platform/stop.h"
#include "remote/local_socket.h"
#include "temp_root.h"
#include "virtual_board/devices.h"
#include "web/delta.h"
#include "web/frame_reader.h"
#include "web/frame_source.h"
#include "web/instrument_link.h"
#include "web/live.h"
#include "web/order.h"
#include "web/origin.h"
#include "web/png_image.h"
#include "web/screen.h"
#include "web/server.h"
#include "web/setting.h"
#include "web/state.h"

namespace {

using namespace std::chrono_literals;
using Pixels = std::vector<std::uint8_t>;

constexpr auto patience = 10s;  // for another thread or process; a test that passes takes a fraction of it

// ---- The composed screen

struct Plane {
    platform::Frame_State state;
    std::vector<std::byte> memory;

    Plane(std::uint32_t width, std::uint32_t height, std::uint32_t bits, std::uint32_t slack = 0) {
        state = {.width = width,
                 .height = height,
                 .bits_per_pixel = bits,
                 .line_length = width * bits / 8 + slack,
                 .enabled = 1};
        memory.resize(std::size_t{state.line_length} * height);
    }
    void Set(std::uint32_t x, std::uint32_t y, std::uint32_t colour) {
        auto* place = &memory[y * state.line_length + x * state.bits_per_pixel / 8];
        for (std::uint32_t i = 0; i < state.bits_per_pixel / 8; ++i)  // 16 bits low byte first, 24 bits R first
            place[i] = static_cast<std::byte>(colour >> (state.bits_per_pixel == 16 ? 8 * i : 16 - 8 * i));
    }
    web::Layer As_Layer(bool zero_transparent) const { return {state, memory, zero_transparent}; }
};

std::uint32_t Pixel(const Pixels& screen, int x, int y) {
    const auto* place = &screen[3 * (static_cast<std::size_t>(y) * web::screen_width + x)];
    return place[0] << 16 | place[1] << 8 | place[2];
}

TEST(Web_Screen, LayersLieOverEachOtherAtTheirPlaces) {
    Plane video(800, 600, 24), osd(100, 10, 16, 6);
    for (int x = 0; x < 800; ++x) video.Set(x, 20, 0x102030);
    osd.state.x = 750;
    osd.state.y = 20;
    osd.Set(0, 0, 0xf800);
    osd.Set(1, 0, 0x0000);
    osd.Set(49, 0, 0x07e1);  // the last column of the screen; what lies right of it is cut off
    osd.Set(50, 0, 0xffff);
    osd.Set(2, 1, 0x8410);
    Pixels screen(web::screen_bytes);
    const std::array layers{video.As_Layer(false), osd.As_Layer(true)};
    web::Compose(0xabcdef, layers, 100, screen);
    EXPECT_EQ(Pixel(screen, 0, 19), 0x000000u);  // video hides the ground also where it is black
    EXPECT_EQ(Pixel(screen, 749, 20), 0x102030u);
    EXPECT_EQ(Pixel(screen, 750, 20), 0xff0000u);
    EXPECT_EQ(Pixel(screen, 751, 20), 0x102030u);
    EXPECT_EQ(Pixel(screen, 799, 20), 0x00ff08u);
    EXPECT_EQ(Pixel(screen, 0, 21), 0x000000u);
    EXPECT_EQ(Pixel(screen, 752, 21), 0x848284u);

    auto off = layers;
    off[0].state.enabled = 0;
    web::Compose(0xabcdef, off, 100, screen);
    EXPECT_EQ(Pixel(screen, 749, 20), 0xabcdefu);
    EXPECT_EQ(Pixel(screen, 750, 20), 0xff0000u);
}

TEST(Web_Screen, BackLightDimsTheWholePicture) {
    Plane video(800, 600, 24);
    video.Set(5, 5, 0xc86400);
    const std::array layers{video.As_Layer(false)};
    Pixels screen(web::screen_bytes, 1);
    web::Compose(0, layers, 0, screen);
    EXPECT_EQ(screen, Pixels(web::screen_bytes, 0));
    int before = 0;
    for (const int percent : {1, 30, 70, 100}) {
        web::Compose(0, layers, percent, screen);
        const int red = static_cast<int>(Pixel(screen, 5, 5) >> 16);
        EXPECT_GT(red, before) << percent;
        before = red;
    }
    EXPECT_EQ(before, 0xc8);
}

TEST(Web_Screen, AStateThatCannotBeIsLeftOut) {
    const Plane good(800, 600, 24);
    std::vector<web::Layer> layers;
    const auto with = [&](auto change) {
        layers.push_back(good.As_Layer(false));
        change(layers.back().state);
    };
    with([](auto& state) { state.height = 601; });
    with([](auto& state) { state.width = 801; });
    with([](auto& state) { state.width = state.line_length = 0xffffffff; });
    with([](auto& state) { state.width = 0x55555556, state.line_length = 2400; });  // three times it is 2 again
    with([](auto& state) { state.height = 0xffffffff; });
    with([](auto& state) { state.line_length = 2399; });
    with([](auto& state) { state.bits_per_pixel = 32; });
    with([](auto& state) { state.x = -0x7fffffff - 1; });
    with([](auto& state) { state.y = 0x7fffffff; });
    with([](auto& state) { state.x = 800; });
    Pixels screen(web::screen_bytes);
    web::Compose(0x123456, layers, 100, screen);
    for (int y = 0; y < web::screen_height; y += 13)
        for (int x = 0; x < web::screen_width; x += 7) ASSERT_EQ(Pixel(screen, x, y), 0x123456u) << x << ' ' << y;

    auto shifted = good.As_Layer(false);
    shifted.state.x = -799;
    shifted.state.y = -599;
    web::Compose(0x123456, std::span(&shifted, 1), 100, screen);
    EXPECT_EQ(Pixel(screen, 0, 0), 0u);
    EXPECT_EQ(Pixel(screen, 1, 0), 0x123456u);
    EXPECT_EQ(Pixel(screen, 0, 1), 0x123456u);
}

TEST(Web_Screen, PngHoldsEveryPixel) {
    Pixels screen(web::screen_bytes);
    std::mt19937 random(1);
    for (auto& value : screen) value = static_cast<std::uint8_t>(random());
    const auto file = web::Encode_Png(screen);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_memory(&image, file.data(), file.size()));
    ASSERT_EQ(image.width, 800u);
    ASSERT_EQ(image.height, 600u);
    image.format = PNG_FORMAT_RGB;
    Pixels read(web::screen_bytes);
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, read.data(), 0, nullptr));
    EXPECT_EQ(read, screen);
}

// ---- Changes

/// What a page does with a message. Returns the tiles that it brought.
std::set<int> Apply(std::span<const std::uint8_t> message, Pixels& shown) {
    EXPECT_GE(message.size(), web::delta_header_bytes);
    EXPECT_EQ(message[0], web::delta_kind);
    const std::size_t count = message[2] | message[3] << 8;
    Pixels body(count * (2 + web::tile_bytes));
    uLongf size = body.size();
    EXPECT_EQ(uncompress(body.data(), &size, message.data() + web::delta_header_bytes,
                         message.size() - web::delta_header_bytes),
              Z_OK);
    EXPECT_EQ(size, body.size());
    std::set<int> tiles;
    const auto* pixel = body.data() + 2 * count;
    for (std::size_t i = 0; i < count; ++i) {
        const int tile = body[2 * i] | body[2 * i + 1] << 8;
        tiles.insert(tile);
        const int left = tile % 20 * 40, top = tile / 20 * 20;
        for (int y = top; y < top + 20; ++y)
            for (int x = left; x < left + 40; ++x)
                for (int c = 0; c < 3; ++c) shown.at(3 * (y * 800 + x) + c) ^= *pixel++;
    }
    return tiles;
}

TEST(Web_Delta, LeadsFromOneScreenToTheNext) {
    web::Delta_Encoder encoder;
    Pixels shown(web::screen_bytes), before, now(web::screen_bytes, 7);
    EXPECT_EQ(Apply(encoder.Encode({}, now), shown).size(), 600u);
    EXPECT_EQ(shown, now);
    EXPECT_TRUE(encoder.Encode(shown, now).empty());

    before = now;
    now[3 * (599 * 800 + 799) + 2] = 8;
    now[3 * (20 * 800 + 39)] = 0;
    EXPECT_EQ(Apply(encoder.Encode(before, now), shown), (std::set{20, 599}));
    EXPECT_EQ(shown, now);

    std::mt19937 random(2);
    before = now;
    for (auto& value : now) value = static_cast<std::uint8_t>(random());  // does not shrink at all
    Apply(encoder.Encode(before, now), shown);
    EXPECT_EQ(shown, now);
}

// ---- Who may talk

TEST(Web_Origin, TakesItsOwnPageAndProgramsOnly) {
    const web::Own_Address local{"127.0.0.1", 8080}, everywhere{"0.0.0.0", 80};
    for (const char* host : {"127.0.0.1:8080", "localhost:8080", "LocalHost:8080"})
        EXPECT_TRUE(web::Host_Allowed(local, host)) << host;
    for (const char* host : {"127.0.0.1", "127.0.0.1:8081", "evil.example:8080", "127.0.0.1.evil.example:8080", "",
                             ":8080", "localhost:", "localhost:8080x", "localhost:99999999999999999999"})
        EXPECT_FALSE(web::Host_Allowed(local, host)) << host;
    EXPECT_TRUE(web::Host_Allowed(local, std::nullopt));
    EXPECT_TRUE(web::Host_Allowed(everywhere, "bench7.lab.example"));

    const auto origin = [&](const char* text) { return web::Origin_Allowed(local, text, "127.0.0.1:8080"); };
    EXPECT_TRUE(web::Origin_Allowed(local, std::nullopt, std::nullopt));
    EXPECT_TRUE(origin("http://127.0.0.1:8080"));
    EXPECT_TRUE(origin("http://localhost:8080"));
    for (const char* text :
         {"null", "", "http://", "http://127.0.0.1", "http://127.0.0.1:8081", "https://127.0.0.1:8080",
          "http://evil.example:8080", "http://evil.example", "http://127.0.0.1:8080.evil.example"})
        EXPECT_FALSE(origin(text)) << text;
    EXPECT_TRUE(web::Origin_Allowed(everywhere, "http://bench7.lab.example", "bench7.lab.example"));
    EXPECT_FALSE(web::Origin_Allowed(everywhere, "http://evil.example", "bench7.lab.example"));
    EXPECT_FALSE(web::Origin_Allowed(everywhere, "http://evil.example", std::nullopt));
}

// ---- What is asked for

TEST(Web_Order, ValuesAreReadAsPeopleTypeThem) {
    struct Row {
        const char* text;
        web::Unit unit;
        double value;
    };
    constexpr auto hertz = web::Unit::hertz, dbm = web::Unit::dbm;
    for (const auto& [text, unit, value] : std::initializer_list<Row>{{"433.92", hertz, 433.92e6},
                                                                      {"433.92M", hertz, 433.92e6},
                                                                      {" 2 GHz\r\n", hertz, 2e9},
                                                                      {"500KHZ", hertz, 500e3},
                                                                      {"9k", hertz, 9e3},
                                                                      {"100 Hz", hertz, 100},
                                                                      {".5g", hertz, 5e8},
                                                                      {"-0.5", hertz, -5e5},
                                                                      {"0", hertz, 0},
                                                                      {"-20", dbm, -20},
                                                                      {"\u221220.5 dBm", dbm, -20.5},
                                                                      {"+3dbm", dbm, 3}}) {
        const auto read = web::Parse_Value(unit, text);
        ASSERT_TRUE(read) << text;
        EXPECT_NEAR(*read, value, std::abs(value) * 1e-15) << text;
    }
    for (const char* text : {"", " ", "MHz", "433.92 V", "433,92", "1.2.3", "4 3", "--2", "+-2", "nan", "inf", "-inf",
                             "1e999", "1e9 GHz", "0x10", "2 GHz 3", "1\xff", "2 dBm"})
        EXPECT_FALSE(web::Parse_Value(hertz, text)) << text;
    for (const char* text : {"-20 MHz", "1001", "1e400", "-"}) EXPECT_FALSE(web::Parse_Value(dbm, text)) << text;
    EXPECT_FALSE(web::Parse_Value(hertz, std::string(web::longest_value, '1')));
    EXPECT_FALSE(web::Parse_Value(hertz, "2" + std::string(web::longest_value, ' ')));
    EXPECT_FALSE(web::Parse_Value(hertz, std::string_view("2\0MHz", 5)));
}

TEST(Web_Order, MessagesThatAreNoneSayWhy) {
    using Act = web::Order::Act;
    EXPECT_EQ(web::Parse_Message(R"({"key":38})").key, 38);
    EXPECT_EQ(web::Parse_Message(R"({"power":true})").act, Act::power);
    const auto set = web::Parse_Message(R"({"set":"span","value":"2 GHz"})");
    EXPECT_EQ(set.act, Act::set);
    EXPECT_STREQ(set.setting->name, "span");
    EXPECT_EQ(set.value, 2e9);
    for (const char* bad :
         {"", "{", "[]", "null", "{}", R"({"power":1})", R"({"power":"true"})", R"({"key":"1"})",
          R"({"key":18446744073709551615})", R"({"key":1e1})", R"({"key":null})", R"({"set":1})", R"({"set":"span"})",
          R"({"set":"span","value":2})", R"({"set":"x","value":"2"})", R"({"set":"span","value":"-20 dBm"})",
          R"({"set":"sp\u0000an","value":"2"})", "{\"set\":\"\xff\",\"value\":\"2\"}"}) {
        const auto order = web::Parse_Message(bad);
        EXPECT_EQ(order.act, Act::none) << bad;
        EXPECT_EQ(order.status, 400) << bad;
        EXPECT_STRNE(order.fault, "") << bad;
    }
    EXPECT_EQ(web::Parse_Message(std::string(1024, '[')).act, Act::none);
    EXPECT_EQ(web::Parse_Post("/power/", "").status, 404);
    EXPECT_EQ(web::Parse_Post("/set/center/", "1").status, 400);
    EXPECT_EQ(web::Parse_Post("/set/", "1").status, 400);
    EXPECT_EQ(web::Parse_Post("/set/reference", "-20").value, -20);
}

// ---- Frames of a viewer

using Event = web::Frame_Reader::Event;

std::string Frame(int first, std::string_view payload, bool masked = true) {
    std::string frame{char(first)};
    const char mask = char(masked ? 0x80 : 0);
    if (payload.size() < 126)
        frame += char(mask | payload.size());
    else
        frame += {char(mask | 126), char(payload.size() >> 8), char(payload.size())};
    if (!masked) return frame.append(payload);
    frame += "\x12\x34\x56\x78";
    for (std::size_t i = 0; i < payload.size(); ++i) frame += char(payload[i] ^ "\x12\x34\x56\x78"[i % 4]);
    return frame;
}

std::span<const std::uint8_t> Bytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(Web_Frames, AreReadInAnyPieces) {
    const std::string longest(web::Frame_Reader::longest_message, 'x');
    const auto stream = Frame(0x81, "hello") + Frame(0x8a, "") + Frame(0x81, longest) + Frame(0x89, "p") +
                        Frame(0x81, std::string(126, 'y')) + Frame(0x88, "\x03\xe8");
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, stream.size()}) {
        web::Frame_Reader reader;
        std::vector<Event> events;
        std::vector<std::string> payloads;
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            auto input = Bytes(stream).subspan(at, std::min(piece, stream.size() - at));
            for (Event event; (event = reader.Take(input)) != Event::none;) {
                events.push_back(event);
                payloads.emplace_back(reader.Payload());
            }
        }
        EXPECT_EQ(events, (std::vector{Event::text, Event::pong, Event::text, Event::ping, Event::text, Event::close}));
        EXPECT_EQ(payloads, (std::vector<std::string>{"hello", "", longest, "p", std::string(126, 'y'), "\x03\xe8"}));
    }
}

TEST(Web_Frames, ViolationsAreFoundInTheHead) {
    struct Row {
        std::string head;
        int status;
    };
    const std::string mask(4, '\0');
    for (const auto& [head, status] :
         std::initializer_list<Row>{{Frame(0x81, "", false), 1002},      // not masked
                                    {Frame(0x01, ""), 1002},             // a fragment
                                    {Frame(0x80, ""), 1002},             // the rest of none
                                    {Frame(0xc1, ""), 1002},             // reserved bit
                                    {Frame(0x83, ""), 1002},             // reserved opcode
                                    {Frame(0x82, ""), 1003},             // binary
                                    {std::string("\x89\xfe", 2), 1002},  // a ping of more than 125 bytes
                                    {std::string("\x81\xff", 2), 1009},  // a length of eight bytes
                                    {std::string("\x81\xfe\x04\x01", 4) + mask, 1009},
                                    {std::string("\x81\xfe\x00\x7d", 4) + mask, 1002}}) {
        web::Frame_Reader reader;
        auto input = Bytes(head);
        EXPECT_EQ(reader.Take(input), Event::violation) << testing::PrintToString(head);
        EXPECT_EQ(reader.Close_Status(), status) << testing::PrintToString(head);
        const auto good = Frame(0x81, "x");
        input = Bytes(good);
        EXPECT_EQ(reader.Take(input), Event::violation);
    }
}

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
            remote::Serve_Local_Socket({
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
        EXPECT_EQ(link.Press_Key(123), web::Key_Answer::taken);
        EXPECT_EQ(last_key, 123);
        EXPECT_EQ(link.Press_Power(), web::Key_Answer::taken);
        EXPECT_EQ(powers, 1);
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
    EXPECT_EQ(link.Press_Key(1), web::Key_Answer::unreachable);
    EXPECT_EQ(keys, 1);
    EXPECT_EQ(link.Press_Key(2), web::Key_Answer::unreachable);
    EXPECT_EQ(keys, 2);
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

// ---- The server, over its wires

class Client {
public:
    explicit Client(int port) {
        socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_port = htons(static_cast<std::uint16_t>(port));
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { close(socket_); }

    void Write(std::string_view text) {
        EXPECT_EQ(send(socket_, text.data(), text.size(), MSG_NOSIGNAL), ssize_t(text.size()));
    }

    /// Up to count bytes; fewer at the end of the stream.
    std::string Read(std::size_t count) {
        std::string text;
        std::array<char, 16384> piece;
        while (text.size() < count) {
            pollfd readable{socket_, POLLIN, 0};
            if (poll(&readable, 1, std::chrono::milliseconds(patience).count()) <= 0) break;
            const auto got = recv(socket_, piece.data(), std::min(piece.size(), count - text.size()), 0);
            if (got <= 0) break;
            text.append(piece.data(), got);
        }
        return text;
    }
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

private:
    int socket_;
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

    EXPECT_EQ(Status(Ask(port, "POST /key/38", "Host: " + own + "\r\nOrigin: http://" + own + "\r\n")), 204);
    EXPECT_EQ(last_key, 38);
    EXPECT_EQ(Status(Ask(port, "POST /key/0", "Content-Length: 3000\r\n", std::string(3000, 'x'))), 204);
    EXPECT_EQ(last_key, 0);
    EXPECT_EQ(Status(Ask(port, "POST /power")), 204);
    EXPECT_EQ(powers, 1);
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
    for (int picture = 0; picture < 15; ++picture) {
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
