#include <climits>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

#include "display/draw.h"
#include "display/pictures.h"
#include "display/text.h"
#include "platform/frame_buffer.h"
#include "records_fixture.h"
#include "virtual_board/devices.h"

namespace {

using display::Colour;

/// The real layers on the virtual board's frame buffers.
class Layers : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        std::filesystem::create_directories(platform::Rooted("/dev/fb"));
        virtual_board::Make_Frame_Devices();
        fb_init(fbOsd0, "/dev/fb/0", 800, 600, 16);
        fb_init(fbVid0, "/dev/fb/1", 800, 600, 24);
        ASSERT_NE(fbOsd0.memory, nullptr);
        ASSERT_NE(fbVid0.memory, nullptr);
    }
    void TearDown() override {
        fb_free(fbOsd0);
        fb_free(fbVid0);
        virtual_board::Remove_Frame_Devices();
        Records::TearDown();
    }
    static Colour Video(int x, int y) {
        const std::byte* p = fbVid0.memory + y * fbVid0.line + x * 3;
        return {std::uint8_t(p[0]), std::uint8_t(p[1]), std::uint8_t(p[2])};
    }
    static std::uint16_t Osd(int x, int y) {
        std::uint16_t pixel = 0;
        std::memcpy(&pixel, fbOsd0.memory + y * fbOsd0.line + x * 2, 2);
        return pixel;
    }
};

TEST_F(Layers, PixelsAreHeldToTheScreen) {
    EXPECT_EQ(RGB888toRGB565(255, 255, 255), 0xffff);
    EXPECT_EQ(RGB888toRGB565(255, 0, 0), 0xf800);
    fb_pixel(fbOsd0.memory, 800, 600, -5, 700, 0xff0000, 16);
    EXPECT_EQ(Osd(0, 599), 0xf800);
    fb_pixel(fbVid0.memory, 800, 600, 799, 599, 0x010203, 24);
    EXPECT_EQ(Video(799, 599), (Colour{1, 2, 3}));
    root.Write("/var/log/error.log", "");
    EXPECT_EQ(fb_pixel(fbVid0.memory, 800, 600, 0, 0, 0xffffff, 32), -1);
    EXPECT_EQ(root.Read("/var/log/error.log"), "\nfb_pixel return -1: error");
    std::array<std::byte, 4 * 4 * 2> small{};
    EXPECT_EQ(fb_pixel(small.data(), 4, 4, 4, 4, 0xffffff, 16), 0) << "a pixel behind the last is no pixel";
    EXPECT_EQ(fb_pixel(small.data(), 4, 4, 9, 0, 0xffffff, 16), 0);
    EXPECT_EQ(fb_pixel(small.data(), 4, 4, 9, 0, 0xffffff, 32), 0) << "beyond the width, no depth matters";
    EXPECT_TRUE(std::all_of(small.begin(), small.end(), [](std::byte b) { return b == std::byte{0}; }));
    EXPECT_EQ(fb_pixel(small.data(), 4, 4, 4, 1, 0xffffff, 16), 0);
    EXPECT_EQ(small[16], std::byte{0xff}) << "a pixel at the width is the next row's first";
}

TEST_F(Layers, AreasAreCutAtTheEdges) {
    display::Fill(fbVid0, {790, 590, 1 << 30, 1 << 30}, {9, 8, 7});
    display::Fill(fbVid0, {-1000, -1000, 1001, 1001}, {9, 8, 7});
    Expect({{Video(799, 599), (Colour{9, 8, 7})}, {Video(0, 0), (Colour{9, 8, 7})}, {Video(1, 0), Colour{}},
            {Video(789, 599), Colour{}}});
    display::Keep(fbVid0, {0, 0, 800, 600});
    display::Fill(fbVid0, {0, 0, 800, 600}, {1, 1, 1});
    display::Restore(fbVid0, {-5, -5, 6, 6});
    EXPECT_EQ(Video(0, 0), (Colour{9, 8, 7}));
    EXPECT_EQ(Video(1, 1), (Colour{1, 1, 1}));
    display::Fill({}, {0, 0, 5, 5}, {1, 1, 1});
}

