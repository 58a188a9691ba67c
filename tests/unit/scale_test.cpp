#include "trace/scale.h"

#include <random>

#include "keys/level_units.h"
#include "records/normalisation.h"
#include "records_fixture.h"

namespace {

class Scale : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        Amp_ArrayInit();
    }
};

TEST_F(Scale, LevelsStandOnTheirRows) {
    const Row_Scale scale{};
    Expect({{dBmTOpixel(0, scale, true), 58}, {dBmTOpixel(-10, scale, true), 103},
            {dBmTOpixel(-0.1, scale, true), 58, "truncated toward the reference"}, {dBmTOpixel(-200, scale, true), 508},
            {dBmTOpixel(50, scale, true), 58}, {dBmTOpixel(50, scale, false), 58 - 225},
            {dBmTOpixel(-15, {.code = 1, .reference = -10}, true), 103},
            {dBmTOpixel(-13, {.code = 2, .reference = -10}, true), 58 + 67},
            {dBmTOpixel(-13, {.code = 3, .reference = -10}, true), 58 + 135},
            {dBmTOpixel(std::nan(""), scale, true), 508}});
    Walk({{"", [&] { return Pixel2dBm(58); }, Near{0, 1e-9}}, {"", [&] { return Pixel2dBm(283); }, Near{-50, 0.2}}});
}

TEST_F(Scale, TheLinearScaleEndsAtZeroVolts) {
    const Row_Scale linear{.reference = -20, .type = 1};
    EXPECT_EQ(dBmTOpixel(-20, linear, true), 58);
    EXPECT_EQ(dBmTOpixel(-20 - 20 * std::log10(2.0), linear, true), 283) << "half the voltage";
    EXPECT_EQ(dBmTOpixel(-40, linear, true), 58 + 405) << "a tenth of it";
    for (const double nothing : {-180.0, -1e9, -std::numeric_limits<double>::infinity(), std::nan("")}) {
        EXPECT_EQ(dBmTOpixel(nothing, linear, true), 508) << nothing;
    }
    for (const double above : {-19.0, 30.0, 1e9, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(dBmTOpixel(above, linear, true), 58) << above;
    }
    Expect({{dBmTOpixel(-20 + 20 * std::log10(2.0), linear, false), 58 - 450, "lines go on above the top"},
            {VoltsTOpixel(0.05, 0.1, linear, true), 283}, {VoltsTOpixel(0, 0.1, linear, true), 508},
            {VoltsTOpixel(-0.1, 0.1, linear, true), 508}, {VoltsTOpixel(0.2, 0.1, linear, false), 58 - 450},
            {dBm2pixel(-40, linear, true), 58 + 90, "the logarithmic row all the same"}});
}

/// The table of rows against the voltage itself, at each row's edges, close around them and anywhere between.
TEST_F(Scale, TheTableOfLinearRowsIsExact) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> anywhere(0, 70);
    const auto expect = [](double below) {
        const int row = 58 + static_cast<int>(std::round(450 * (1 - std::pow(10, -below / 20))));
        ASSERT_EQ(dBmTOpixel(-below, {.type = 1}, true), row) << below;
    };
    for (int i = 0; i < 200'000; ++i) expect(anywhere(random));
    for (int row = 1; row <= 450; ++row) {
        double edge = -20 * std::log10(1 - (row - 0.5) / 450);
        for (int i = 0; i < 8; ++i) edge = std::nextafter(edge, 0);
        for (int i = 0; i < 16; ++i, edge = std::nextafter(edge, 100)) expect(edge);
    }
    for (int i = 0; i < 70 * 64; ++i) expect(i / 64.0);
}

TEST_F(Scale, RowsTurnBackIntoStoredLevels) {
    Set_ReflevelOffset(typed, 30);
    Set_Reflevel(typed, 10);
    for (const bool linear : {false, true}) {
        Set_Linear_Scale(linear);
        EXPECT_NEAR(Pixel2dBm(58), -20, 1e-9) << "at the input";
        for (const int row : {60, 103, 250, 400}) {
            EXPECT_NEAR(dBmTOpixel(Pixel2dBm(row), Active_Scale(), true), row, 1) << linear;
        }
        EXPECT_EQ(Line_Level(0), 10) << "as shown";
    }
    Walk({{"", [&] { return Pixel2dBm(508); }, no_level}, {"", [&] { return Line_Level(10); }, no_level},
          {"", [&] { return Line_Level(9); }, Near{-10, 1e-9}, "a tenth of the voltage"}, {{Set_Linear_Scale, false}},
          {{display_scale, 2}, [&] { return Line_Level(10); }, -10}, {"", Shown_Level_Offset, 30}});
}

/// The difference d of a normalised trace adds d - d / m, m the scale's part of 10 dB, in whole numbers.
TEST_F(Scale, ANormalisedTraceIsDrawnHigherOnTheFinerScales) {
    TG_Pos_Diff_Value = 21;
    const auto row = [](double decibels, double dbm) {
        display_scale(typed, decibels);
        return dBmTOpixel(dbm, Active_Scale(), false);
    };
    EXPECT_EQ(row(5, -40), 58 + 360) << "while it is off";
    Sys_Data.tracking_normalised = 1;
    EXPECT_EQ(row(10, -40), 58 + 180);
    EXPECT_EQ(row(5, -40), 58 + 9 * (40 - 11));
    EXPECT_EQ(row(2, -40), 58 + 45 * (40 - 17) / 2);
    EXPECT_EQ(row(1, -40), 58 + 45 * (40 - 19));
    Set_Linear_Scale(true);
    EXPECT_EQ(dBmTOpixel(0, Active_Scale(), false), 58) << "not on the linear scale";
}

}  // namespace
