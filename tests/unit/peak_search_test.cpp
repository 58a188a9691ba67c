#include "trace/peak_search.h"

#include "records_fixture.h"

namespace {

using Values = std::array<float, trace_points>;
using Columns = std::vector<int>;

/// Searches in traces that are made for it: a floor with peaks on it.
class Peaks : public Factory_Records {
protected:
    void SetUp() override {
        Factory_Records::SetUp();
        Amp.attenuation = {10, 10};
        Factory_Settings();
        Set_Cent(2, 1e9);
        Set_Span(2, 60e6);
        values.fill(-100);
    }
    /// A triangle: a peak whose neighbours fall by 2 dB a column.
    void Peak(int column, float level) {
        for (int i = 0; i < trace_points; ++i) {
            float& value = values[static_cast<std::size_t>(i)];
            value = std::max(value, level - 2 * static_cast<float>(std::abs(i - column)));
        }
    }
    Columns Found() {
        Cal_Peak_Search(values);
        return {Peak_Data.accepted.begin(), Peak_Data.accepted.begin() + Peak_Data.count};
    }
    Columns By_Level() {
        Cal_Peak_Search(values);
        return {Peak_Data.by_amplitude.begin(), Peak_Data.by_amplitude.begin() + Peak_Data.count};
    }
    void Show() { Trace_Data[0].value[0] = values; }
    Values values{};
};

TEST_F(Peaks, FlatRisingAndUnreadableTracesHaveNone) {
    EXPECT_EQ(Found(), Columns{});
    for (std::size_t i = 0; i < trace_points; ++i) values[i] = static_cast<float>(i) * -0.1f;
    Freqs.start[0] = 0;
    EXPECT_EQ(Found(), Columns{}) << "the first column stands at 0 Hz";
    for (const float level : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity()}) {
        values.fill(level);
        EXPECT_EQ(Found(), Columns{}) << level;
    }
}

TEST_F(Peaks, PlateausAreFoundInTheirMiddleUnlessTheyRiseOnOrReachTheEnd) {
    Peak(99, -52), Peak(103, -52);
    for (const std::size_t column : {100, 101, 102}) values[column] = -50;
    values[99] = values[103] = -52;
    EXPECT_EQ(Found(), Columns{101});
    values.fill(-100);
    Peak(200, -50);
    values[201] = -50;
    EXPECT_EQ(Found(), Columns{201}) << "of two the second";
    values.fill(-100);
    for (std::size_t i = 300; i < 320; ++i) values[i] = -80;
    for (std::size_t i = 320; i < 330; ++i) values[i] = -60;
    EXPECT_EQ(Found(), Columns{325}) << "the step before it is none";
    values.fill(-100);
    for (std::size_t i = 580; i < trace_points; ++i) values[i] = -60;
    EXPECT_EQ(Found(), Columns{}) << "where the plateau ends is not seen";
}

TEST_F(Peaks, TheEndsCountWhereTheTraceFallsFromThem) {
    Peak(0, -30), Peak(600, -40);
    EXPECT_EQ(Found(), (Columns{0, 600}));
    values.fill(-100);
    Peak(1, -30), Peak(599, -40);
    EXPECT_EQ(Found(), (Columns{1, 599}));
}

TEST_F(Peaks, TheExcursionIsAskedForOnBothSides) {
    const auto valley = [&](float depth) {
        values.fill(-100);
        for (std::size_t i = 300; i <= 310; ++i) values[i] = -50 - depth;
        values[299] = -51, values[300] = -50;
        values[310] = -49.95f, values[311] = -52, values[312] = -70, values[298] = -70;
        return Found();
    };
    Walk({{"", [&] { return valley(2.9f); }, Columns{310}, "the valley is too flat for the lower one"},
          {"", [&] { return valley(3.0f); }, (Columns{300, 310})},
          {{Set_Peak_Excursion, 6}, [&] { return valley(5.9f); }, Columns{310}}});
    values.fill(-50.5f);
    for (int i = 0; i <= 20; ++i) values[static_cast<std::size_t>(i)] = -52 + 0.1f * static_cast<float>(i);
    for (std::size_t i = 21; i < trace_points; ++i) values[i] = -80;
    EXPECT_EQ(Found(), Columns{20}) << "the left side only ends at the edge, with no higher point";
}

TEST_F(Peaks, NoneIsFoundBelowHalfTheResolutionBandwidth) {
    Freqs.start[0] = 0, Freqs.span[0] = 601e3;  // a kilohertz a column
    BW_Data.rbw[0] = 2;                         // 100 kHz
    Peak(50, -20), Peak(52, -20), Peak(0, -10), Peak(300, -40);
    Walk({{"", [&] { return Found(); }, (Columns{52, 300}), "the column before 51 stands at 50 kHz"},
          {"", Peak_Excludenum, 50e3}, {"", Near_DC_Search_Flag, 0, "hard keys wait no longer"}});
}

TEST_F(Peaks, TheThresholdFollowsTheAttenuation) {
    Peak(100, -45), Peak(200, -55), Peak(300, -65);
    Walk({{"", [&] { return Found(); }, (Columns{100, 200, 300})},
          {{Set_Peak_Threshold_State, true}, [&] { return Found(); }, Columns{100}},
          {[] { Amp.attenuation[0] = 20; }, [&] { return Found(); }, (Columns{100, 200})},
          {{Set_Peak_Threshold, -500}, Peak_Data.threshold, -130}, {{Set_Peak_Threshold, 500}, Peak_Data.threshold, 30},
          {{Set_Peak_Excursion, -1}, Peak_Data.excursion, 0}, {{Set_Peak_Excursion, 101}, Peak_Data.excursion, 100},
          {{Set_Peak_Excursion, std::nan("")}, Peak_Data.excursion, 100}});
}

