#include "keys/unit_pages.h"

#include <random>

#include "display/layers.h"
#include "keys/handlers.h"
#include "records_fixture.h"

namespace {

struct Handed_On {
    int times = 0, group = -1, digits = -1;
    double value = -1;
};
Handed_On handed_on;

int Take_Value(int mode, double value) {
    if (mode == 2) handed_on = {handed_on.times + 1, AllKeyVar.unit_group, AllKeyVar.count, value};
    return 0;
}

/// A page of which key 0 takes values of any kind.
class Unit_Pages : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        root.Write("/var/log/error.log", "");
        handed_on = {};
        page.highlight = 0;
        page.value_handler[0] = Take_Value;
        keylink = &page;
    }
    void TearDown() override {
        Amp = {};
        FunctionMode_Flag = mode_spectrum;
        Records::TearDown();
    }
    void Begin(char unit_type, bool may_be_negative = true) {
        keylink = &page;
        menus::Begin_Entry(unit_type, may_be_negative);
    }
    static void Press(std::string_view keys) {
        for (const char key : keys) Keypad_Exe(key);
    }
    /// What the handler gets for typed keys and a unit key from 0.
    double Entered(char unit_type, std::string_view keys, int unit) {
        Begin(unit_type);
        Press(keys);
        Keypad_Exe(key_soft_first + unit);
        EXPECT_EQ(keylink.load(), &page) << keys;
        return handed_on.value;
    }
    bool Refused(char unit_type, std::string_view keys) {
        Begin(unit_type);
        Press(keys);
        const int before = handed_on.times;
        const int typed = AllKeyVar.count;
        Keypad_Exe(key_soft_first);
        EXPECT_EQ(AllKeyVar.count, typed) << "nothing typed is lost";
        return handed_on.times == before && keylink.load() != &page;
    }
    Menu_Page page;
};

TEST_F(Unit_Pages, EachUnitTypeOpensItsPage) {
    for (const auto& [type, number] : std::to_array<std::pair<char, std::size_t>>(
             {{'1', 0}, {'6', 1}, {'7', 2}, {'8', 2}, {'9', 2}, {'a', 5}, {'b', 6}, {'c', 7}, {'d', 8}, {'e', 9},
              {'f', 10}, {'g', 11}, {'h', 12}, {'i', 13}, {'j', 14}, {'l', 16}, {'m', 17}, {'n', 18}, {'o', 19}})) {
        Begin(type);
        Press("1");
        EXPECT_EQ(keylink.load(), &NumLink[number]) << type;
        EXPECT_EQ(NumLink[number].parent, &page);
    }
    Amp.unit = unit_volt;
    Begin('7');
    Press("-1");
    Walk({{"", NumLink[3]}, {"", AllKeyVar.sign, key_idle, "no volts below zero"}, {[] { Amp.unit = unit_watt; }}});
    Begin('7');
    Press("1");
    EXPECT_EQ(keylink.load(), &NumLink[4]);
    for (const char type : {'2', '3', '4', '5', 'z'}) {
        Begin(type);
        Press("1");
        EXPECT_EQ(keylink.load(), &page) << type;
    }
}

TEST_F(Unit_Pages, NumbersReachTheHandlerInBaseUnits) {
    struct Case {
        char type;
        const char* keys;
        int key;
        double value;
    };
    for (const auto& [type, keys, key, value] : std::to_array<Case>({
             {'7', "-32.4", 0, -32.4}, {'7', "46.99", 1, 0}, {'7', "106.99", 2, 0}, {'7', "99999", 0, 1000},
             {'a', "-0.5", 0, -0.5}, {'a', "5000", 0, 1000}, {'b', "-80", 0, -80}, {'c', "12.5", 0, 12.5},
             {'d', "2.5", 0, 3}, {'d', "-2.5", 0, -3}, {'d', "999999999999", 0, most_whole}, {'e', "0.35", 0, 0.35},
             {'f', "-100", 0, -100}, {'f', "-40", 1, -100}, {'j', "4.8", 1, 4800}, {'j', "1", 0, 1e6},
             {'j', "99999", 0, 1e9}, {'j', "300", 2, 300}, {'l', "3", 1, 3000}, {'l', "80", 3, 80}, {'m', "40", 3, 40},
             {'n', "-12.3", 1, -12.3}, {'o', "1.5", 0, 5400}, {'o', "2", 1, 120}, {'o', "250", 3, 0.25},
             {'h', "20280229", 0, 20280229}, {'i', "093000", 0, 93000}, {'i', "0", 0, 0}, {'1', "2.4", 1, 2.4e6},
             {'6', "20", 2, 0.02}
         })) {
        EXPECT_DOUBLE_EQ(Entered(type, keys, key), value) << type << ' ' << keys;
    }
    Entered('m', "40", 3);
    EXPECT_EQ(handed_on.group, 3) << "the handler can tell dBuA/m from dBuV";
    Amp.unit = unit_volt;
    EXPECT_NEAR(Entered('7', "1", 1), -46.98970004336, 1e-9);
    EXPECT_EQ(Entered('7', "0", 0), -1000);
    Amp.unit = unit_watt;
    EXPECT_DOUBLE_EQ(Entered('7', "2.5", 2), -26);
}