TEST_F(Layers, MasksBlendExactlyAtTheirEnds) {
    const std::array<std::uint8_t, 3> mask{0, 255, 128};
    const Colour fg{200, 10, 0}, bg{100, 250, 0};
    draw_bitmap(mask, fg, bg, 5, 5, 3, 1, fbVid0, 800);
    Expect({{Video(5, 5), bg}, {Video(6, 5), fg}, {Video(7, 5), (Colour{150, 130, 0})}});
    display::Fill(fbOsd0, {0, 0, 20, 20}, {255, 255, 255});
    draw_bitmap(mask, fg, bg, 5, 5, 3, 1, fbOsd0, 6);
    EXPECT_EQ(Osd(5, 5), 0) << "zeros leave the text layer clear";
    EXPECT_EQ(Osd(6, 5), RGB888toRGB565(200, 10, 0));
    EXPECT_EQ(Osd(7, 5), 0xffff) << "beyond the column limit";
    draw_bitmap(mask, fg, bg, 798, 599, 3, 1, fbVid0, 10'000);
    draw_bitmap(mask, fg, bg, -2, -1, 3, 1, fbVid0, 10'000);
}

TEST_F(Layers, AReplacedLayerKeepsItsOldMapping) {
    std::byte* old = fbOsd0.memory;
    fb_init(fbOsd0, "/dev/fb/0", 800, 600, 16);
    old[0] = std::byte{0x12};
    EXPECT_EQ(fbOsd0.memory[0], std::byte{0x12});
}

TEST_F(Layers, ALayerOpenedAtAnotherResolutionTakesItsLines) {
    fb_init(fbOsd0, "/dev/fb/0", 400, 300, 24);
    ASSERT_NE(fbOsd0.memory, nullptr);
    EXPECT_EQ(fbOsd0.line, 1200u);
    EXPECT_EQ(fbOsd0.size, 1200u * 300);
    testing::internal::CaptureStderr();
    fb_init(fbOsd0, "/dev/fb/0", 800, 600, 32);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("FBIOPUT_VSCREENINFO: "));
    EXPECT_EQ(fbOsd0.memory, nullptr);
    EXPECT_GE(fbOsd0.device, 0) << "what is known stays";
}

TEST_F(Layers, ALayerThatIsNotThereIsLeftAlone) {
    Frame_Descriptor missing;
    testing::internal::CaptureStderr();
    fb_init(missing, "/dev/fb/9", 800, 600, 16);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("open window error"));
    EXPECT_EQ(missing.memory, nullptr);
    display::Fill(missing, {0, 0, 10, 10}, {1, 1, 1});
    fb_free(missing);
}

TEST_F(Layers, ControlsReachTheDisplay) {
    window_display(fbVid0);
    fb_win_position(fbVid0, 3, 4);
    fb_blend_set(fbOsd0, 5);
    platform::Frame_State state;
    const int view = platform::Frame_Open_View("/dev/fb/1");
    ASSERT_EQ(platform::Frame_Get_State(view, state), 0);
    Expect({{state.enabled, 1u}, {state.x, 3}, {state.y, 4}});
    fb_backcolor_set(fbOsd0, 0x123456);
    ASSERT_EQ(platform::Frame_Get_State(view, state), 0);
    EXPECT_EQ(state.background, 0x123456u) << "the ground is one for all layers";
    platform::Frame_Close(view);
    fb_init(fbVid0, "/dev/fb/1", 800, 600, 24);
    platform::Frame_Get_State(fbVid0.device, state);
    EXPECT_EQ(state.enabled, 0u) << "a layer that is opened is dark until it is shown";
}

/// A control and the request that it makes.
struct Layer_Control {
    const char* request;
    void (*call)(const Frame_Descriptor&);
};

