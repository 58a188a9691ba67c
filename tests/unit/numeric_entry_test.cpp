#include "keys/number_format.h"
#include "records_fixture.h"

namespace {

double handed_on = -1;
int Take_Value(int mode, double value) {
    if (mode == 2) handed_on = value;
    return 0;
}

class Numeric_Entry : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        handed_on = -1;
        FLAG_BLOCK_MINUS_KEY = 0;
        page.highlight = 0;
        page.value_handler[0] = Take_Value;
        unit_page.parent = &page;
        unit_page.family = 24;
        keylink = &unit_page;
    }
    static void Type(std::string_view keys) {
        for (const char key : keys) Numberkey(key);
    }
    static std::string Digits() {
        std::string text;
        for (int i = 0; i < AllKeyVar.count; ++i)
            text += static_cast<char>(AllKeyVar.digit[static_cast<std::size_t>(i)]);
        return text;
    }
    /// The value that the highlighted key gets for typed keys and a unit key (0 GHz to 3 Hz).
    double Confirmed(std::string_view keys, int unit) {
        clean_keybuffer();
        keylink = &unit_page;
        Type(keys);
        fNumBase(unit);
        return handed_on;
    }
    Menu_Page page, unit_page;
};

TEST_F(Numeric_Entry, LeadingZerosPointsAndTheThirteenthDigit) {
    Type("005");
    EXPECT_EQ(Digits(), "5");
    clean_keybuffer();
    Type("..5");
    EXPECT_EQ(Digits(), "05");
    EXPECT_EQ(AllKeyVar.point, 1);
    clean_keybuffer();
    Type("1234567890123.");
    EXPECT_EQ(Digits(), "123456789012");
    EXPECT_EQ(AllKeyVar.point, no_point) << "no point behind the twelfth digit";
}

TEST_F(Numeric_Entry, BackspaceTakesOneCharacterAtATime) {
    Type("-12.");
    Numberkey(key_backspace);
    EXPECT_EQ(AllKeyVar.point, no_point);
    EXPECT_EQ(Digits(), "12");
    Type("B");
    Type("B");
    EXPECT_EQ(AllKeyVar.sign, 1);
    Type("B");
    EXPECT_EQ(AllKeyVar.sign, key_idle);
    Type("B");
    EXPECT_EQ(keylink.load(), &page) << "on an empty entry it returns from the unit page";
}

TEST_F(Numeric_Entry, MinusTogglesUnlessBlocked) {
    Type("-5-");
    EXPECT_EQ(AllKeyVar.sign, key_idle);
    FLAG_BLOCK_MINUS_KEY = 1;
    Type("-");
    EXPECT_EQ(AllKeyVar.sign, key_idle);
}

