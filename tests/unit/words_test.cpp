#include <random>

#include "display/text.h"
#include "keys/words.h"
#include "records/sys.h"
#include "records_fixture.h"

namespace {

/// Faces as start-up loads them, from the fonts that the instrument's are linked to.
class Faces : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        std::filesystem::create_directories(platform::Rooted("/mnt/nand/fonts"));
        Link("/usr/share/fonts/truetype/liberation/LiberationSans-Bold.ttf", "arialbd.ttf");
        Link("/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc", "ARIALUNI.TTF");
        ASSERT_EQ(FT_Init_FreeType(&library), 0);
        ASSERT_EQ(load_font_face(face_bold, library, pFTFaceARIABOLD), 0);
        ASSERT_EQ(load_font_face(face_regular, library, pFTFaceARIA), 0);
    }
    void TearDown() override {
        FT_Done_FreeType(library);
        pFTFaceARIABOLD = pFTFaceARIA = nullptr;
        Records::TearDown();
    }
    static void Link(const char* font, const char* name) {
        std::filesystem::create_symlink(font, platform::Rooted(std::string("/mnt/nand/fonts/") + name));
    }
    FT_Library library = nullptr;
};

std::string Utf16(std::u16string_view text) {
    std::string bytes;
    for (const char16_t c : text) {
        bytes += static_cast<char>(c & 255);
        bytes += static_cast<char>(c >> 8);
    }
    return bytes;
}

template <class Mask>
bool Blank(const Mask& mask) {
    return std::all_of(mask.begin(), mask.end(), [](auto v) { return v == 0; });
}

class Words : public Faces {
protected:
    void Read(std::u16string_view text) {
        root.Write("/mnt/nand/wordlist.txt", Utf16(text));
        parse_txt_file("/mnt/nand/wordlist.txt");
    }
};

constexpr std::u16string_view heading = u"\xfeffV2.10\r\n";

TEST_F(Words, RecordsLandAtTheirNumbersWithCommasAndLengths) {
    Read(std::u16string(heading) + u"1,10,30,2,15,7,A,b,c,d\r\n3,10,30,3,15,0,\r\n!\r\n0,0,13,2,12,2,On\r\n!\r\n"
                                   u"2,0,12,3,12,5,Start\r\n!\r\n");
    EXPECT_EQ(Checkversion, 0);
    EXPECT_FALSE(Blank(en_words[1]));
    EXPECT_TRUE(Blank(en_words[3]));
    EXPECT_GT(select_words[0].Width(), 8);
    EXPECT_GT(cat_widths[2], 15);
    EXPECT_TRUE(Blank(cat_words[0]));
}

TEST_F(Words, AnotherVersionDropsTheLastChoiceAndSaysSo) {
    std::u16string file = u"\xfeffV2.20\r\n!\r\n";
    for (int i = 0; i < 164; ++i) {
        const std::string row = std::to_string(i) + ",0,13,2,12,2,On\r\n";
        file += std::u16string(row.begin(), row.end());
    }
    Read(file + u"!\r\n");
    EXPECT_EQ(Checkversion, 1);
    EXPECT_FALSE(Blank(select_words[162].mask));
    EXPECT_TRUE(Blank(select_words[163].mask));
}

TEST_F(Words, WithoutMarkOrFileAllIsBlank) {
    en_words[1].fill(9);
    parse_txt_file("/mnt/nand/none.txt");
    EXPECT_TRUE(Blank(en_words[1]));
    root.Write("/mnt/nand/wordlist.txt", Utf16(u"V2.10\r\n1,10,30,2,15,1,A\r\n"));
    parse_txt_file("/mnt/nand/wordlist.txt");
    EXPECT_TRUE(Blank(en_words[1]));
}

TEST_F(Words, NumbersBeyondEveryRangeAndFilesCutAnywhereAreHarmless) {
    Read(std::u16string(heading) + u"-7,1,1,2,15,1,A\r\n5,99999,-99999,2,15,1,A\r\n6,1,1,2,99999,1,A\r\n"
                                   u"7,1,20,2,15,1,A\r\n8,1,1,2,15,99999,A\r\n");
    EXPECT_FALSE(Blank(en_words[7])) << "a bad record takes no good one with it";
    EXPECT_TRUE(Blank(en_words[5]));
    const std::string whole = Utf16(std::u16string(heading) + u"1,10,30,2,15,6,Center\r\n!\r\n0,0,13,2,12,2,On\r\n");
    std::mt19937 random(7);
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        std::string damaged = whole.substr(0, cut);
        if (cut > 2) damaged[random() % cut] = static_cast<char>(random());
        root.Write("/mnt/nand/wordlist.txt", damaged);
        parse_txt_file("/mnt/nand/wordlist.txt");
    }
}

TEST_F(Faces, GlyphsAdvanceByTheirBoxAndNeverLeaveTheMask) {
    const std::u32string text = U"HiW";
    const std::span characters(reinterpret_cast<const std::uint32_t*>(text.data()), text.size());
    int boxes = 0, width = 0;
    for (const auto c : characters) {
        FT_Set_Pixel_Sizes(pFTFaceARIABOLD, 20, 20);
        FT_Load_Char(pFTFaceARIABOLD, c, FT_LOAD_DEFAULT);
        boxes += static_cast<int>(pFTFaceARIABOLD->glyph->metrics.width / 64) + 2;
    }
    wchar_box(characters, 0, 0, 20, {}, 0, &width, pFTFaceARIABOLD, 2);
    EXPECT_EQ(width, boxes);
    std::vector<std::uint8_t> guarded(3 * 40 * 20, 0xee);
    const std::span mask(guarded.data() + 40 * 20, 40 * 20);
    std::fill(mask.begin(), mask.end(), 0);
    for (const int place : {-300, -10, 0, 35, 300}) wchar_box(characters, place, place, 20, mask, 40, nullptr, pFTFaceARIABOLD, 1);
    EXPECT_EQ(std::count(guarded.begin(), guarded.end(), 0xee), 2 * 40 * 20) << "something outside the mask was written";
    EXPECT_GT(display::Text_Width("a b", face_bold, 15), display::Text_Width("ab", face_bold, 15) + 2);
}

TEST_F(Faces, AMissingFontDrawsNothing) {
    FT_Face face = pFTFaceARIABOLD;
    std::filesystem::remove(platform::Rooted("/mnt/nand/fonts/arialbd.ttf"));
    EXPECT_NE(load_font_face(face_bold, library, face), 0);
    EXPECT_EQ(face, nullptr);
    const std::array<std::uint32_t, 1> text{'A'};
    std::array<std::uint8_t, 400> mask{};
    int width = 7;
    wchar_box(text, 0, 15, 15, mask, 20, &width, face, 1);
    EXPECT_EQ(width, 0);
    EXPECT_TRUE(Blank(mask));
}

}  // namespace
