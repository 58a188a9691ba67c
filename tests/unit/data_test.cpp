// The files that the build makes from data/: the word lists as bytes and as ink, and the pictures as pixels.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "display/pictures.h"
#include "display/text.h"
#include "expect.h"
#include "palette.h"
#include "temp_root.h"
#include "words_order.h"

namespace {

namespace palette = display::palette;
using display::Colour;

const std::string share = KVA720_SHARE;
constexpr std::array word_list_files{"wordlist.txt", "wordlist_CS.txt", "wordlist_R.txt", "wordlist_CT.txt",
                                     "wordlist_J.txt"};
enum Language_Index { english, chinese_simplified, russian, chinese_traditional, japanese };

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct Record {
    int number = 0, x = 0, y = 0, font = 0, size = 0;
    std::u16string text;
};

struct Word_List {
    std::u16string first_line;
    std::array<std::vector<Record>, 3> sections;  ///< labels, choices, category names
};

/// Reads a word list with nothing forgiven: every separator, line end and section end must be where the format has it.
class Strict_Reader {
public:
    explicit Strict_Reader(const std::string& bytes) {
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
            text_ += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                           static_cast<unsigned char>(bytes[i + 1]) << 8);
        good_ = bytes.size() % 2 == 0 && bytes.starts_with("\xff\xfe");
    }

    std::optional<Word_List> Read() {
        Word_List list;
        list.first_line = text_.substr(0, text_.find(u'\r'));
        place_ = list.first_line.size();
        Expect(u"\r\n");
        for (auto& section : list.sections) {
            while (good_ && place_ < text_.size() && text_[place_] != u'!') section.push_back(Read_Record());
            Expect(u"!\r\n");
        }
        if (!good_ || place_ != text_.size()) return {};
        return list;
    }

private:
    void Expect(std::u16string_view wanted) {
        good_ = good_ && text_.compare(place_, wanted.size(), wanted) == 0;
        place_ += wanted.size();
    }
    int Number() {
        int value = 0, digits = 0;
        for (; place_ < text_.size() && text_[place_] >= u'0' && text_[place_] <= u'9'; ++digits)
            value = value * 10 + (text_[place_++] - u'0');
        good_ = good_ && digits > 0 && digits < 5;
        Expect(u",");
        return value;
    }
    Record Read_Record() {
        Record record;
        for (int* field : {&record.number, &record.x, &record.y, &record.font, &record.size}) *field = Number();
        const auto length = static_cast<std::size_t>(Number());
        if (good_ && place_ + length <= text_.size()) record.text = text_.substr(place_, length);
        place_ += length;
        Expect(u"\r\n");
        return record;
    }

    std::u16string text_;
    std::size_t place_ = 0;
    bool good_ = true;
};

const std::vector<Word_List>& Word_Lists() {
    static const std::vector<Word_List> lists = [] {
        std::vector<Word_List> read;
        for (const char* file : word_list_files) {
            const auto list = Strict_Reader(Contents(share + "/nand/" + file)).Read();
            if (!list) ADD_FAILURE() << file << " does not follow the format";
            read.push_back(list.value_or(Word_List{}));
        }
        return read;
    }();
    return lists;
}

const Record* Find(Language_Index language, int section, int number) {
    const auto& records = Word_Lists()[language].sections[static_cast<std::size_t>(section)];
    const auto at = std::ranges::find(records, number, &Record::number);
    return at == records.end() ? nullptr : &*at;
}

std::u16string Text(Language_Index language, int section, int number) {
    const Record* record = Find(language, section, number);
    return record ? record->text : u"(no record)";
}

