#include <cmath>

#include "records/amp.h"
#include "records/bw.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/keystate.h"
#include "records/sweep.h"
#include "records_fixture.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"

namespace {

constexpr int knob = 0, arrow = 1, typed = 2;

class Frequency : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        Freqs_ArrayInit();
        BW_Init();
        Sweep_Init();
        Menu_Page& page = FreqLink[0];
        keylink = &page;
    }
    static void Expect_Axis(double start, double center, double stop, double span) {
        EXPECT_DOUBLE_EQ(Freqs.start[0], start);
        EXPECT_DOUBLE_EQ(Freqs.center[0], center);
        EXPECT_DOUBLE_EQ(Freqs.stop[0], stop);
        EXPECT_DOUBLE_EQ(Freqs.span[0], span);
    }
    static void Step(int (*setter)(int, double), int source, int steps) {
        AllKeyVar.up = static_cast<std::uint16_t>(steps > 0 ? steps : 0);
        AllKeyVar.down = static_cast<std::uint16_t>(steps < 0 ? -steps : 0);
        setter(source, 0);
        AllKeyVar.up = AllKeyVar.down = 0;
    }
};

TEST_F(Frequency, ACentreAboveTheLimitGivesTheSmallestSpanAtTheEdge) {
    Set_Cent(typed, 9e9);
    Expect_Axis(MAXFREQUENCY - 100, MAXFREQUENCY - 50, MAXFREQUENCY, 100);
    Set_Cent(typed, -1);
    Expect_Axis(0, 50, 100, 100);
}

TEST_F(Frequency, ASpanOverAnEdgeShrinksAroundItsCentre) {
    Set_Span(typed, 300e6);
    Set_Cent(typed, 100e6);
    Expect_Axis(0, 100e6, 200e6, 200e6);
    Set_Cent(typed, 3.2e9);
    EXPECT_DOUBLE_EQ(Freqs.center[0], 3.2e9);
    EXPECT_DOUBLE_EQ(Freqs.stop[0], MAXFREQUENCY);
    EXPECT_DOUBLE_EQ(Freqs.span[0], 100.1e6);
}

TEST_F(Frequency, SpansAreHeldAndZeroIsZeroSpan) {
    Set_Cent(typed, 1e9);
    Set_Span(typed, 30);
    EXPECT_EQ(Freqs.span[0], 100);
    Set_Span(typed, 0);
    Expect_Axis(1e9, 1e9, 1e9, 0);
    EXPECT_EQ(Freqs.last_span[0], 100);
    Set_Last_Span();
    EXPECT_EQ(Freqs.span[0], 100);
    Set_Full_Span();
    Expect_Axis(0, 1.625e9, 3.25e9, 3.25e9);
    EXPECT_EQ(Freqs.step[0], 325e6);
}

TEST_F(Frequency, TheSpanLadder) {
    Set_Cent(typed, 1.5e9);
    Set_Span(typed, 100);
    Step(Set_Span, arrow, -1);
    EXPECT_EQ(Freqs.span[0], 0);
    Step(Set_Span, arrow, 1);
    EXPECT_EQ(Freqs.span[0], 100);
    Set_Span(typed, 150);
    Step(Set_Span, arrow, 1);
    EXPECT_EQ(Freqs.span[0], 200);
    Set_Span(typed, 150);
    Step(Set_Span, arrow, -1);
    EXPECT_EQ(Freqs.span[0], 100);
    Set_Span(typed, 2e9);
    Step(Set_Span, arrow, 1);
    EXPECT_EQ(Freqs.span[0], 2e9);
    Set_Span(typed, 2.35e6);
    Step(Set_Span, knob, 1);
    EXPECT_DOUBLE_EQ(Freqs.span[0], 2.36e6);
}

TEST_F(Frequency, StepsStopAtTheLimits) {
    Set_Span(typed, 1e6);
    Set_Step_Mode(true);
    Set_Step_Freq(typed, 2e9);
    Step(Set_Cent, arrow, 3);
    EXPECT_LE(Freqs.stop[0], MAXFREQUENCY);
    Step(Set_Cent, arrow, -3);
    EXPECT_GE(Freqs.start[0], 0);
    Set_Step_Mode(false);
    EXPECT_DOUBLE_EQ(Freqs.step[0], Freqs.span[0] / 10);
}

TEST_F(Frequency, AStepGivenWhileAutomaticHoldsUntilTheSpanChanges) {
    Set_Span(typed, 1e6);
    Set_Step_Freq(typed, 7e3);
    Set_Cent(typed, 1e9);
    EXPECT_EQ(Freqs.step[0], 7e3);
    Set_Span(typed, 2e6);
    EXPECT_EQ(Freqs.step[0], 200e3);
    Set_Cent(typed, 100e3);
    EXPECT_EQ(Freqs.step[0], 20e3) << "a centre at the edge takes the span along";
}

TEST_F(Frequency, StartAndStopKeepASpanThatCanBeSwept) {
    Set_Span(typed, 1e3);
    BW_Data.rbw_mode[0] = 1;
    BW_Data.rbw[0] = 12;
    Ext_Sweep_Time_Auto();
    const Freqs_Record before = Freqs;
    Set_Start_Freq(typed, 0);
    Set_Stop_Freq(typed, 3e9);
    Set_Span(typed, HUGE_VAL);
    EXPECT_EQ(Freqs.start[0], before.start[0]);
    EXPECT_EQ(Freqs.stop[0], before.stop[0]);
    EXPECT_EQ(Freqs.last_span[0], before.last_span[0]);
    BW_Data.rbw_mode[0] = 0;
    Set_Span(typed, HUGE_VAL);
    EXPECT_EQ(Freqs.span[0], MAXSPAN);
}

