#include "trace/limit_lines.h"

#include <fstream>

#include "files/limit_file.h"
#include "records_fixture.h"
#include "trace/scale.h"

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

/// 100 to 700 MHz: a column is 1 MHz. Reference 0 dBm, 10 dB a division.
class Limit_Lines_Test : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        Factory_Settings();
        Freqs.center[0] = 400e6;
        Freqs.start[0] = 100e6;
        Freqs.stop[0] = 700e6;
        Freqs.span[0] = 600e6;
        limitline_init();
        Put_Trace(-60);
    }
    static void Put_Level(std::size_t column, double dbm) {
        Trace_Data[0].value[0][column] = static_cast<float>(dbm);
        Trace_Data[0].rows[0][column] = static_cast<std::uint16_t>(dBmTOpixel(dbm, Active_Scale(), true));
    }
    static void Put_Trace(double dbm) {
        for (std::size_t column = 0; column < trace_points; ++column) Put_Level(column, dbm);
    }
    static void Set_Axis(double center, double span) {
        Set_Cent(2, center);
        Set_Span(2, span);
    }
    static int Verdict() {
        Judge_Limits();
        return Limit_Test.verdict;
    }
    static bool Condition_Set() { return SCPI_RegGet(scpi_context, reg_questionable + set_condition) & 512; }
    static std::vector<double> Frequencies(std::size_t line) {
        std::vector<double> found;
        for (std::size_t k = 0; const Limit_Node* node = Point_Of(Limit_Lines[line], k); ++k) {
            found.push_back(node->frequency);
        }
        return found;
    }
    /// Line 0 as the high limit at a level over the frequencies.
    static void High_Line(double from, double to, double dbm) {
        Set_Limit_Points(0, std::vector<Limit_Point>{{from, dbm}, {to, dbm}});
        Choose_Limit_Lines(0, Limit_Test.low);
        Set_Limit_Test(true);
    }
};

TEST_F(Limit_Lines_Test, Points_Stand_By_Frequency_And_A_Line_Holds_Ten) {
    for (int i = 9; i >= 0; --i) EXPECT_EQ(Add_Limit_Point(2, {100e6 + i * 10e6, -30}), 0);
    EXPECT_EQ(Add_Limit_Point(2, {1e6, 0}), -1);
    const auto stand = Frequencies(2);
    EXPECT_EQ(stand.size(), 10u);
    EXPECT_TRUE(std::ranges::is_sorted(stand));
    EXPECT_EQ(Change_Limit_Point(2, 0, {155e6, -10}), 5);
    EXPECT_EQ(Change_Limit_Point(2, 0, {not_a_number, -10}), -1);
    EXPECT_EQ(Add_Limit_Point(3, {100e6, INFINITY}), -1);
    Delete_Limit_Point(2, 5);
    Delete_Limit_Point(2, 9);  // there is none
    Walk({{"", [&] { return Frequencies(2).size(); }, 9u}, {"", [&] { return Add_Limit_Point(2, {5e12, 500}); }, 9}});
    EXPECT_EQ(Point_Of(Limit_Lines[2], 9)->frequency, MAXFREQUENCY);
    EXPECT_EQ(Point_Of(Limit_Lines[2], 9)->amplitude, highest_limit_dbm);
    EXPECT_EQ(Limit_Lines[2].last, Point_Of(Limit_Lines[2], 9)) << "the tenth position is the last node";
    EXPECT_EQ(search_node(Limit_Lines[2].first, Limit_Lines[2].last->identity), Limit_Lines[2].last);
    EXPECT_EQ(search_node(Limit_Lines[2].first, 1), nullptr);
    double frequency = 0, amplitude = 0;
    EXPECT_EQ(search_freqaamp_ptnode(Limit_Lines[2].first, 10, frequency, amplitude), 0);
    EXPECT_EQ(frequency, MAXFREQUENCY);
    EXPECT_EQ(search_freqaamp_ptnode(Limit_Lines[2].first, 11, frequency, amplitude), -1);
    EXPECT_FALSE(Set_Limit_Points(2, std::vector<Limit_Point>(11)));
    EXPECT_FALSE(Set_Limit_Points(2, std::vector<Limit_Point>{{1e6, 0}, {2e6, not_a_number}}));
    EXPECT_EQ(Frequencies(2).size(), 10u) << "the old line stays";
}