TEST_F(Layers, AFailingControlReportsItsRequestAndChangesNothing) {
    constexpr std::array controls = std::to_array<Layer_Control>({
        {"FBIO_ENABLE_DISABLE_WIN", [](const Frame_Descriptor& f) { fb_endisable_win(f, true); }},
        {"FBIO_ENABLE_DISABLE_WIN", window_display},
        {"FBIO_ENABLE_DISABLE_ATTRIBUTE_WIN", [](const Frame_Descriptor& f) { fb_endisable_att(f, true); }},
        {"FBIO_SET_BITMAP_BLEND_FACTOR", [](const Frame_Descriptor& f) { fb_blend_set(f, 3); }},
        {"FBIO_SETATTRIBUTE", [](const Frame_Descriptor& f) { fb_blend_setattr(f, 2); }},
        {"FBIO_FILL_ATTRIBUTE", [](const Frame_Descriptor& f) { fb_fillup_attribute(f, 7); }},
        {"FBIO_SET_BACKG_COLOR", [](const Frame_Descriptor& f) { fb_backcolor_set(f, 0x112233); }},
        {"FBIO_GET_VIDEO_CONFIG_PARAMS", [](const Frame_Descriptor& f) { fb_video_set(f, 1); }},
        {"FBIO_GET_BITMAP_CONFIG_PARAMS", [](const Frame_Descriptor& f) { fb_bimp_set(f, 1); }},
        {"FBIO_SET_BLINK", [](const Frame_Descriptor& f) { fb_getset_blink(f, 5); }},
        {"FBIO_SET_CURSOR", [](const Frame_Descriptor& f) { fb_set_cursor(f, 6); }},
        {"FBIO_SET_POSITION", [](const Frame_Descriptor& f) { fb_win_position(f, 8, 9); }},
        {"FBIO_SET_ZOOM", [](const Frame_Descriptor& f) { fb_win_zoom(f, 2, 3); }},
    });
    const auto said = [](auto call) {
        testing::internal::CaptureStderr();
        call();
        return testing::internal::GetCapturedStderr();
    };
    Frame_Descriptor gone = fbOsd0;
    gone.device = -1;
    for (const auto& control : controls) {
        const std::string text = said([&] { control.call(gone); });
        EXPECT_TRUE(text.starts_with(std::string(control.request) + ": ")) << text;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    }
    for (const auto& control : controls) EXPECT_EQ(said([&] { control.call(fbOsd0); }), "") << control.request;
    platform::Frame_State set;
    ASSERT_EQ(platform::Frame_Get_State(fbOsd0.device, set), 0);
    EXPECT_EQ(set.enabled & set.attribute_enabled & set.component_order & set.attenuation, 1u);
    EXPECT_EQ((std::array{set.blend_factor, set.attribute, set.attribute_fill, set.background, set.blink, set.cursor,
                          set.zoom_x, set.zoom_y}),
              (std::array<std::uint32_t, 8>{3, 2, 7, 0x112233, 5, 6, 2, 3}));
    EXPECT_EQ(set.x + set.y, 17);

    // What the driver refuses leaves what was set before.
    EXPECT_TRUE(said([] { fb_blend_set(fbOsd0, 8); }).starts_with("FBIO_SET_BITMAP_BLEND_FACTOR: "));
    EXPECT_TRUE(said([] { fb_win_zoom(fbOsd0, 4, 0); }).starts_with("FBIO_SET_ZOOM: "));
    EXPECT_TRUE(said([] { fb_video_set(fbOsd0, 2); }).starts_with("FBIO_SET_VIDEO_CONFIG_PARAMS: "));
    EXPECT_TRUE(said([] { fb_bimp_set(fbOsd0, 2); }).starts_with("FBIO_SET_BITMAP_CONFIG_PARAMS: "));
    EXPECT_TRUE(said([] { fb_fillup_attribute(fbOsd0, 16); }).starts_with("FBIO_FILL_ATTRIBUTE: "));
    platform::Frame_State after;
    ASSERT_EQ(platform::Frame_Get_State(fbOsd0.device, after), 0);
    EXPECT_EQ(std::memcmp(&set, &after, sizeof set), 0);
}

TEST_F(Layers, FreeingALayerGivesItsReplacedMappingsBackToo) {
    const auto mappings = [] {
        std::ifstream maps("/proc/self/maps");
        const std::string device = platform::Rooted("/dev/fb/0");
        int count = 0;
        for (std::string line; std::getline(maps, line);)
            count += line.ends_with(device) || line.find(device + " ") != line.npos;
        return count;
    };
    fb_init(fbOsd0, "/dev/fb/0", 800, 600, 16);
    fb_init(fbOsd0, "/dev/fb/0", 800, 600, 16);
    EXPECT_EQ(mappings(), 3);
    fb_free(fbOsd0);
    EXPECT_EQ(mappings(), 0);
    EXPECT_EQ(fbOsd0.memory, nullptr);
    fb_free(fbOsd0);
}