TEST_F(Frequency, TheOffsetIsShownAndNeverStored) {
    Set_Offset_Freq(typed, 10e6);
    Set_Cent(typed, 110e6);
    EXPECT_DOUBLE_EQ(Freqs.center[0], 100e6);
    EXPECT_DOUBLE_EQ(Freqs.offset[0], 10e6);
}

TEST_F(Frequency, TableIndexesRoundTheWayTheStepGoes) {
    Freqs.step[0] = 150;
    const int up = FreqValue2FreqIdx();
    AllKeyVar.down = 1;
    EXPECT_EQ(FreqValue2FreqIdx(), up + 1);
    AllKeyVar.down = 0;
    Freqs.span[0] = 3.3e9;
    EXPECT_EQ(SpanValue2SpanIdx(), 0);
}

TEST_F(Frequency, StartAndStopPushEachOtherAndNeverCross) {
    Set_Start_Freq(typed, 900e6);
    Set_Stop_Freq(typed, 100e6);
    EXPECT_DOUBLE_EQ(Freqs.stop[0] - Freqs.start[0], 100);
    EXPECT_DOUBLE_EQ(Freqs.stop[0], 100e6);
    Set_Start_Freq(typed, 1e12);
    EXPECT_LE(Freqs.stop[0], MAXFREQUENCY);
}

TEST_F(Frequency, NumbersThatAreNoneChangeNothing) {
    const Freqs_Record before = Freqs;
    const double nan = std::nan("");
    for (auto* setter : {Set_Cent, Set_Span, Set_Start_Freq, Set_Stop_Freq, Set_Step_Freq, Set_Offset_Freq}) setter(typed, nan);
    EXPECT_EQ(Freqs.center, before.center);
    EXPECT_EQ(Freqs.span, before.span);
    EXPECT_EQ(Freqs.offset, before.offset);
    Set_Cent(typed, INFINITY);
    Set_Span(typed, -INFINITY);
    EXPECT_TRUE(std::isfinite(Freqs.start[0]) && std::isfinite(Freqs.stop[0]));
}

TEST_F(Frequency, ModesHoldTheCentreTheirOwnWay) {
    FunctionMode_Flag = mode_am_fm;
    Set_Cent(typed, 5e3);
    Expect_Axis(10e3, 10e3, 10e3, MAXSPAN);
    FunctionMode_Flag = mode_spectrum;
    Freqs_ArrayInit();
    Set_Span(typed, 1e6);
    Global_Table = table_jitter;
    Set_Cent(typed, 0);
    Expect_Axis(0, 50, 100, 100);
}

TEST_F(Frequency, TheOneShotNoticeIsSpent) {
    platform::Set_Clock_Mode(platform::Clock_Mode::fast);
    attention_notice = 1;
    Set_Cent(typed, 1e9);
    EXPECT_EQ(attention_notice, 0);
}

struct Coupling {
    double span, rbw, vbw;
    bool fft;
};

TEST_F(Frequency, BandwidthsFollowTheSpan) {
    for (const auto& c : {Coupling{3.25e9, 1e6, 1e6, false}, {1e6, 10e3, 10e3, false}, {2e6, 10e3, 10e3, false},
                          {2'000'001, 30e3, 30e3, false}, {200, 1, 1, true}, {650e3, 3e3, 3e3, true}, {6.5e3, 30, 30, true}}) {
        Set_Cent(typed, 1.625e9);
        Set_Span(typed, c.span);
        EXPECT_EQ(Int_RBW_Transfer(BW_Data.rbw[0]), c.rbw) << c.span;
        EXPECT_EQ(Int_VBW_Transfer(BW_Data.vbw[0]), c.vbw) << c.span;
        EXPECT_EQ(JUDGE_FFT_MODE(), c.fft) << c.span;
    }
    EXPECT_EQ(Int_RBW_Transfer(99), 300e3);
    Set_Span(typed, 0);
    EXPECT_EQ(Int_RBW_Transfer(BW_Data.rbw[0]), 10e3) << "zero span needs 10 kHz";
}

TEST_F(Frequency, SweepTimeIsStepsTimesSettling) {
    Set_Full_Span();
    EXPECT_EQ(Sweep_Data.steps[0], 6500);
    EXPECT_NEAR(Sweep_Data.time[0], 6500 * (0.16 * (14 + 40 + 184) + 20) * 1e-6, 1e-9);
    Set_Span(typed, 0);
    EXPECT_EQ(Sweep_Data.steps[0], 600);
}

TEST_F(Frequency, ASpanThatWouldSweepTooLongIsRefused) {
    Set_Cent(typed, 1.625e9);
    Set_Span(typed, 10e6);
    BW_Data.rbw_mode[0] = 1;
    BW_Data.rbw[0] = 10;  // 10 Hz
    const Freqs_Record before = Freqs;
    EXPECT_EQ(change_span(typed, 3e9), -1);
    Set_Full_Span();
    EXPECT_EQ(Freqs.span, before.span);
    EXPECT_EQ(Freqs.start, before.start);
    EXPECT_EQ(change_span(typed, 20e6), 0);
}

}  // namespace