TEST(Word_List_Files, Hold_Their_Sections_In_Order) {
    for (const Word_List& list : Word_Lists()) {
        ASSERT_EQ(list.first_line.size(), 5u);
        EXPECT_EQ(list.first_line[1], u'2');
        EXPECT_EQ(list.first_line.substr(3), u"10");

        const auto& [labels, choices, categories] = list.sections;
        // The last label record only ends the section: its number is the first that no label has.
        ASSERT_FALSE(labels.empty());
        EXPECT_EQ(labels.back().number, keys::en_count);
        for (std::size_t i = 1; i < labels.size(); ++i) EXPECT_LT(labels[i - 1].number, labels[i].number);

        // Choices are read by their count, and two have a box of their own that no word fits.
        ASSERT_EQ(choices.size(), static_cast<std::size_t>(keys::select_count));
        for (std::size_t i = 0; i < choices.size(); ++i) EXPECT_EQ(choices[i].number, static_cast<int>(i));
        EXPECT_TRUE(choices[57].text.empty() && choices[58].text.empty());

        ASSERT_FALSE(categories.empty());
        EXPECT_LT(categories.back().number, keys::cat_count);
        for (std::size_t i = 1; i < categories.size(); ++i) EXPECT_LT(categories[i - 1].number, categories[i].number);
    }
}

TEST(Word_List_Files, Have_Each_Entry_In_Every_Language) {
    for (std::size_t section = 0; section < 3; ++section) {
        const auto texts = [&](const Word_List& list) {
            std::map<int, bool> filled;
            for (const Record& record : list.sections[section]) filled[record.number] = !record.text.empty();
            return filled;
        };
        for (const Word_List& list : Word_Lists()) EXPECT_EQ(texts(list), texts(Word_Lists()[english]));
    }
}

TEST(Word_List_Files, Agree_With_The_Header_To_The_Ends_Of_The_Tables) {
    Expect({{keys::enFrequencyBig, 0}, {keys::enFreqOffset, 5}, {keys::enAlpha, 857}, {keys::enFilecon, 859},
            {keys::selectOneToFive4, 5}, {keys::selectQP, 163}, {keys::catFreqOff, 5}, {keys::catfilecon, 351}});

    Expect({{Text(english, 0, keys::enFrequencyBig), u"Frequency"}, {Text(english, 0, keys::enCFStep), u"CF step"},
            {Text(russian, 0, keys::enEnter), u"Ввод"}, {Text(english, 0, keys::enAlpha), u"Alpha / BT"},
            {Text(chinese_simplified, 0, keys::enRefLevel), u"参考电平"},
            {Text(japanese, 0, keys::enTimeDate).find(u"日付, 時刻"), 0u, "a text may hold commas"},
            {Text(english, 1, keys::selectOff), u"Off"}, {Text(chinese_traditional, 1, keys::selectAuto), u"自動"},
            {Text(english, 1, keys::selectQP), u"QP"}, {Text(english, 2, keys::catSweep), u"Sweep"}});
}

TEST(Word_List_Files, Are_In_Their_Own_Languages) {
    const auto share_of = [](const Word_List& list, auto in_script) {
        int all = 0, found = 0;
        for (const Record& record : list.sections[0]) {
            // Units are the same everywhere.
            if (record.y > 40 && (record.text.size() < 5 || record.text.starts_with(u"dB"))) continue;
            ++all;
            found += std::ranges::any_of(record.text, in_script);
        }
        return static_cast<double>(found) / all;
    };
    const auto cyrillic = [](char16_t c) { return c >= 0x400 && c < 0x500; };
    const auto kana = [](char16_t c) { return c >= 0x3040 && c < 0x3100; };
    const auto han = [](char16_t c) { return c >= 0x4e00 && c < 0xa000; };
    const auto east = [&](char16_t c) { return kana(c) || han(c); };
    const auto& lists = Word_Lists();
    EXPECT_GT(share_of(lists[russian], cyrillic), 0.9);
    // The names of standards, codes and interfaces are the same everywhere.
    EXPECT_GT(share_of(lists[chinese_simplified], han), 0.85);
    EXPECT_GT(share_of(lists[chinese_traditional], han), 0.85);
    EXPECT_GT(share_of(lists[japanese], east), 0.8);
    EXPECT_GT(share_of(lists[japanese], kana), 0.4);
    EXPECT_EQ(share_of(lists[english], [](char16_t c) { return c > 0x2100; }), 0.0);
    constexpr std::u16string_view traditional_only = u"頻寬訊顯掃單儲檔";
    const auto traditional = [&](char16_t c) { return traditional_only.find(c) != traditional_only.npos; };
    EXPECT_EQ(share_of(lists[chinese_simplified], traditional), 0.0);
}

