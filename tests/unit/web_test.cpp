#include <gtest/gtest.h>

#include <png.h>

#include <cstring>
#include <random>

#include "web_rig.h"
#include "web/delta.h"
#include "web/frame_reader.h"
#include "web/order.h"
#include "web/origin.h"
#include "web/png_image.h"
#include "web/screen.h"
#include "web/setting.h"

namespace {

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
    Expect({{Pixel(screen, 749, 20), 0x102030u}, {Pixel(screen, 750, 20), 0xff0000u},
            {Pixel(screen, 751, 20), 0x102030u}, {Pixel(screen, 799, 20), 0x00ff08u}, {Pixel(screen, 0, 21), 0x000000u},
            {Pixel(screen, 752, 21), 0x848284u}});

    auto off = layers;
    off[0].state.enabled = 0;
    web::Compose(0xabcdef, off, 100, screen);
    EXPECT_EQ(Pixel(screen, 749, 20), 0xabcdefu);
    EXPECT_EQ(Pixel(screen, 750, 20), 0xff0000u);
}

TEST(Web_Screen, WindowsLookAsTheirControlsSay) {
    Plane video(800, 600, 24), osd(4, 4, 16);
    for (std::uint32_t x = 0; x < 800; ++x) video.Set(x, 0, 0x70e000);
    osd.Set(0, 0, 0xffff);
    osd.Set(2, 0, 0xf800);
    Pixels screen(web::screen_bytes);
    const auto compose = [&] {
        const std::array layers{video.As_Layer(false), osd.As_Layer(true)};
        web::Compose(0, layers, 100, screen);
    };
    const auto at = [&](int x) { return Pixel(screen, x, 0); };
    osd.state.blend_factor = 3;
    compose();
    EXPECT_EQ(at(0), 0xaded6du) << "three sevenths of the text, four of what lies below";
    EXPECT_EQ(at(1), 0x70e000u) << "clear at any factor";
    osd.state.attribute_enabled = 1;  // the plane's attribute goes before the window's factor
    compose();
    EXPECT_EQ(at(0), 0x70e000u);
    osd.state.attribute_fill = 15;
    osd.state.attenuation = 1;
    compose();
    EXPECT_EQ(at(0), 0xebebebu);
    EXPECT_EQ(at(2), 0xeb1010u);

    osd.state = {.width = 4, .height = 4, .bits_per_pixel = 16, .line_length = 8, .enabled = 1, .x = -3};
    osd.state.zoom_x = 3;
    osd.state.zoom_y = 0xffffffff;
    video.state.component_order = 1;
    compose();
    EXPECT_EQ(at(0), 0x00e070u) << "the first pixel's three columns are left of the screen";
    for (const int x : {3, 4, 5}) EXPECT_EQ(at(x), 0xff0000u);
    EXPECT_EQ(at(6), 0x00e070u);
    EXPECT_EQ(Pixel(screen, 3, 599), 0xff0000u);
    osd.state.zoom_x = 0;
    compose();
    EXPECT_EQ(at(3), 0x00e070u) << "no picture without a size";
}

TEST(Web_Screen, ZeroPixelsShowWhatLiesBelowWhereverTheyStand) {
    Plane osd(11, 1, 16);
    Pixels screen(web::screen_bytes);
    for (int first = 0; first < 11; ++first) {
        for (int last = first; last < 11; ++last) {
            for (int x = 0; x < 11; ++x) osd.Set(x, 0, x == first || x == last ? 0xffff : 0);
            web::Compose(0x123456, std::array{osd.As_Layer(true)}, 100, screen);
            for (int x = 0; x < 12; ++x)
                ASSERT_EQ(Pixel(screen, x, 0), x == first || x == last ? 0xffffffu : 0x123456u) << first << ' ' << last;
        }
    }
    EXPECT_EQ(Pixel(screen, 799, 599), 0x123456u);
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
    Expect({{Pixel(screen, 0, 0), 0u}, {Pixel(screen, 1, 0), 0x123456u}, {Pixel(screen, 0, 1), 0x123456u}});
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
                                                                      {"500KHZ", hertz, 500e3}, {"9k", hertz, 9e3},
                                                                      {"100 Hz", hertz, 100}, {".5g", hertz, 5e8},
                                                                      {"-0.5", hertz, -5e5}, {"0", hertz, 0},
                                                                      {"-20", dbm, -20}, {"\u221220.5 dBm", dbm, -20.5},
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
    Expect({{web::Parse_Message(std::string(1024, '[')).act, Act::none}, {web::Parse_Post("/power/", "").status, 404},
            {web::Parse_Post("/set/center/", "1").status, 400}, {web::Parse_Post("/set/", "1").status, 400},
            {web::Parse_Post("/set/reference", "-20").value, -20}});
}

// ---- Frames of a viewer

using Event = web::Frame_Reader::Event;

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

}  // namespace