TEST_F(Peaks, EqualPeaksKeepTheOrderOfTheirFrequencies) {
    Peak(100, -50), Peak(200, -50), Peak(300, -20), Peak(400, -50), Peak(500, -60);
    EXPECT_EQ(By_Level(), (Columns{300, 100, 200, 400, 500}));
}

TEST_F(Peaks, ManyPeaksFillTheListsAndTheHighestTheTable) {
    for (std::size_t i = 0; i < trace_points; ++i) values[i] = i % 2 ? -40.0f - static_cast<float>(i) / 100 : -80;
    EXPECT_EQ(Found().size(), 300u);
    std::array<Peak_Row, table_peaks> rows;
    Expect({{Peak_Table_Rows(rows), 10}, {rows[0].column, 1}, {rows[9].column, 19}});
    Walk({{"", Peak_Data.table_frequency[0][9], Freqs.start[0] + 19 * 60e6 / 601},
          {"", Peak_Data.table_level[9], -40, "cut toward zero"}, {{Set_Peak_Order, true}}});
    values[401] = -10;
    Found();
    Peak_Table_Rows(rows);
    EXPECT_EQ(rows[0].column, 401);
}

/// The record's slots beyond the count keep what was there and take part in the sort by frequency; the shown rows don't.
TEST_F(Peaks, SlotsOfTheTableOutliveTheirSearch) {
    Peak(100, -50), Peak(200, -40), Peak(300, -30);
    Found();
    EXPECT_EQ(Peak_Data.table_column, (std::array<std::int32_t, 10>{0, 0, 0, 0, 0, 0, 0, 100, 200, 300}));
    values.fill(-100);
    Peak(400, -30);
    Found();
    EXPECT_EQ(Peak_Data.table_column, (std::array<std::int32_t, 10>{0, 0, 0, 0, 0, 0, 100, 200, 300, 400}));
    std::array<Peak_Row, table_peaks> rows;
    ASSERT_EQ(Peak_Table_Rows(rows), 1);
    EXPECT_EQ(rows[0].column, 400);
}

TEST_F(Peaks, TheMarkerGoesFromPeakToPeak) {
    Peak(100, -50), Peak(200, -30), Peak(300, -40), Peak(400, -60);
    values[550] = -120;
    Show();
    const auto column = [](Peak_Step step) {
        EXPECT_EQ(Search_Peak(3, step), 0);
        return Marker_Data.column[3][0];
    };
    EXPECT_EQ(column(Peak_Step::highest), 200);
    Walk({{"", Marker_Data.on[3][0], 1}, {"", Active_Marker, 3}});
    Expect({{column(Peak_Step::next), 300}, {column(Peak_Step::next), 100}, {column(Peak_Step::next), 400},
            {column(Peak_Step::next), 400, "the lowest is the last"}, {column(Peak_Step::left), 300},
            {column(Peak_Step::left), 200}, {column(Peak_Step::left), 100}, {column(Peak_Step::left), 100},
            {column(Peak_Step::right), 200}, {column(Peak_Step::lowest), 550}});
    Set_Marker_Type(3, true);
    EXPECT_EQ(column(Peak_Step::highest), 550) << "a delta marker stays";
    EXPECT_EQ(Marker_Data.delta_column[3][0], 200) << "and its partner goes";
}

TEST_F(Peaks, WithoutAPeakOrATraceNothingMoves) {
    values.fill(-50);
    Show();
    Set_Marker_Place(0, 1.01e9);
    for (const Peak_Step step : {Peak_Step::highest, Peak_Step::next, Peak_Step::right, Peak_Step::left}) {
        EXPECT_EQ(Search_Peak(0, step), -200);
    }
    values.fill(std::numeric_limits<float>::quiet_NaN());
    Show();
    EXPECT_EQ(Search_Peak(0, Peak_Step::lowest), -200);
    Peak(100, -50);
    Show();
    Trace_Data[0].mode.fill(trace_blank);
    for (const Peak_Step step : {Peak_Step::highest, Peak_Step::lowest}) EXPECT_EQ(Search_Peak(0, step), -200);
    EXPECT_EQ(Marker_Data.column[0][0], 400);
}

TEST_F(Peaks, TheHighestAndLowestPointsAreTheFirstOnes) {
    values[10] = values[20] = -20;
    values[30] = values[40] = -120;
    Walk({{"", [&] { return Ext_Peak_Max(values); }, 10}, {"", [&] { return Ext_Peak_Min(values); }, 30}});
    values.fill(-7);
    Walk({{"", [&] { return Ext_Peak_Max(values); }, 0}, {"", [&] { return Ext_Peak_Min(values); }, 0}});
}

TEST_F(Peaks, TheSearchedTraceIsTheMarkersElseTheActiveElseAnyShown) {
    Peak(100, -50);
    Trace_Data[0].value[2] = values;
    Trace_Data[0].mode = {trace_clear_write, trace_blank, trace_view, trace_blank};
    SelectTraceForPeakSearch();
    Walk({{"", Peak_Data.trace, 0}, {"", [&] { return Set_Marker_Trace(0, 2); }, 0}});
    SelectTraceForPeakSearch();
    Walk({{"", Peak_Data.trace, 2}, {"", Peak_Data.count, 1},
          {"", [&] { return Set_Marker_Trace(0, 1); }, -221, "blank"}, {[] { Set_Marker_Trace_Auto(0, true); }},
          {[] { Trace_Data[0].mode[0] = trace_blank; }}});
    SelectTraceForPeakSearch();
    EXPECT_EQ(Peak_Data.trace, 2);
}

}  // namespace