/// Columns and rows that have ink, of a text that the renderer sets with room to spare on all sides.
struct Ink {
    int left = 1000, right = -1000, top = 1000, bottom = -1000;
};

class Word_Ink : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(FT_Init_FreeType(&library_), 0);
        ASSERT_EQ(FT_New_Face(library_, "/usr/share/fonts/truetype/liberation/LiberationSans-Bold.ttf", 0, &bold_), 0);
        ASSERT_EQ(FT_New_Face(library_, "/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc", 0, &regular_), 0);
    }
    void TearDown() override { FT_Done_FreeType(library_); }

    Ink Of(const Record& record) const {
        constexpr int room = 60, width = mask_width + 2 * room, height = 84 + 2 * room;
        std::vector<std::uint8_t> mask(width * height);
        const std::vector<std::uint32_t> characters(record.text.begin(), record.text.end());
        const FT_Face face = record.font == face_bold ? bold_ : regular_;
        for (const auto character : characters)
            EXPECT_NE(FT_Get_Char_Index(face, character), 0u) << "a character is missing in record " << record.number;
        wchar_box(characters, record.x + room, record.y + room, record.size, mask, width, nullptr, face, 1);
        Ink ink;
        for (int i = 0; i < width * height; ++i) {
            if (mask[static_cast<std::size_t>(i)] == 0) continue;
            const int x = i % width - room, y = i / width - room;
            ink = {std::min(ink.left, x), std::max(ink.right, x), std::min(ink.top, y), std::max(ink.bottom, y)};
        }
        return ink;
    }

private:
    FT_Library library_ = nullptr;
    FT_Face bold_ = nullptr, regular_ = nullptr;
};

TEST_F(Word_Ink, Labels_And_Titles_Stand_Centred_Inside_Their_Keys) {
    constexpr int title_rows = 29, first_body_row = 8, last_body_row = 75;
    for (const Word_List& list : Word_Lists()) {
        for (const Record& record : list.sections[0]) {
            if (record.text.empty()) continue;
            const Ink ink = Of(record);
            const bool title = record.y == 21;
            EXPECT_GE(ink.top, title ? 0 : first_body_row) << record.number;
            EXPECT_LE(ink.bottom, title ? title_rows - 1 : last_body_row) << record.number;
            EXPECT_GE(ink.left, title ? 1 : 4) << record.number;
            EXPECT_NEAR(ink.left + ink.right, mask_width - 1, 4) << record.number << " is off the centre";
        }
    }
}

TEST_F(Word_Ink, Choices_And_Category_Names_Are_Not_Cut) {
    constexpr int choice_rows = 16, category_rows = 15;
    for (const Word_List& list : Word_Lists()) {
        for (int section : {1, 2}) {
            for (const Record& record : list.sections[static_cast<std::size_t>(section)]) {
                if (record.text.empty()) continue;
                const Ink ink = Of(record);
                EXPECT_GE(ink.left, 0);
                EXPECT_LT(ink.right, section == 1 ? mask_width / 2 : mask_width) << record.number;
                EXPECT_GE(ink.top, 0);
                EXPECT_LT(ink.bottom, section == 1 ? choice_rows : category_rows) << record.number;
            }
        }
    }
}

/// Runs the generator on a table of its own; what it said, or nothing when it made the lists.
std::string Refusal(const std::string& rows) {
    const Temp_Root root;
    root.Write("/words.tsv",
               "section\tname\tplace\tfont\tsize\t"
               "english\tchinese_simplified\trussian\tchinese_traditional\tjapanese\n" +
                   rows);
    const std::string folder = platform::Rooted("/");
    const std::string command = "python3 '" KVA720_SOURCE "/tools/make_wordlist.py' lists '" + folder + "words.tsv' '" +
                                folder + "' '" + share + "/../bin/measure_text' " +
                                "/usr/share/fonts/truetype/liberation/LiberationSans-Bold.ttf " +
                                "/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc > '" + folder + "said' 2>&1";
    const int status = std::system(command.c_str());
    const std::string said = root.Read("/said");
    EXPECT_EQ(status == 0, said.empty());
    EXPECT_EQ(status == 0, std::filesystem::exists(folder + "wordlist_J.txt"));
    return said;
}