TEST_F(Limit_Lines_Test, An_Empty_List_Says_So_On_The_Console) {
    Limit_Line& line = Limit_Lines[0];
    Limit_Node* const node = create_node(line, 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(insert_node(line.first, *node, 0, line.last), -1);
    EXPECT_EQ(line.first, nullptr);
    double value = 0;
    EXPECT_EQ(search_freqaamp_ptnode(line.first, 1, value, value), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\r\n******Nothing to delete\r\n***limit line:search_freqaamp_ptnode() List is empty!\r\n");
    line.first = node;
    for (std::size_t position : {0u, 2u}) {
        Limit_Node* const other = create_node(line, position);
        EXPECT_EQ(other->on, 0u);
        EXPECT_EQ(insert_node(line.first, *other, position, line.last), 0);
        EXPECT_EQ(Point_Of(line, position), other);
    }
    EXPECT_EQ(Point_Of(line, 1), node);
}

TEST_F(Limit_Lines_Test, The_Newest_Entry_Sinks_To_Its_Place) {
    std::array<Limit_Pixel, limit_points> table;
    for (std::size_t i = 0; i < 4; ++i) table[i] = {i + 1, 20 * static_cast<int>(i), 100, 1e6 * (i + 2.0), 0};
    table[4] = {9, 15, 100, 1e6, 0};
    Expect({{sorting_pixel(table, 4), 4}, {table[0].identity, 9u}, {sorting_pixel(table, 4), 0}});
    std::swap(table[3], table[2]);
    EXPECT_EQ(sorting_pixel(table, 5), 1) << "an entry without place is stepped over";
    EXPECT_EQ(sorting_pixel(table, limit_points), 0);
}

TEST_F(Limit_Lines_Test, Rows_Follow_Both_Scales_And_Both_Axes) {
    Set_Limit_Points(0, std::vector<Limit_Point>{{200e6, -20}, {400e6, -40}, {400e6, -60}});
    Choose_Limit_Lines(0, no_limit_line);
    Walk({{"", PassFail_HighYPixel[99], above_screen}, {"", PassFail_HighYPixel[100], 58 + 90},
          {"", PassFail_HighYPixel[200], 58 + 135},
          {"", PassFail_HighYPixel[300], 58 + 270, "the stricter of two points at one frequency"},
          {"", PassFail_HighYPixel[301], above_screen},
          {"", PassFailTestRange, (std::array<std::int32_t, 2>{110, 310})}});

    Walk({{{Set_Reflevel, -10}, PassFail_HighYPixel[200], 58 + 90},
          {{Set_ReflevelOffset, 10}, PassFail_HighYPixel[200], 58 + 135, "levels are those displayed"},
          {[] { Set_Axis(400e6, 60e6); }, PassFail_HighYPixel[0], Near{58 + 45 * 3.7, 1},
           "a point off the screen still leads the line"}});

    Set_ReflevelOffset(2, 0);
    Set_Reflevel(2, 0);
    Amp.scale_type[0] = 1;
    Set_Limit_Points(0, std::vector<Limit_Point>{{380e6, -10}, {420e6, -30}});
    for (const std::size_t column : {100u, 300u, 450u}) {
        const double level = -10 - 20 * (static_cast<double>(column) - 100) / 400;
        EXPECT_EQ(PassFail_HighYPixel[column], dBmTOpixel(level, Active_Scale(), false)) << column;
    }
    Walk({{{Set_Span, 0}, PassFail_HighYPixel[300], above_screen, "zero span has no frequencies"},
          {"", Verdict, verdict_none}});
}

TEST_F(Limit_Lines_Test, Every_Column_Of_The_Range_Is_Judged) {
    High_Line(200e6, 300e6, -50);
    Walk({{"", Verdict, verdict_pass}, {"", Condition_Set, false}});
    Put_Level(99, -10);
    Put_Level(201, -10);
    EXPECT_EQ(Verdict(), verdict_pass) << "outside the line nothing is asked";
    Put_Level(200, -50);
    Walk({{"", Verdict, verdict_fail, "on the line is not below it"}, {"", Condition_Set, true},
          {{Set_Limit_Test, false}, Condition_Set, false}, {{Set_Limit_Test, true}}});
    Put_Trace(-60);

    Set_Limit_Points(1, std::vector<Limit_Point>{{250e6, -70}, {350e6, -70}});
    Choose_Limit_Lines(0, 1);
    Put_Level(240, -80);
    Walk({{"", Verdict, verdict_fail},
          {{Set_Limit_Mode, 1}, PassFailTestRange, (std::array<std::int32_t, 2>{160, 210})},
          {"", Verdict, verdict_pass}});
    Put_Level(160, -80);
    EXPECT_EQ(Verdict(), verdict_fail);

    Trace_Data[0].mode[0] = trace_blank;
    Trace_Data[0].mode[2] = trace_view;
    Trace_Data[0].rows[2].fill(300);
    EXPECT_EQ(Verdict(), verdict_pass) << "the first trace that is shown takes the place of a blank one";
    Delete_Limit_Line(0);
    Delete_Limit_Line(1);
    Walk({{"", Limit_Test.on, 0}, {"", Verdict, verdict_none}});
}

TEST_F(Limit_Lines_Test, Peak_And_Minimum_Lie_Inside_The_Range_And_The_Limits) {
    High_Line(200e6, 300e6, -30);
    Put_Level(150, -40);
    Put_Level(400, -35);
    Set_Pass_Criterion(criterion_peak);
    EXPECT_EQ(Verdict(), verdict_fail) << "the peak is outside, though below the limit's level";
    Put_Level(400, -60);
    EXPECT_EQ(Verdict(), verdict_pass);
    Put_Level(150, -20);
    Walk({{"", Verdict, verdict_fail}, {{Set_Pass_Criterion, criterion_minimum}}});
    Put_Level(120, -90);
    EXPECT_EQ(Verdict(), verdict_pass);
    Put_Level(500, -95);
    EXPECT_EQ(Verdict(), verdict_fail);
}

TEST_F(Limit_Lines_Test, A_Line_From_A_Trace_Lets_It_Pass_And_Nothing_Above_It) {
    for (std::size_t column = 0; column < trace_points; ++column) {
        Put_Level(column, -60 + 25 * std::sin(static_cast<double>(column) / 13));
    }
    ASSERT_TRUE(Limit_From_Trace(0, 0, 3));
    ASSERT_TRUE(Limit_From_Trace(1, 0, 3));
    Walk({{"", [&] { return Frequencies(0).front(); }, 100e6}, {"", [&] { return Frequencies(0).back(); }, 700e6}});
    Choose_Limit_Lines(0, no_limit_line);
    Set_Limit_Test(true);
    EXPECT_EQ(Verdict(), verdict_pass);
    Put_Level(333, -20);
    EXPECT_EQ(Verdict(), verdict_fail);
    EXPECT_FALSE(Limit_From_Trace(0, 1, 3)) << "blank";
    EXPECT_FALSE(Limit_From_Trace(0, 4, 3));
    Set_Span(2, 0);
    EXPECT_FALSE(Limit_From_Trace(0, 0, 3));
}

TEST_F(Limit_Lines_Test, Lines_Off_The_Screen_Harm_Nothing) {
    High_Line(800e6, 900e6, -90);
    EXPECT_EQ(Verdict(), verdict_pass);
    High_Line(0, 50e6, -90);
    EXPECT_EQ(Verdict(), verdict_pass);
    High_Line(0, 3e9, -90);
    EXPECT_EQ(Verdict(), verdict_fail);
    Set_Limit_Points(0, std::vector<Limit_Point>{{890e6, -90}});  // 10 + 790 is the mark of an entry without place
    Walk({{"", Limit_Lines[0].pixel[0].column, 801}, {[] { Set_Axis(400e6, 100); }}});
    High_Line(0, 3e9, -90);
    EXPECT_EQ(Verdict(), verdict_fail);
}

TEST_F(Limit_Lines_Test, Numbers_Of_A_File_Are_Cut) {
    EXPECT_EQ(Limit_File_Number(1500000), "1500000");
    EXPECT_EQ(Limit_File_Number(-20.5), "-20.5");
    EXPECT_EQ(Limit_File_Number(-31.0 / 3), "-10.33333333333") << "the sixteenth character goes";
    EXPECT_EQ(Limit_File_Number(1234567890123456), "1234567890123456");
    EXPECT_EQ(Limit_File_Number(123456789012345.5), "123456789012345") << "and a point without a digit after it";
    EXPECT_EQ(Limit_File_Number(1e-7), "1") << "an exponent is cut off";
}

class Limit_Files : public Limit_Lines_Test {
protected:
    static constexpr const char* path = "/mnt/nand/mask.lim";
    static inline const std::vector<Limit_Point> mask{{100e6, -20}, {250.5e6, -30.25}, {300e6, -40}};
    void SetUp() override {
        Limit_Lines_Test::SetUp();
        std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
        std::filesystem::create_directories(platform::Rooted("/var/log"));
        Set_Limit_Points(0, mask);
    }
    void Refused(std::string_view content) {
        root.Write(path, std::string(content));
        EXPECT_EQ(read_savefile(path, 0), Limit_File::damaged) << content;
        EXPECT_EQ(Frequencies(0).size(), mask.size());
    }
};

TEST_F(Limit_Files, What_Is_Saved_Comes_Back) {
    ASSERT_TRUE(limitline_savefile(path, 0));
    EXPECT_EQ(root.Read(path), "kva720\r\n3,100000000,-20,250500000,-30.25,300000000,-40,");
    ASSERT_EQ(read_savefile(path, 5), Limit_File::done);
    EXPECT_EQ(Frequencies(5), Frequencies(0));
    EXPECT_EQ(Point_Of(Limit_Lines[5], 1)->amplitude, -30.25);

    Change_Limit_Point(0, 1, {250e6, 0, false});
    ASSERT_TRUE(limitline_savefile(path, 0));
    EXPECT_EQ(root.Read(path), "kva720\r\n2,100000000,-20,300000000,-40,") << "points that are off stay out";

    std::vector<Limit_Point> ten(10);
    for (std::size_t i = 0; i < ten.size(); ++i) ten[i] = {1e6 * static_cast<double>(i), -1};
    Set_Limit_Points(0, ten);
    ASSERT_TRUE(limitline_savefile(path, 0));
    EXPECT_TRUE(root.Read(path).starts_with("kva720\r\n10,0,-1,"));
    EXPECT_EQ(read_savefile(path, 1), Limit_File::done);
    EXPECT_EQ(Frequencies(1).size(), 10u);
    EXPECT_FALSE(limitline_savefile("/mnt/none/mask.lim", 0));
    EXPECT_NE(root.Read("/var/log/error.log").find("key_limitline.c 3297"), std::string::npos);
}

TEST_F(Limit_Files, A_File_That_Is_None_Leaves_The_Line) {
    ASSERT_TRUE(limitline_savefile(path, 0));
    const std::string whole = root.Read(path);
    for (std::size_t length = 0; length < whole.size(); ++length) Refused(std::string_view(whole).substr(0, length));
    Refused("KVA720\r\n1,1,1,");
    Refused("kva720\r\n3,1,1,2,2,");
    Refused("kva720\r\n1,1,1,2,2,");
    Refused("kva720\r\n1,1e999,1,");
    Refused("kva720\r\n1,nan,1,");
    Refused("kva720\r\n1,,1,");
    Refused("kva720\r\n-1,1,1,");
    Refused("kva720\r\n1.5,1,1,");
    std::string many = "kva720\r\n10000,";
    for (int i = 0; i < 10'000; ++i) many += "1,1,";
    Refused(many);
    EXPECT_EQ(read_savefile("/mnt/nand/none.lim", 0), Limit_File::missing);
    root.Write(path, std::string("kva720\r\n1,\0" "5000\0000000,-7,", 24));
    EXPECT_EQ(read_savefile(path, 0), Limit_File::done) << "NUL bytes are ignored";
    EXPECT_EQ(Frequencies(0), std::vector<double>{5e7});
}

}  // namespace
