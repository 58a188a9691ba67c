#include "display/text.h"
#include "keys/language.h"
#include "keys/words.h"
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

TEST_F(Words, LabelsEndAtTheFirstNumberBeyondTheTableOrAtTheMark) {
    Read(std::u16string(heading) + u"1,10,30,2,15,1,A\r\n900,10,30,2,15,1,B\r\n2,10,30,2,15,1,C\r\n!\r\n"
                                   u"0,0,13,2,12,2,On\r\n!\r\n!\r\n");
    EXPECT_FALSE(Blank(en_words[1]));
    EXPECT_TRUE(Blank(en_words[2]));
    EXPECT_GT(select_words[0].Width(), 0) << "the sections behind are found";
    Read(std::u16string(heading) + u"1,10,30,2,15,1,A\r\n!\r\n!\r\n3,0,12,3,12,1,B\r\n!\r\n");
    EXPECT_FALSE(Blank(en_words[1]));
    EXPECT_TRUE(Blank(select_words[0].mask));
    EXPECT_GT(cat_widths[3], 0) << "an empty section is one";
}

TEST_F(Words, TheSecondCharacterOfTheVersionIsNotLookedAt) {
    Read(u"\xfeffV2-10\r\n1,10,30,2,15,1,A\r\n!\r\n");
    EXPECT_EQ(Checkversion, 0);
    EXPECT_FALSE(Blank(en_words[1]));
    for (const auto* version : {u"\xfeffV1.10\r\n!\r\n", u"\xfeffV2.00\r\n!\r\n", u"\xfeffV2.11\r\n!\r\n"}) {
        Checkversion = 0;
        Read(version);
        EXPECT_EQ(Checkversion, 1);
    }
}

TEST_F(Words, CategoryNamesAreReadByTheirCount) {
    for (const auto* version : {u"2.10", u"2.20"}) {
        std::u16string file = u"\xfeffV" + std::u16string(version) + u"\r\n!\r\n!\r\n";
        for (int i = 0; i < 353; ++i) {
            const char* rest = i < 352 ? ",0,12,3,12,1,i\r\n" : ",0,12,3,12,9,WWWWWWWWW\r\n";
            const std::string row = std::to_string(i % 352) + rest;
            file.append(row.begin(), row.end());
        }
        Read(file);
        EXPECT_LT(cat_widths[0], 20) << "no record behind the last is read";
        EXPECT_GT(cat_widths[350], 0);
        EXPECT_EQ(cat_widths[351] > 0, Checkversion == 0);
    }
}

TEST_F(Words, NumbersKeepTheirBytesThatAreNotZero) {
    // 0x3131 is two digits one; blanks before a number and what follows it don't count.
    Read(std::u16string(heading) + u"\u3131, 10,30 px,2,15,1,A\r\n12,10,30,2,000000000000000015,1,B\r\n");
    EXPECT_FALSE(Blank(en_words[11]));
    EXPECT_FALSE(Blank(en_words[12]));
    Read(std::u16string(heading) + u"4,10,30,2,15,-2,5,10,30,2,15,1,A\r\n");
    EXPECT_TRUE(Blank(en_words[4])) << "a length below zero is no text";
}

TEST_F(Words, TwoChoicesHaveABoxOfTheirOwn) {
    Read(std::u16string(heading) + u"!\r\n56,7,12,2,12,3,ABC\r\n57,7,12,2,12,3,ABC\r\n"
                                   u"58,7,12,2,12,12,WWWWWWWWWWWW\r\n");
    Expect({{select_words[56].row_length, label_width}, {select_words[56].x, 7}, {select_words[57].row_length, 3 * 15},
            {select_words[57].x, 0}, {select_words[57].y, 18},
            {select_words[58].row_length, label_width, "never longer than a row"}});
    const Choice_Word& word = select_words[56];
    EXPECT_EQ(word.characters, 3);
    EXPECT_EQ(word.position[0], 7);
    EXPECT_LT(word.position[0], word.position[1]);
    EXPECT_LT(word.position[2], word.position[3]);
}