TEST(Word_List_Generator, Refuses_What_The_Instrument_Could_Not_Show) {
    EXPECT_EQ(Refusal("en\tenStart\tvalue\t2\t15\tStart\n"), "");
    const std::string wide = Refusal("en\tenStart\tvalue\t2\t15\tStart\t\tНачальная частота обзора\n");
    EXPECT_NE(wide.find("enStart, russian"), std::string::npos) << wide;
    EXPECT_NE(Refusal("text\t\tentry\t3\t12\t" + std::string(60, 'W') + "\n").find("text 'WWW"), std::string::npos);
    EXPECT_NE(Refusal("text\t\tunit\t2\t13\tHz\ntext\t\tunit\t2\t13\tHz\n").find("there already"), std::string::npos);
    EXPECT_NE(Refusal("en\tenStart\tvalue\t2\t40\tgo\n").find("rows"), std::string::npos);
    EXPECT_NE(Refusal("en\tenStart\tvalue\t2\t15\tStart!\n").find("enStart"), std::string::npos);
    EXPECT_NE(Refusal("en\tenStart\tvalue\t2\t15\t\u0e01\n").find("not in the face"), std::string::npos);
    EXPECT_NE(Refusal("en\tenA\tplain\t2\t15\tA\nen\tenA\tplain\t2\t15\tB\n").find("enA"), std::string::npos);
}

struct Picture {
    int width = 0, height = 0;
    std::vector<std::uint8_t> pixels;
    Colour At(int x, int y) const {
        const auto* p = &pixels[static_cast<std::size_t>(y * width + x) * 3];
        return {p[0], p[1], p[2]};
    }
    int Count(int first_row, int rows, Colour colour, int tolerance) const {
        int count = 0;
        for (int y = first_row; y < first_row + rows; ++y)
            for (int x = 0; x < width; ++x) count += Distance(At(x, y), colour) <= tolerance;
        return count;
    }
    static int Distance(Colour a, Colour b) {
        return std::max({std::abs(a.red - b.red), std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
    }
};

/// Decodes a picture with the instrument's own decoder, after a look at its frame header: baseline, three components of
/// eight bits, none of them decimated.
Picture Show(const std::string& name, int width, int height) {
    const std::string bytes = Contents(share + "/nand/picture/" + name);
    const auto frame = bytes.find("\xff\xc0");
    EXPECT_NE(frame, std::string::npos) << name << " is no baseline JPEG";
    Picture picture{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width * height * 3))};
    if (frame == std::string::npos) return picture;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes.at(frame + i)); };
    EXPECT_EQ(byte(4), 8) << name;
    EXPECT_EQ(byte(5) << 8 | byte(6), height) << name;
    EXPECT_EQ(byte(7) << 8 | byte(8), width) << name;
    EXPECT_EQ(byte(9), 3) << name;
    for (const std::size_t component : {11u, 14u, 17u}) EXPECT_EQ(byte(component), 0x11) << name;

    const Temp_Root root;
    std::filesystem::create_directories(platform::Rooted("/mnt"));
    std::filesystem::create_symlink(share + "/nand", platform::Rooted("/mnt/nand"));
    EXPECT_TRUE(Load_Picture(name, width, height, picture.pixels)) << name;
    return picture;
}

TEST(Picture_Files, Start_Up_Progress_Grows_With_Each_Step_Shown) {
    constexpr int progress_rows = 161, bell_rows = 110;
    int done = -1, bell = -1;
    for (const char* name : {"systeminit.jpg", "systeminit2.jpg", "systeminit3.jpg", "systeminit4.jpg",
                             "systeminit5.jpg", "systeminit6.jpg", "systeminit7.jpg", "systeminit8.jpg"}) {
        const Picture step = Show(name, 210, 180);
        const int line = step.Count(progress_rows, 3, palette::trace_a, 24);
        const int curve = step.Count(0, bell_rows, palette::trace_a, 60);
        EXPECT_GT(line, done) << name;
        EXPECT_GT(curve, bell) << name;
        done = line;
        bell = curve;
    }
    for (const char* name : {"systeminit1.jpg", "systeminit9.jpg", "shutdown.jpg", "shutdown_o.jpg"})
        Show(name, 210, 180);
}

