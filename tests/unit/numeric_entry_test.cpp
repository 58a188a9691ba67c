#include "keys/key_codes.h"
#include "keys/number_format.h"
#include "records/keystate.h"
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
        for (int i = 0; i < AllKeyVar.count; ++i) text += static_cast<char>(AllKeyVar.digit[static_cast<std::size_t>(i)]);
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
    EXPECT_EQ(Confirmed("433.92", 1), 433'920'000);
    EXPECT_EQ(keylink.load(), &page);
    EXPECT_EQ(Confirmed("1.2345678", 3), 1);
    EXPECT_EQ(Confirmed("1.5", 3), 2);
    EXPECT_EQ(Confirmed("-2.5", 2), -2500);
    EXPECT_EQ(Confirmed("200", 0), 103'300'050'000.0);
    EXPECT_EQ(Confirmed("", 1), 0);
}

TEST_F(Numeric_Entry, ConfirmingLeavesNothingTypedBehind) {
    Confirmed("12", 1);
    EXPECT_EQ(AllKeyVar.count, 0);
    EXPECT_EQ(AllKeyVar.clear, 1);
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

Formatted_Value Split(double value, int decimals = 0) {
    Formatted_Value result;
    freqvalue_trans(value, decimals, result);
    return result;
}

TEST_F(Numeric_Entry, FrequenciesSplitIntoMantissaAndUnit) {
    EXPECT_EQ(Split(999'999).unit_group, 1);
    EXPECT_DOUBLE_EQ(Split(999'999).mantissa, 999.999);
    EXPECT_EQ(Split(1'000'000).unit_group, 2);
    EXPECT_DOUBLE_EQ(Split(1'000'000).mantissa, 1);
    EXPECT_DOUBLE_EQ(Split(1'234'567, 3).mantissa, 1.235) << "rounds half up";
    EXPECT_DOUBLE_EQ(Split(1'234'449, 3).mantissa, 1.234);
    EXPECT_EQ(Split(-5e9).sign, 1);
    EXPECT_EQ(Split(0).unit_group, 0);
    EXPECT_EQ(Split(0.25).unit_group, 0);
    EXPECT_EQ(Split(5e13).unit_group, 3) << "no unit above GHz";
}

std::string Shown(double hertz, bool trim) {
    std::array<char, 40> text{};
    Format_Frequency(hertz, trim, text);
    return text.data();
}

TEST_F(Numeric_Entry, ShownFrequenciesKeepTheirDigits) {
    EXPECT_EQ(Shown(433'920'000, false), "433.920 000 MHz");
    EXPECT_EQ(Shown(2e6, true), "2.000 MHz");
    EXPECT_EQ(Shown(2'000'001, true), "2.000 001 MHz");
    EXPECT_EQ(Shown(1'625'000'000, false), "1.625 000 000 GHz");
    EXPECT_EQ(Shown(100, true), "100 Hz");
    EXPECT_EQ(Shown(0, true), "0 Hz");
    EXPECT_EQ(Shown(-1500, true), "-1.500 kHz");
}

}  // namespace