TEST_F(Words, AChoiceThatCannotStandInItsKeyHasNoMark) {
    Read(std::u16string(heading) + u"!\r\n0,-70000,13,2,12,2,On\r\n1,0,13,2,1000000,3,Off\r\n"
                                   u"2,0,13,2,12,1,1\r\n!\r\n!\r\n");
    EXPECT_EQ(select_words[0].Width(), 0);
    EXPECT_EQ(select_words[1].Width(), 0);
    EXPECT_GT(select_words[2].Width(), 0);
}

TEST_F(Words, FixedCharactersNeedNoFile) {
    parse_txt_file("/mnt/nand/none.txt");
    for (const char character : fixed_characters) {
        ASSERT_NE(Fixed(character), nullptr);
        EXPECT_FALSE(Blank(std::span(Fixed(character), label_width * label_height))) << character;
    }
    EXPECT_EQ(Fixed('G'), nullptr);
}

TEST_F(Words, EnglishTextsAreFoundInEveryLanguage) {
    std::array<char, 32> buffer;
    Language = static_cast<std::uint8_t>(Language_Choice::russian);
    EXPECT_EQ(Translated("Center frequency"), "Центральная частота");
    EXPECT_EQ(Translated("Ref level"), "Опорный уровень") << "labels as well";
    EXPECT_EQ(Translated_Value("433.920 MHz", buffer), "433.920 МГц");
    EXPECT_EQ(Translated_Value("Off", buffer), "Выкл");
    EXPECT_EQ(Translated_Value("", buffer), "");
    EXPECT_LE(Translated_Value("a value that is longer than its buffer GHz", buffer).size(), buffer.size());
    Language = static_cast<std::uint8_t>(Language_Choice::chinese_traditional);
    EXPECT_EQ(Translated("Reference level"), "參考位準");
    EXPECT_EQ(Translated_Value("433.920 MHz", buffer), "433.920 MHz");
    EXPECT_EQ(Translated("no such text"), "no such text");
    Language = 5;
    EXPECT_EQ(Translated("Center frequency"), "Center frequency");
}

TEST_F(Words, TheLanguageIsChangedAtOnceAndKept) {
    root.Write("/mnt/nand/wordlist.txt", Utf16(std::u16string(heading) + u"1,10,30,2,15,6,Center\r\n!\r\n"));
    root.Write("/mnt/nand/wordlist_J.txt", Utf16(std::u16string(heading) + u"1,10,30,3,15,2,中心\r\n!\r\n"));
    root.Write("/mnt/nand/wordlist_R.txt", "no mark");
    EXPECT_EQ(Set_Language(0), 0);
    const Label_Mask english = en_words[1];
    EXPECT_EQ(Set_Language(4), 0);
    EXPECT_EQ(Language, 4);
    EXPECT_NE(en_words[1], english);
    const Label_Mask japanese = en_words[1];
    for (const int refused : {-1, 5, 256, 1, 2}) {
        EXPECT_EQ(Set_Language(refused), -1);
        EXPECT_EQ(Language, 4);
        EXPECT_EQ(en_words[1], japanese) << "a language without words loses none";
    }
    Language = 0;
    Recall_Language();
    EXPECT_EQ(Language, 4);
    for (const char* damaged : {"", "9\n", "x", "\xff"}) {
        Language = 0;
        root.Write("/mnt/nand/language", damaged);
        Recall_Language();
        EXPECT_EQ(Language, 0);
    }
}

TEST_F(Words, WithoutMarkOrFileAllIsBlank) {
    en_words[1].fill(9);
    parse_txt_file("/mnt/nand/none.txt");
    EXPECT_TRUE(Blank(en_words[1]));
    root.Write("/mnt/nand/wordlist.txt", Utf16(u"V2.10\r\n1,10,30,2,15,1,A\r\n"));
    parse_txt_file("/mnt/nand/wordlist.txt");
    EXPECT_TRUE(Blank(en_words[1]));
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