TEST(Picture_Files, Icons_Differ_And_Wear_Their_Colour) {
    std::set<std::string> different;
    int icons = 0;
    const auto check = [&](const std::string& name, int width, int height, Colour colour) {
        EXPECT_GT(Show(name, width, height).Count(0, height, colour, 60), 8) << name;
        different.insert(Contents(share + "/nand/picture/" + name));
        ++icons;
    };
    constexpr std::array accents{palette::trace_a, palette::trace_b, palette::trace_c, palette::trace_d};
    for (std::size_t trace = 0; trace < accents.size(); ++trace) {
        const std::string letter(1, static_cast<char>('A' + trace));
        for (const char* mode : {"CLR", "MAX", "MIN", "VIEW"})
            check("tr_" + letter + mode + ".jpg", 34, 18, accents[trace]);
        check("tr_" + letter + "BLANK.jpg", 34, 18, palette::frame);
        for (const char* detector : {"NML", "PK+", "PK-", "SMP", "AVG", "QP"})
            check("ICON" + letter + "_" + detector + ".jpg", 34, 33, accents[trace]);
    }
    for (const std::string what : {"LAN", "USB", "SD", "EXT", "RMT", "TG", "EMC", "SEQ", "AVG"}) {
        check(what + "_on.jpg", 38, 16, palette::pass);
        check(what + "_off.jpg", 38, 16, palette::label);
    }
    for (const char* sign : {"SWP_cont", "SWP_single", "TRG_free", "TRG_video", "TRG_external", "TRG_line"})
        check(std::string(sign) + ".jpg", 38, 16, palette::label);
    for (const auto& [supply, colour] : std::map<std::string, Colour>{{"AC", palette::pass},
                                                                      {"AC charge", palette::trace_a},
                                                                      {"AC charge full", palette::pass},
                                                                      {"bat 25", palette::attention},
                                                                      {"bat 50", palette::label},
                                                                      {"bat 75", palette::label},
                                                                      {"bat 100", palette::label}})
        check(supply + ".jpg", 38, 16, colour);
    for (int number = 1; number <= 10; ++number) {
        const std::string name = "MKR" + std::to_string(number) + ".jpg";
        check("P" + name, 21, 22, palette::frame);
        if (number > 6) continue;
        check(name, 21, 22, palette::value);
        check("D" + name, 21, 22, palette::value);
    }
    for (const auto& [kind, colour] : std::map<std::string, Colour>{{"folder", palette::trace_a},
                                                                    {"up", palette::trace_a}, {"state", palette::label},
                                                                    {"trace", palette::trace_a},
                                                                    {"limit", palette::attention},
                                                                    {"correction", palette::trace_b},
                                                                    {"picture", palette::trace_d},
                                                                    {"sequence", palette::trace_c},
                                                                    {"table", palette::label},
                                                                    {"recording", palette::label},
                                                                    {"other", palette::label}})
        check("file_" + kind + ".jpg", 20, 20, colour);
    for (const char* drive : {"memory", "USB", "SD"})
        check(std::string("drive_") + drive + ".jpg", 20, 20, palette::label);
    check("LXI.jpg", 34, 18, palette::pass);
    check("LXIG.jpg", 34, 18, palette::frame);
    check("Logo.jpg", 135, 21, palette::value);
    EXPECT_EQ(static_cast<int>(different.size()), icons) << "two icons are the same picture";
    for (const char* name : {"Logo.jpg", "LXI.jpg", "LXIG.jpg"})
        EXPECT_EQ(Contents(share + "/mtd14/" + name), Contents(share + "/nand/picture/" + name)) << name;
}