/// Layers on the heap, with guard bytes on both sides of their memory and at the end of each line.
class Guarded_Layer {
public:
    static constexpr std::uint32_t width = 40, height = 30;
    explicit Guarded_Layer(std::uint32_t bits) {
        line_ = width * bits / 8 + guard;
        bytes_.assign(guard + line_ * height, mark);
        for (std::uint32_t y = 0; y < height; ++y)
            std::fill_n(bytes_.begin() + guard + y * line_, line_ - guard, std::byte{});
        back_ = bytes_;
        layer = {.memory = bytes_.data() + guard,
                 .back = back_.data() + guard,
                 .width = width,
                 .height = height,
                 .bits = bits,
                 .line = line_,
                 .size = line_ * height};
    }
    bool Whole() const {
        for (const auto* bytes : {&bytes_, &back_}) {
            for (std::uint32_t y = 0; y <= height; ++y) {
                const auto first = bytes->begin() + y * line_;
                if (!std::all_of(first, first + guard, [](std::byte b) { return b == mark; })) return false;
            }
        }
        return true;
    }
    Frame_Descriptor layer;

private:
    static constexpr std::uint32_t guard = 64;
    static constexpr std::byte mark{0xa5};
    std::uint32_t line_ = 0;
    std::vector<std::byte> bytes_, back_;
};

TEST(Drawing, NothingIsWrittenOutsideALayer) {
    constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
    constexpr std::array places{lowest, lowest + 1, -45, -1, 0, 1, 29, 39, 40, highest - 1, highest};
    constexpr int side = 41;
    const std::vector<std::uint8_t> mask(side * side, 200), picture(side * side * 3, 77);
    const Colour fg{200, 100, 50}, bg{1, 2, 3};
    for (const std::uint32_t bits : {16u, 24u}) {
        Guarded_Layer guarded(bits);
        const Frame_Descriptor& layer = guarded.layer;
        for (const int x : places) {
            for (const int y : places) {
                for (const int extent : places) {
                    const display::Rect area{x, y, extent, extent};
                    display::Fill(layer, area, fg);
                    display::Frame(layer, area, fg);
                    display::Keep(layer, area);
                    display::Clear(layer, area);
                    display::Restore(layer, area);
                    draw_bitmap(mask, fg, bg, x, y, side, extent, layer, extent);
                    draw_bitmap(mask, fg, bg, x, y, extent, side, layer, highest);
                    draw_bitmap_over(mask, fg, x, y, extent, extent, layer);
                }
                display::Copy_Picture(layer, picture.data(), x, y, side, side);
                display::Draw_Field(layer, {x, y, highest, highest}, y, "text", {.colour = fg, .ground = bg},
                                    display::Align::right);
                display::Draw_Text_Over(layer, {x, y, x, y}, x, "text", {.colour = fg, .ground = bg},
                                        display::Align::centre);
            }
        }
        EXPECT_TRUE(guarded.Whole()) << bits;
    }
}

TEST(Drawing, AFrameHasAllItsEdgesAndNoOther) {
    Guarded_Layer guarded(24);
    display::Frame(guarded.layer, {2, 3, 5, 4}, {255, 255, 255});
    display::Frame(guarded.layer, {20, 20, 0, 4}, {255, 255, 255});
    int set = 0;
    for (std::uint32_t y = 0; y < guarded.height; ++y)
        for (std::uint32_t x = 0; x < guarded.width; ++x)
            set += guarded.layer.memory[y * guarded.layer.line + x * 3] != std::byte{};
    EXPECT_EQ(set, 2 * 5 + 2 * 2);
}

TEST_F(Layers, ColoursTurnIntoYCbCr) {
    std::array<std::uint32_t, 4> plane{};
    RGB_YCbCr(plane.data(), 2, 2, 1, 1, {255, 0, 0});
    EXPECT_EQ(plane[3], 84u | 76u << 8 | 255u << 16);
    RGB_YCbCr(plane.data(), 2, 2, 2, 0, {255, 0, 0});
    RGB_YCbCr(plane.data(), 2, 2, -1, 0, {255, 0, 0});
    EXPECT_EQ(plane[0] | plane[1] | plane[2], 0u);
}

