#include "keys/dispatch.h"
#include "keys/key_codes.h"
#include "keys/reader.h"
#include "keys/soft_keys.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "records_fixture.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"

namespace {

class Dispatch : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        root.Write("/var/log/error.log", "");
        Freqs_ArrayInit();
        BW_Init();
        Sweep_Init();
        // Labels stand for themselves: without a word list they are blank, not absent.
        keylink = &FreqLink[0];
        Keypad_Exe(key_frequency);
    }
    static void Press(std::initializer_list<std::int32_t> codes) {
        for (const auto code : codes) Keypad_Exe(code);
    }
    static void Type(std::string_view text) {
        for (const char c : text) Keypad_Exe(c);
    }
    std::string Log() { return root.Read("/var/log/error.log"); }
};

constexpr std::int32_t soft(int key) { return key_soft_first + key; }

TEST_F(Dispatch, ACentreAndASpanTypedOnThePanel) {
    Press({key_frequency, soft(0)});
    Type("433.92");
    EXPECT_EQ(keylink.load(), &NumLink[0]) << "a digit opens the unit page";
    Press({soft(1)});
    EXPECT_EQ(keylink.load(), &FreqLink[0]);
    EXPECT_EQ(Freqs.center[0], 433.92e6);
    Press({key_span, soft(0)});
    Type("2");
    Press({soft(1)});
    EXPECT_EQ(Freqs.span[0], 2e6);
    EXPECT_EQ(Freqs.start[0], 432.92e6);
    Press({soft(1)});
    EXPECT_EQ(Freqs.span[0], MAXSPAN);
    Press({soft(3)});
    EXPECT_EQ(Freqs.span[0], 2e6);
    Press({soft(2)});
    EXPECT_EQ(Freqs.span[0], 0);
}

TEST_F(Dispatch, KeysWithoutLabelOrGreyedDoNotEvenMoveTheHighlight) {
    Press({soft(0), soft(6)});
    EXPECT_EQ(FreqLink[0].highlight, 0);
    FreqLink[0].disabled[1] = 1;
    Press({soft(1)});
    EXPECT_EQ(FreqLink[0].highlight, 0);
    FreqLink[0].disabled[1] = 0;
}

TEST_F(Dispatch, StepModeTogglesOnTheSecondPress) {
    Press({soft(3)});
    EXPECT_EQ(stepautoman[0], 0);
    Press({soft(3)});
    EXPECT_EQ(stepautoman[0], 1);
    Press({soft(3)});
    EXPECT_EQ(stepautoman[0], 0);
    EXPECT_EQ(Freqs.step[0], Freqs.span[0] / 10);
    Type("7");
    Press({soft(2)});
    EXPECT_EQ(stepautoman[0], 1) << "a typed step stays";
    EXPECT_EQ(Freqs.step[0], 7e3);
}

TEST_F(Dispatch, ArrowsAndKnobWorkOnTheHighlightedKeyUnlessANumberIsTyped) {
    Press({key_span, soft(0)});
    Press({key_down});
    EXPECT_EQ(Freqs.span[0], 2e9);
    Press({key_knob_left_last});
    EXPECT_EQ(Freqs.span[0], 1e9);
    Type("5");
    Press({key_up});
    EXPECT_EQ(Freqs.span[0], 1e9);
    EXPECT_EQ(AllKeyVar.count, 1) << "the number stays";
}

TEST_F(Dispatch, WithoutAParameterDigitsAreIgnored) {
    Press({key_span});
    Type("5");
    EXPECT_EQ(keylink.load(), &SpanLink[0]);
    EXPECT_EQ(AllKeyVar.count, 0);
}

TEST_F(Dispatch, UnderRemoteControlOnlyPresetWorks) {
    Press({soft(0)});
    Remote_Flag = 1;
    Press({key_span, soft(1)});
    Type("5");
    Press({key_up, key_knob_right_first});
    EXPECT_EQ(Freqs.span[0], MAXSPAN);
    EXPECT_EQ(keylink.load(), &FreqLink[0]);
    Freqs.span[0] = 5e6;
    Press({key_preset});
    EXPECT_EQ(Freqs.span[0], MAXSPAN);
    EXPECT_EQ(Remote_Flag, 0);
}

TEST_F(Dispatch, HoldAndLockLetTheirFewKeysThrough) {
    Sweep_Data.hold = 1;
    Press({key_span});
    EXPECT_EQ(keylink.load(), &FreqLink[0]);
    Press({key_marker});
    EXPECT_EQ(keylink.load(), &MarkerLink[0]);
    Press({key_sweep_mode});
    EXPECT_EQ(keylink.load(), &MarkerLink[0]) << "only from the sweep page";
    Sweep_Data.hold = 0;
    Display_Data.key_lock = 1;
    Press({key_span});
    EXPECT_EQ(keylink.load(), &DisplayLink[0]);
}

TEST_F(Dispatch, TheEMCKeyNeedsItsModelAndUnknownCodesAreLogged) {
    KVA720_ATTR_INST_MODEL = 0;
    Press({key_emc});
    EXPECT_EQ(keylink.load(), &FreqLink[0]);
    KVA720_ATTR_INST_MODEL = 1;
    Press({key_emc});
    EXPECT_EQ(keylink.load(), &EMCLink[0]);
    Press({250, 40});
    EXPECT_EQ(Log(), "\nkeyin_value ERROR\nkeyin_value ERROR");
    Press_Soft_Key(7, "Freq_SwKey error");
    EXPECT_TRUE(Log().ends_with("\nFreq_SwKey error"));
}

TEST_F(Dispatch, AFullBufferLosesTheNewestKeys) {
    for (std::int32_t code = 1; code <= 11; ++code) Store_Key(code);
    EXPECT_EQ(Keypad_Flag, 9);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(Keypad_Value[static_cast<std::size_t>(i)], i + 1);
    EXPECT_EQ(Keypad_Value[9], 11) << "the tenth place holds the last one pressed";
}

TEST_F(Dispatch, WebKeysWaitInOrderAndAreRefusedWhileStarting) {
    systeminit = 3;
    EXPECT_FALSE(num_queue_insert(1));
    systeminit = 0;
    for (int i = 0; i < web_key_slots; ++i) EXPECT_TRUE(num_queue_insert(i));
    EXPECT_FALSE(num_queue_insert(99));
    EXPECT_EQ(num_queue_remove(), 0);
    EXPECT_EQ(num_queue_remove(), 1);
    EXPECT_TRUE(num_queue_insert(100));
}

TEST_F(Dispatch, AnyFloodOfCodesIsHarmless) {
    std::uint32_t random = 12345;
    for (int i = 0; i < 20'000; ++i) {
        random = random * 1664525 + 1013904223;
        Keypad_Exe(static_cast<std::int32_t>(random >> 24) % 125);
        ASSERT_GE(Freqs.start[0], 0);
        ASSERT_LE(Freqs.stop[0], MAXFREQUENCY);
        ASSERT_LE(Freqs.start[0], Freqs.stop[0]);
    }
}

}  // namespace