TEST_F(Numeric_Entry, UnitsScaleToWholeHertz) {
    Expect({{Confirmed("433.92", 1), 433'920'000}, {keylink.load(), &page}, {Confirmed("1.2345678", 3), 1},
            {Confirmed("1.5", 3), 2}, {Confirmed("-2.5", 2), -2500}, {Confirmed("200", 0), 103'300'050'000.0},
            {Confirmed("", 1), 0}});
}

TEST_F(Numeric_Entry, ConfirmingLeavesNothingTypedBehind) {
    Confirmed("12", 1);
    EXPECT_EQ(AllKeyVar.count, 0);
    EXPECT_EQ(AllKeyVar.clear, 1);
}

TEST_F(Numeric_Entry, TheDrawnNumberFollowsSignDigitsAndPoint) {
    for (std::size_t i = 0; i < entry_field_start; ++i) allNumData[i] = static_cast<std::int16_t>(10 + i);
    allNumData[entry_field_start] = 12;
    auto glyphs = [] {
        std::string text;
        for (int i = 0; i < drawNumberVal.count; ++i) {
            const Drawn_Glyph& glyph = drawNumberVal.glyph[static_cast<std::size_t>(i)];
            text += std::to_string(glyph.glyph) + '@' + std::to_string(glyph.x) + ' ';
        }
        return text;
    };
    Type("4.2");
    EXPECT_EQ(glyphs(), "4@12 12@26 2@48 ");
    EXPECT_EQ(numberIndex, 3);
    Type("-");
    EXPECT_EQ(glyphs(), "10@12 4@32 12@46 2@68 ") << "they make room for the sign";
    EXPECT_EQ(numberIndex, 3);
    Type("-BB7");
    EXPECT_EQ(glyphs(), "4@12 7@26 ") << "digits join the integer part where the point was";
    allNumData = {};
}

TEST_F(Numeric_Entry, FrequenciesLeaveTheirUnitAndPoint) {
    auto entered = [](std::string_view keys, int exponent) {
        clean_keybuffer();
        Type(keys);
        const double value = FunitChang(exponent);
        return std::tuple(value, AllKeyVar.unit_group, AllKeyVar.point);
    };
    using Entered = std::tuple<double, std::uint8_t, std::uint16_t>;
    EXPECT_EQ(entered("200", 9), Entered(103'300'050'000.0, 3, 1));
    EXPECT_EQ(entered("103.30005", 9), Entered(103'300'050'000.0, 3, 1));
    EXPECT_EQ(entered("103.300049999", 9), Entered(103'300'049'999.0, 3, 3));
    EXPECT_EQ(entered("1234567", 0), Entered(1'234'567, 2, 1));
    EXPECT_EQ(entered("-25000", 3), Entered(-25e6, 2, 2));
    EXPECT_EQ(entered("-0.4", 0), Entered(0, 0, 1));
    EXPECT_FALSE(std::signbit(std::get<0>(entered("-0", 0))));
}

TEST_F(Numeric_Entry, TimesReachTheirHandlerInSeconds) {
    struct Case {
        const char* keys;
        int key;
        double seconds;
    };
    unit_page.layer = sNumBase;
    for (const auto& [keys, key, seconds] : std::to_array<Case>({{"5", 2, 0.005}, {"0.5", 1, 0.5}, {"2000", 1, 2000},
                                                                 {"1.5", 0, 1500}, {"12", 3, 12e-6},
                                                                 {"7.25", 4, 7.25e-9}, {"0", 2, 0}, {"3", 5, 0},
                                                                 {"-4", 2, -0.004}})) {
        SCOPED_TRACE(keys);
        clean_keybuffer();
        keylink = &unit_page;
        Type(keys);
        sNumBase(key);
        EXPECT_DOUBLE_EQ(handed_on, seconds);
        Expect({{AllKeyVar.value, handed_on}, {keylink.load(), &page}, {AllKeyVar.count, 0}});
    }
}

TEST_F(Numeric_Entry, EnteredTimesAreShownInTheirUnit) {
    struct Case {
        double seconds, value;
        const char* unit;
    };
    constexpr double tiny = std::numeric_limits<double>::denorm_min(), huge = std::numeric_limits<double>::infinity();
    for (const auto& [seconds, value, unit] : std::to_array<Case>({{0, 0, "ns"}, {0.005, 5, "ms"}, {0.5, 500, "ms"},
                                                                   {0.999999, 999.999, "ms"}, {1, 1, "s"},
                                                                   {999.5, 999.5, "s"}, {1000, 1, "ks"}, {2e6, 1, "ks"},
                                                                   {1e-3, 1, "ms"}, {1e-6, 1, "us"}, {1e-9, 1, "ns"},
                                                                   {1e-12, 1, "ps"}, {1e-15, 1, "fs"},
                                                                   {2.5e-16, 0.25, "fs"}, {tiny, 0, "fs"},
                                                                   {huge, 1, "ks"}, {-huge, 0, "ns"},
                                                                   {std::nan(""), 0, "ns"}})) {
        const Shown_Time shown = Time_As_Entered(seconds);
        EXPECT_NEAR(shown.value, value, value * 1e-12 + 1e-300) << seconds;
        EXPECT_STREQ(secUnit[static_cast<std::size_t>(shown.unit)], unit) << seconds;
    }
}

TEST_F(Numeric_Entry, StepsReachTheHighlightedKeyAndAreTakenBack) {
    static int seen = 0;
    page.value_handler[0] = [](int mode, double) {
        seen = mode == 1 ? AllKeyVar.up : -static_cast<int>(AllKeyVar.left);
        return 0;
    };
    keylink = &page;
    Numberkey(key_up);
    EXPECT_EQ(seen, 1);
    Numberkey(key_knob_left_last);
    EXPECT_EQ(seen, -3);
    EXPECT_EQ(AllKeyVar.left, 0);
    page.highlight = no_highlight;
    seen = 0;
    Numberkey(key_up);
    EXPECT_EQ(seen, 0) << "nothing is highlighted";
}

}  // namespace