TEST_F(Unit_Pages, WhatIsNoDayOrTimeStaysTyped) {
    for (const char* date :
         {"20270229", "20271301", "20270100", "19991231", "21000101", "1", "2027.0101", "-20270101"}) {
        EXPECT_TRUE(Refused('h', date)) << date;
    }
    for (const char* clock : {"240000", "6000", "60", "1.5", "-1"}) EXPECT_TRUE(Refused('i', clock)) << clock;
    EXPECT_EQ(Check_warning, 1) << "the message goes with the next key";
    Press("BB1");
    Keypad_Exe(key_soft_first);
    EXPECT_EQ(handed_on.value, 1);
}

/// The address page as the system menu has it.
class Addresses : public Unit_Pages {
protected:
    void SetUp() override {
        Unit_Pages::SetUp();
        kept = SysLink[11];
        SysLink[11] = page;
        Begin();
    }
    void TearDown() override {
        SysLink[11] = kept;
        Unit_Pages::TearDown();
    }
    static void Begin() {
        keylink = &SysLink[11];
        menus::Begin_Entry('g', false);
    }
    /// The address handed on, or -1.
    static double Address(std::string_view keys) {
        handed_on = {};
        Begin();
        Press(keys);
        Keypad_Exe(key_soft_first);
        return handed_on.value;
    }
    Menu_Page kept;
};

TEST_F(Addresses, TakeSeveralPoints) {
    Expect({{Address("192.168.1.10"), 0xc0a8010a}, {Address("255.255.255.255"), 0xffffffff, "fifteen characters"},
            {Address("0.0.0.0"), 0}, {Address(".0.0.1"), 1, "a zero stands before the first point"},
            {Address("10.0.0.19B"), 0x0a000001, "backspace takes one character"},
            {Address("1.2.BBB4.5.6.7"), 0x0e050607}});
    for (const char* bad : {"1.2.3", "1.2.3.4.5", "1.2.3.256", "1..2.3", "1.2.3.", "1234", "1.2.3.0004", "1"}) {
        EXPECT_EQ(Address(bad), -1) << bad;
        EXPECT_EQ(keylink.load(), &NumLink[11]);
    }
    SysLink[11].highlight = 3;
    Begin();
    Press("1.2.3");
    Walk({{"", AllKeyVar.point, 1, "on its other keys numbers have one point"}, {"", AllKeyVar.count, 3}});
}

TEST_F(Unit_Pages, WordsKeepTheirZerosAndLetters) {
    Begin('5');
    Num_HwKey('5');
    keyvarecover();
    for (const char c : {'0', '0', '.', '-'}) Numberkey(c);
    for (const int letter : {0, 5}) Keypad_Exe(key_soft_first + letter);
    Numberkey('7');
    Keypad_Exe(key_soft_last);
    EXPECT_EQ(handed_on.value, 0xaf7);
    EXPECT_EQ(handed_on.digits, 5);
    Num_HwKey('5');
    for (int i = 0; i < 40; ++i) Keypad_Exe(key_soft_first + i % 6);
    EXPECT_EQ(AllKeyVar.count, typed_characters);
}

TEST_F(Unit_Pages, KeysThatDoNotFitTheModulationAreInert) {
    FunctionMode_Flag = mode_fsk;
    Begin('l');
    Press("5");
    Keypad_Exe(key_soft_first + 4);
    EXPECT_EQ(handed_on.times, 0);
    Keypad_Exe(key_soft_first + 1);
    Walk({{"", [&] { return handed_on.value; }, 5000}, {[] { FunctionMode_Flag = mode_ask; }}});
    Begin('l');
    Press("5");
    Keypad_Exe(key_soft_first + 1);
    EXPECT_EQ(handed_on.times, 1);
    Keypad_Exe(key_soft_first + 5);
    EXPECT_EQ(handed_on.value, 0.005);
}

TEST_F(Unit_Pages, KeysWithoutUnitDoNothing) {
    Begin('7');
    Press("5");
    for (int key = 3; key < soft_keys; ++key) Keypad_Exe(key_soft_first + key);
    Num_Swkey(7, '7');
    Num_Swkey(-1, '7');
    EXPECT_EQ(handed_on.times, 0);
    EXPECT_NE(root.Read("/var/log/error.log").find("Num_Swkey error"), std::string::npos);
}

/// What is typed, as a plain text.
struct Typed_Text {
    bool negative = false, closed = false;
    std::string text;

