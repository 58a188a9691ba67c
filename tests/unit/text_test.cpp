// Glyphs in masks: the three faces, hostile places and sizes, damaged fonts.

#include <random>

#include "display/text.h"
#include "records_fixture.h"

namespace {

constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();

struct Font_File {
    Font_Face face;
    const char* font;
    const char* name;
};
constexpr std::array<Font_File, 3> font_files{{
    {face_seven_segment, "/usr/share/fonts/truetype/dseg/DSEG7Classic-Bold.ttf", "NI7SEG.TTF"},
    {face_bold, "/usr/share/fonts/truetype/liberation/LiberationSans-Bold.ttf", "arialbd.ttf"},
    {face_regular, "/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc", "ARIALUNI.TTF"},
}};

std::span<const std::uint32_t> Codes(std::u32string_view text) {
    return {reinterpret_cast<const std::uint32_t*>(text.data()), text.size()};
}

class Text : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        const std::filesystem::path fonts = platform::Rooted("/mnt/nand/fonts");
        std::filesystem::create_directories(fonts);
        for (const Font_File& file : font_files) std::filesystem::create_symlink(file.font, fonts / file.name);
        ASSERT_EQ(FT_Init_FreeType(&library), 0);
    }
    void TearDown() override {
        FT_Done_FreeType(library);
        Records::TearDown();
    }
    FT_Face Load(int number) {
        FT_Face face = nullptr;
        EXPECT_EQ(load_font_face(number, library, face), 0);
        return face;
    }
    FT_Library library = nullptr;
};

/// A mask between two rows of guard bytes.
struct Guarded {
    static constexpr int width = 120, height = 40;
    static constexpr std::size_t guard = 1000;
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(2 * guard + width * height, 0xee);
    std::span<std::uint8_t> mask{bytes.data() + guard, static_cast<std::size_t>(width) * height};
    Guarded() { std::ranges::fill(mask, 0); }
    bool Whole() const {
        const auto untouched = [](std::uint8_t byte) { return byte == 0xee; };
        return std::all_of(bytes.begin(), bytes.begin() + guard, untouched) &&
               std::all_of(bytes.end() - guard, bytes.end(), untouched);
    }
    bool Blank() const {
        return std::ranges::all_of(mask, [](std::uint8_t byte) { return byte == 0; });
    }
    bool Column_Blank(int x) const {
        for (int y = 0; y < height; ++y)
            if (mask[static_cast<std::size_t>(y * width + x)] != 0) return false;
        return true;
    }
};

TEST_F(Text, GlyphBoxesStandAtEqualGapsInEveryFace) {
    constexpr int spacing = 4, size = 24;
    for (const Font_File& file : font_files) {
        const FT_Face face = Load(file.face);
        Guarded drawn;
        int width = 0;
        wchar_box(Codes(U"1071"), 0, 32, size, drawn.mask, Guarded::width, &width, face, spacing);
        std::vector<int> gaps;  // columns without ink between two glyphs
        int blank = 0;
        for (int x = 0; x < width - spacing; ++x) {
            if (drawn.Column_Blank(x)) {
                ++blank;
            } else if (std::exchange(blank, 0) > 0) {
                gaps.push_back(spacing);
            }
        }
        EXPECT_EQ(gaps.size(), 3u) << file.name << ": four glyphs, apart from each other";
        EXPECT_FALSE(drawn.Column_Blank(0)) << file.name << ": a glyph's box starts at the pen";
        EXPECT_TRUE(drawn.Column_Blank(width - 1)) << file.name;
        int one = 0, seven = 0, measured = 0;
        wchar_box(Codes(U"1"), 0, 0, size, {}, 0, &one, face, spacing);
        wchar_box(Codes(U"07"), 0, 0, size, {}, 0, &seven, face, spacing);
        wchar_box(Codes(U"1071"), 0, 0, size, {}, 0, &measured, face, spacing);
        EXPECT_EQ(measured, 2 * one + seven) << file.name;
        EXPECT_EQ(measured, width) << file.name << ": measuring and drawing agree";
        ASSERT_EQ(FT_Load_Char(face, '1', FT_LOAD_DEFAULT), 0);
        EXPECT_EQ(one, face->glyph->metrics.width / 64 + spacing) << file.name << ": the box, not the font's advance";
    }
    int none = 0, blank = 0;
    const FT_Face segments = Load(face_seven_segment);
    wchar_box(Codes(U"88"), 0, 0, size, {}, 0, &none, segments, 0);
    wchar_box(Codes(U"8 8"), 0, 0, size, {}, 0, &blank, segments, 0);
    EXPECT_GT(blank, none) << "a blank has no box and still takes room";
}