/// A baseline JPEG of one colour.
std::string Jpeg(int width, int height) {
    jpeg_compress_struct info;
    jpeg_error_mgr error;
    info.err = jpeg_std_error(&error);
    jpeg_create_compress(&info);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &bytes, &size);
    info.image_width = static_cast<unsigned>(width);
    info.image_height = static_cast<unsigned>(height);
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_start_compress(&info, TRUE);
    std::vector<unsigned char> row(static_cast<std::size_t>(width) * 3, 200);
    JSAMPROW rows = row.data();
    while (info.next_scanline < info.image_height) jpeg_write_scanlines(&info, &rows, 1);
    jpeg_finish_compress(&info);
    const std::string picture(reinterpret_cast<char*>(bytes), size);
    jpeg_destroy_compress(&info);
    std::free(bytes);
    return picture;
}

TEST_F(Layers, ADamagedCopyGivesWayToTheInstrumentsOwnPicture) {
    const std::string own = Jpeg(40, 30), replaced = Jpeg(20, 30);
    root.Write("/mnt/nand/picture/Logo.jpg", own);
    root.Write("/mnt/mtd14/Logo.jpg", replaced);
    Show_Picture(picture_logo, 40, 30, 0, 0, target_video0);
    EXPECT_EQ(Video(19, 5), (Colour{200, 200, 200}));
    EXPECT_EQ(Video(20, 5), Colour{});
    root.Write("/mnt/mtd14/Logo.jpg", replaced.substr(0, replaced.size() / 2));
    testing::internal::CaptureStderr();
    Show_Picture(picture_logo, 40, 30, 0, 0, target_video0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "picture /mnt/mtd14/Logo.jpg is damaged\n");
    EXPECT_EQ(Video(39, 29), (Colour{200, 200, 200}));
}

TEST_F(Layers, DamagedPicturesNeverDoHarm) {
    const std::string good = Jpeg(40, 30);
    root.Write("/mnt/nand/picture/key_off.jpg", good);
    Show_Picture_File("key_off.jpg", 20, 60, 790, 590, fbVid0);
    EXPECT_EQ(Video(799, 599), (Colour{200, 200, 200}));
    EXPECT_EQ(Video(789, 599), Colour{});
    display::Fill(fbVid0, {0, 0, 100, 100}, {1, 2, 3});
    Show_Picture_File("key_off.jpg", 60, 60, 0, 0, fbVid0);
    EXPECT_EQ(Video(39, 29), (Colour{200, 200, 200}));
    EXPECT_EQ(Video(40, 29), (Colour{1, 2, 3})) << "a picture smaller than its place draws what it has";
    EXPECT_EQ(Video(39, 30), (Colour{1, 2, 3}));
    for (const int place : {INT_MIN, -39, 799, INT_MAX}) Show_Picture_File("key_off.jpg", 40, 30, place, place, fbVid0);

    testing::internal::CaptureStderr();
    display::Fill(fbVid0, {0, 0, 100, 100}, {1, 2, 3});
    Show_Picture_File("key_off.jpg", INT_MAX, INT_MAX, 0, 0, fbVid0);
    Show_Picture_File("key_off.jpg", 40, -1, 0, 0, fbVid0);
    for (std::size_t cut = 0; cut + 1 < good.size(); cut += 7) {
        root.Write("/mnt/nand/picture/key_off.jpg", good.substr(0, cut));
        Show_Picture_File("key_off.jpg", 40, 30, 0, 0, fbVid0);
        EXPECT_EQ(Video(5, 5), (Colour{1, 2, 3})) << "a file of " << cut << " bytes was drawn";
        std::string flipped = good;
        flipped[cut] = static_cast<char>(~flipped[cut]);
        root.Write("/mnt/nand/picture/key_off.jpg", flipped);
        Show_Picture_File("key_off.jpg", 40, 30, 0, 50, fbVid0);
    }
    root.Write("/mnt/nand/picture/key_off.jpg", Jpeg(2049, 8));
    Show_Picture_File("key_off.jpg", 40, 30, 0, 0, fbVid0);
    EXPECT_EQ(Video(5, 5), (Colour{1, 2, 3})) << "beyond the longest side";
    Show_Picture_File("none.jpg", 40, 30, 0, 0, fbVid0);
    Show_Picture(99, 40, 30, 0, 0, target_video0);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("none.jpg cannot be opened"), std::string::npos);
    EXPECT_NE(said.find("there is no picture 99"), std::string::npos);
}

}  // namespace