    long Digits() const { return std::count_if(text.begin(), text.end(), [](char c) { return c != '.'; }); }
    bool Point() const { return text.find('.') != std::string::npos; }
    void Key(char key, bool minus_allowed) {
        if (key == '-') {
            if (minus_allowed) negative = !negative;
        } else if (key == '.') {
            if (Point() || Digits() == 12) return;
            if (text.empty()) text = "0";
            text += '.';
        } else if (key == 'B') {
            if (!text.empty()) {
                text.pop_back();
            } else {
                closed = !negative;
                negative = false;
            }
        } else if (key < '0' || key > '9') {
            return;
        } else if (text == "0") {
            text = key;
        } else if (Digits() < 12) {
            text += key;
        }
    }
    double Value() const { return text.empty() ? 0 : std::stod(text) * (negative ? -1 : 1); }
};

double Whole_Hertz(double value, double scale) {
    const double magnitude = std::fabs(value) * scale;
    if (magnitude >= 103'300'050'000.0) return 103'300'050'000.0;
    const double whole = std::floor(magnitude) + (magnitude - std::floor(magnitude) >= 0.5 ? 1 : 0);
    return value < 0 ? -whole : whole;
}

TEST_F(Unit_Pages, AnyOrderOfKeysGivesTheValueOfItsText) {
    struct Unit {
        char type;
        int key;
        double (*value)(double typed);
    };
    constexpr auto units = std::to_array<Unit>({
        {'1', 0, [](double v) { return Whole_Hertz(v, 1e9); }},
        {'1', 1, [](double v) { return Whole_Hertz(v, 1e6); }},
        {'1', 3, [](double v) { return Whole_Hertz(v, 1); }},
        {'6', 0, [](double v) { return v * 1e3; }},
        {'6', 4, [](double v) { return v / 1e9; }},
        {'a', 0, [](double v) { return std::clamp(v, -1000.0, 1000.0); }},
        {'d', 0, [](double v) { return std::round(std::clamp(v, -most_whole, most_whole)); }},
        {'e', 0, [](double v) { return v; }},
        {'o', 1, [](double v) { return v * 60; }},
    });
    constexpr std::string_view keys = "0123456789012345678900....--BBBBduwz";
    constexpr std::size_t steps = 4;  // arrows and knob, which open no unit page
    std::mt19937 random(720);
    const auto any = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    for (int round = 0; round < 3000; ++round) {
        const Unit& unit = units[any(units.size())];
        const bool minus_allowed = any(2) == 0;
        Begin(unit.type, minus_allowed);
        Typed_Text model;
        std::string pressed;
        for (std::size_t i = 0, count = 1 + any(30); i < count && !model.closed; ++i) {
            pressed += keys[any(i == 0 ? keys.size() - steps : keys.size())];
            Keypad_Exe(pressed.back());
            model.Key(pressed.back(), minus_allowed);
        }
        SCOPED_TRACE(unit.type + (" " + pressed));
        if (model.closed) {
            ASSERT_EQ(keylink.load(), &page);
            continue;
        }
        ASSERT_EQ(AllKeyVar.count, model.Digits());
        const int times = handed_on.times;
        Keypad_Exe(key_soft_first + unit.key);
        ASSERT_EQ(handed_on.times, times + 1);
        ASSERT_DOUBLE_EQ(handed_on.value, unit.value(model.Value()));
    }
}

TEST_F(Addresses, NoOrderOfKeysLeavesTheArrays) {
    std::vector<std::byte> pixels(std::size_t{screen_width} * screen_height * 2);
    fbOsd0 = {pixels.data(),
              nullptr,
              -1,
              screen_width,
              screen_height,
              16,
              screen_width * 2,
              static_cast<std::uint32_t>(pixels.size())};
    constexpr std::string_view types = "16789abcdefghijlmno5", keys = "0123456789....-BBdlruwxyz{|G";
    std::mt19937 random(103);
    const auto any = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    for (int round = 0; round < 2000; ++round) {
        Menu_Page& opened = any(2) ? SysLink[11] : page;
        keylink = &opened;
        opened.highlight = static_cast<std::uint8_t>(any(8) == 7 ? no_highlight : any(4));
        Amp.unit = static_cast<int>(any(5));
        const char type = types[any(types.size())];
        menus::Begin_Entry(type, any(2) == 0);
        if (type == '5') Num_HwKey(type);
        for (std::size_t i = 0, count = any(60); i < count; ++i) {
            const char key = keys[any(keys.size())];
            if (any(12) == 0 && Current_Page().family == 24) {
                Keypad_Exe(key_soft_first + static_cast<std::int32_t>(any(7)));
            } else if (type == '5' && Current_Page().family == 24) {
                Numberkey(key);
            } else {
                Keypad_Exe(key);
            }
            ASSERT_LE(AllKeyVar.count, typed_characters);
            ASSERT_LE(drawNumberVal.count, static_cast<int>(drawNumberVal.glyph.size()));
            ASSERT_TRUE(AllKeyVar.point == no_point || AllKeyVar.point <= AllKeyVar.count);
            ASSERT_FALSE(std::isnan(handed_on.value));
        }
    }
    fbOsd0 = {};
}

}  // namespace