/// Share of a picture's pixels that have exactly one of the colours of flat drawing.
double Flat(const Picture& picture) {
    constexpr std::array flat{palette::ground, palette::bar, palette::grid, palette::frame, Colour{}};
    int count = 0;
    for (const Colour colour : flat) count += picture.Count(0, picture.height, colour, 0);
    return static_cast<double>(count) / (picture.width * picture.height);
}

TEST(Picture_Files, Screen_Frames_And_Tables_Are_Flat_And_Have_Their_Sizes) {
    struct Sized {
        const char* name;
        int width, height;
    };
    constexpr auto frames = std::to_array<Sized>({
        {"partialmain", 654, 600}, {"upscreen", 601, 201}, {"downscreen", 601, 201}, {"uppergrid_screen", 601, 301},
        {"uppergrid_screen_for_fsk", 601, 301}, {"spectrogram", 601, 451}, {"spectrogram_split", 601, 201},
        {"topographic", 601, 451}, {"topographic_split", 601, 201}, {"acpr_table", 601, 143}, {"ocbwtable", 601, 143},
        {"sem_table", 601, 143}, {"Peak_Table", 601, 143}, {"Marker_Table", 601, 143}, {"harmonic_table", 601, 143},
        {"toi_table", 601, 143}, {"jitter_table", 601, 143}, {"ndb_table", 601, 68}, {"cnr_table", 601, 68},
        {"cso_table", 601, 68}, {"ctb_table", 601, 68}, {"p1db_table", 601, 68}, {"chpower_table", 601, 68},
        {"sequence", 600, 450}, {"powermeter", 655, 545}
    });
    // What a program goes on drawing in must be the palette's own colour; scales of colours take up to a fiftieth.
    for (const auto& [name, width, height] : frames)
        EXPECT_GT(Flat(Show(std::string(name) + ".jpg", width, height)), 0.93) << name;
}

TEST(Picture_Files, Graticules_Have_Their_Lines_Where_Traces_Are_Drawn) {
    struct Graticule {
        const char* name;
        int height, first, rows, pitch;
    };
    constexpr auto graticules = std::to_array<Graticule>({{"upscreen", 201, 0, 201, 20},
                                                          {"downscreen", 201, 0, 201, 20},
                                                          {"uppergrid_screen", 301, 0, 301, 30},
                                                          {"spectrogram", 451, 0, 251, 25},
                                                          {"topographic", 451, 300, 151, 15}});
    for (const auto& [name, height, first, rows, pitch] : graticules) {
        const Picture picture = Show(std::string(name) + ".jpg", 601, height);
        for (int row = 0; row < rows; ++row) {
            // Between two vertical lines, left of any sign in a corner.
            const Colour wanted = row == 0 || row == rows - 1 ? palette::frame
                                  : row % pitch == 0          ? palette::grid
                                                              : palette::ground;
            ASSERT_LE(Picture::Distance(picture.At(30, first + row), wanted), 2) << name << ", row " << row;
        }
        for (int column = 0; column <= 600; ++column) {
            const Colour wanted = column == 0 || column == 600 ? palette::frame
                                  : column % 60 == 0           ? palette::grid
                                                               : palette::ground;
            ASSERT_LE(Picture::Distance(picture.At(column, first + rows - 2), wanted), 2)
                << name << ", column " << column;
        }
    }
}

TEST(Picture_Files, Scales_Of_Colours_Run_Through_The_Palettes) {
    for (const auto& [name, height, top] : {std::tuple{"spectrogram", 451, 256},
                                            {"topographic", 451, 284},
                                            {"spectrogram_split", 201, 6},
                                            {"topographic_split", 201, 6}}) {
        const Picture picture = Show(std::string(name) + ".jpg", 601, height);
        constexpr std::array stops{palette::scale_least, palette::scale_low, palette::scale_middle, palette::scale_high,
                                   palette::scale_most};
        for (int i = 0; i < 5; ++i) {
            const int x = std::clamp(100 + i * 100, 102, 498);
            EXPECT_LE(Picture::Distance(picture.At(x, top + 4), stops[static_cast<std::size_t>(i)]), 8) << name << i;
        }
    }
}

}  // namespace