TEST_F(Text, NoPlaceSizeOrSpacingLeavesTheMask) {
    const FT_Face face = Load(face_bold);
    constexpr std::array places{lowest, lowest + 1, -32768, -20, 0, 38, 110, 32767, 32768, 65536, highest - 1, highest};
    Guarded drawn;
    for (const int x : places) {
        for (const int y : places) wchar_box(Codes(U"Wg"), x, y, 30, drawn.mask, Guarded::width, nullptr, face, 1);
    }
    for (const int bad : {lowest, -1, 0, 601, highest}) {
        int width = 7;
        wchar_box(Codes(U"W"), 0, 20, bad, drawn.mask, Guarded::width, &width, face, 1);
        EXPECT_EQ(width, 0) << "a size of " << bad;
        wchar_box(Codes(U"WWW"), 5, 20, 30, drawn.mask, Guarded::width, nullptr, face, bad);
        if (bad <= 0) wchar_box(Codes(U"W"), 0, 20, 30, drawn.mask, bad, nullptr, face, 1);
    }
    for (const int x : places) wchar_box(Codes(U"W"), x, 20, 30, drawn.mask, highest, nullptr, face, 1);
    EXPECT_TRUE(drawn.Whole());
    Guarded cut;
    wchar_box(Codes(U"W"), -6, 20, 30, cut.mask, Guarded::width, nullptr, face, 1);
    EXPECT_FALSE(cut.Blank()) << "what of a glyph is on the mask is drawn";
    constexpr std::array<std::uint32_t, 4> no_characters{0, 0xd800, 0x110000, 0xffffffff};
    wchar_box(no_characters, 0, 20, 30, cut.mask, Guarded::width, nullptr, face, 1);
    EXPECT_TRUE(cut.Whole());
}

/// A layer in memory, and what of it is drawn on outside an area.
struct Canvas {
    static constexpr int width = 200, height = 60;
    std::vector<std::byte> memory = std::vector<std::byte>(width * height * 2);
    Frame_Descriptor layer{memory.data(), nullptr, -1, width, height, 16, width * 2, width * height * 2};
    int Ink(display::Rect area, bool inside) const {
        int ink = 0;
        for (int i = 0; i < width * height; ++i) {
            const int x = i % width - area.x, y = i / width - area.y;
            const bool in = x >= 0 && x < area.width && y >= 0 && y < area.height;
            const auto at = static_cast<std::size_t>(i) * 2;
            ink += in == inside && (memory[at] != std::byte{0} || memory[at + 1] != std::byte{0});
        }
        return ink;
    }
};

TEST_F(Text, ALineStaysInItsAreaAndIsSetInAFaceThatHasIt) {
    pFTFaceARIABOLD = Load(face_bold);
    pFTFaceARIA = Load(face_regular);
    constexpr display::Rect area{40, 20, 90, 20};
    const display::Text_Style style{face_bold, 14, {255, 255, 255}, {}};
    for (const char* text : {"Центральная частота обзора", "中心周波数の設定値と単位", "WWWWWWWWWWWWWWWW", "gjpq|gjpq|gjpq|"}) {
        for (const auto align : {display::Align::left, display::Align::centre, display::Align::right}) {
            for (const int size : {14, 40}) {
                Canvas canvas;
                display::Draw_Field(canvas.layer, area, 15, text, {face_bold, size, style.colour, {}}, align);
                EXPECT_EQ(canvas.Ink(area, false), 0) << text << " leaves its area";
                EXPECT_GT(canvas.Ink(area, true), 20) << text;
            }
        }
    }
    Canvas from_left, from_right;
    display::Draw_Field(from_left.layer, area, 15, "433.920 000 000 MHz and more", style, display::Align::left);
    display::Draw_Field(from_right.layer, area, 15, "433.920 000 000 MHz and more", style, display::Align::right);
    EXPECT_EQ(from_left.memory, from_right.memory) << "a long text loses its end, never its beginning";

    EXPECT_EQ(display::Text_Width("频率", face_bold, 20), display::Text_Width("频率", face_regular, 20));
    EXPECT_NE(display::Text_Width("Freq", face_bold, 20), display::Text_Width("Freq", face_regular, 20));
    const int size = display::Fitting_Size("Reference level", face_bold, 20, 8, 100);
    EXPECT_LE(display::Text_Width("Reference level", face_bold, size), 100);
    EXPECT_GT(display::Text_Width("Reference level", face_bold, size + 1), 100);
    EXPECT_EQ(display::Fitting_Size("Reference level", face_bold, 20, 18, 10), 18);
    pFTFaceARIABOLD = pFTFaceARIA = nullptr;
}

TEST_F(Text, DamagedFontsGiveErrorsOrBlanks) {
    const std::string good = root.Read("/mnt/nand/fonts/NI7SEG.TTF");
    ASSERT_GT(good.size(), 1000u);
    std::filesystem::remove(platform::Rooted("/mnt/nand/fonts/NI7SEG.TTF"));
    std::mt19937 random(20);
    int opened = 0, refused = 0;
    const auto try_font = [&](const std::string& font) {
        root.Write("/mnt/nand/fonts/NI7SEG.TTF", font);
        FT_Face face = nullptr;
        Guarded drawn;
        int width = 0;
        if (load_font_face(face_seven_segment, library, face) != 0) {
            ++refused;
            EXPECT_EQ(face, nullptr);
        } else {
            ++opened;
        }
        wchar_box(Codes(U"0123456789.-"), 0, 30, 30, drawn.mask, Guarded::width, &width, face, 2);
        EXPECT_TRUE(drawn.Whole());
        EXPECT_GE(width, 0);
        EXPECT_LE(width, 12 * 5000);
        EXPECT_TRUE(face || drawn.Blank());
        FT_Done_Face(face);
    };
    for (int i = 0; i < 60; ++i) {
        try_font(good.substr(0, random() % good.size()));
        std::string flipped = good;
        // The tables of offsets and metrics stand first; outlines make up the rest.
        for (int bit = 0; bit < 4; ++bit) {
            const std::size_t at = random() % (i % 2 ? std::size_t{400} : good.size());
            flipped[at] = static_cast<char>(flipped[at] ^ 1 << random() % 8);
        }
        try_font(flipped);
    }
    EXPECT_GT(opened, 10);
    EXPECT_GT(refused, 10);
}

}  // namespace
