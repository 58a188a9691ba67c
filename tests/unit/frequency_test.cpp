#include <atomic>
#include <chrono>
#include <thread>

#include "records_fixture.h"

namespace {

class Frequency : public Factory_Records {
protected:
    void SetUp() override {
        Factory_Records::SetUp();
        Menu_Page& page = FreqLink[0];
        keylink = &page;
    }
    static void Expect_Axis(double start, double center, double stop, double span) {
        Walk({{"", Freqs.start[0], start}, {"", Freqs.center[0], center}, {"", Freqs.stop[0], stop},
              {"", Freqs.span[0], span}});
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
    Walk({{{Set_Cent, 3.2e9}, Freqs.center[0], 3.2e9}, {"", Freqs.stop[0], MAXFREQUENCY},
          {"", Freqs.span[0], 100.1e6}});
}

TEST_F(Frequency, SpansAreHeldAndZeroIsZeroSpan) {
    Walk({{{Set_Cent, 1e9}}, {{Set_Span, 30}, Freqs.span[0], 100}, {{Set_Span, 0}}});
    Expect_Axis(1e9, 1e9, 1e9, 0);
    Walk({{"", Freqs.last_span[0], 100}, {Set_Last_Span, Freqs.span[0], 100}, {Set_Full_Span}});
    Expect_Axis(0, 1.625e9, 3.25e9, 3.25e9);
    EXPECT_EQ(Freqs.step[0], 325e6);
}

TEST_F(Frequency, TheSpanLadder) {
    Walk({{{Set_Cent, 1.5e9}}, {{Set_Span, 100}}, {{Set_Span, arrow, -1}, Freqs.span[0], 0},
          {{Set_Span, arrow, 1}, Freqs.span[0], 100}, {{Set_Span, 150}}, {{Set_Span, arrow, 1}, Freqs.span[0], 200},
          {{Set_Span, 150}}, {{Set_Span, arrow, -1}, Freqs.span[0], 100}, {{Set_Span, 2e9}},
          {{Set_Span, arrow, 1}, Freqs.span[0], 2e9}, {{Set_Span, 2.35e6}},
          {{Set_Span, knob, 1}, Freqs.span[0], 2.36e6}});
}

TEST_F(Frequency, AStepGivenWhileAutomaticHoldsUntilTheSpanChanges) {
    Walk({{{Set_Span, 1e6}}, {{Set_Step_Freq, 7e3}}, {{Set_Cent, 1e9}, Freqs.step[0], 7e3},
          {{Set_Span, 2e6}, Freqs.step[0], 200e3},
          {{Set_Cent, 100e3}, Freqs.step[0], 20e3, "a centre at the edge takes the span along"}});
}

TEST_F(Frequency, StartAndStopKeepASpanThatCanBeSwept) {
    Set_Span(typed, 1e3);
    BW_Data.rbw_mode[0] = 1;
    BW_Data.rbw[0] = 12;
    Ext_Sweep_Time_Auto();
    const Freqs_Record before = Freqs;
    Walk({{{Set_Start_Freq, 0}}, {{Set_Stop_Freq, 3e9}}, {{Set_Span, 1e300}, Freqs.start[0], before.start[0]},
          {"", Freqs.stop[0], before.stop[0]}, {"", Freqs.last_span[0], before.last_span[0]},
          {[] { BW_Data.rbw_mode[0] = 0; }}, {{Set_Span, 1e300}, Freqs.span[0], MAXSPAN}});
}

TEST_F(Frequency, TableIndexesRoundTheWayTheStepGoes) {
    Freqs.step[0] = 150;
    const int up = FreqValue2FreqIdx();
    Walk({{[] { AllKeyVar.down = 1; }, [&] { return FreqValue2FreqIdx(); }, up + 1}, {[] { AllKeyVar.down = 0; }},
          {[] { Freqs.span[0] = 3.3e9; }, [&] { return SpanValue2SpanIdx(); }, 0}});
}

TEST_F(Frequency, StartAndStopPushEachOtherAndNeverCross) {
    Walk({{{Set_Start_Freq, 900e6}}, {{Set_Stop_Freq, 100e6}, [&] { return Freqs.stop[0] - Freqs.start[0]; }, 100},
          {"", Freqs.stop[0], 100e6}, {{Set_Start_Freq, 1e12}}});
    EXPECT_LE(Freqs.stop[0], MAXFREQUENCY);
}

TEST_F(Frequency, ModesHoldTheCentreTheirOwnWay) {
    FunctionMode_Flag = mode_am_fm;
    Set_Cent(typed, 5e3);
    Expect_Axis(10e3, 10e3, 10e3, MAXSPAN);
    for (auto* setter : {Set_Start_Freq, Set_Stop_Freq, Set_Span}) setter(typed, 1e9);
    Set_Full_Span();
    Expect_Axis(10e3, 10e3, 10e3, MAXSPAN);
    FunctionMode_Flag = mode_r_phi;
    Set_Cent(typed, 9e9);
    Expect_Axis(MAXFREQUENCY, MAXFREQUENCY, MAXFREQUENCY, MAXSPAN);
    FunctionMode_Flag = mode_spectrum;
    Freqs_ArrayInit();
    Set_Span(typed, 1e6);
    for (const int table : {16, 32}) {
        Global_Table = table;
        Set_Cent(typed, 1e9);
        Set_Cent(typed, 0);
        Expect_Axis(0, 50, 100, 100);
    }
    Global_Table = table_single_frequency;
    Set_Cent(typed, -1);
    Expect_Axis(0, 0, 0, 100);
    Set_Cent(typed, 1e9);
    Expect_Axis(1e9 - 50, 1e9, 1e9 + 50, 100);
    Set_Cent(typed, 9e9);
    EXPECT_EQ(Freqs.start[0], MAXFREQUENCY);
}

TEST_F(Frequency, TheEmissionMaskKeepsItsSpanOnBothSidesOfTheCentre) {
    Set_Span(typed, 50e6);
    FunctionMode_Flag = mode_emission_mask;
    Set_Cent(typed, 0);
    Expect_Axis(25e6, 50e6, 75e6, 50e6);
    Walk({{{Set_Cent, 9e9}, Freqs.center[0], MAXFREQUENCY - 50e6}, {{Set_Start_Freq, 1e9}, Freqs.span[0], 50e6}});
}

TEST_F(Frequency, MeasurementsKeepTheSpanThatTheyNeed) {
    Walk({{{Set_Span, 20e6}}, {{Set_Span, 10e6}}, {[] { Global_Table = table_acpr; }},
          {{Set_Span, 0}, Freqs.span[0], 10e6, "the last span instead of zero"}, {"", Freqs.step[0], 1e6},
          {{Set_Span, 100}}, {{Set_Span, arrow, -1}, Freqs.span[0], 10e6}, {[] { Freqs.last_span[0] = 0; }},
          {{Set_Span, 100}}, {[] { Freqs.last_span[0] = 0; }},
          {{Set_Span, arrow, -1}, Freqs.span[0], 100, "there was no other one"},
          {[] { Global_Table = table_occupied_bandwidth; }}, {{Set_Span, 5e6}},
          {{Set_Span, 1.99e6}, Freqs.span[0], 5e6, "smaller than the main channel"},
          {{Set_Span, arrow, -1}, Freqs.span[0], 2e6}, {{Set_Span, arrow, -1}, Freqs.span[0], 2e6}});
}

TEST_F(Frequency, TheOneShotNoticeStandsForASecond) {
    attention_notice = 1;
    Set_Span(typed, MAXSPAN);
    EXPECT_EQ(attention_notice, 1) << "nothing has changed";
    for (auto* setter : {Set_Cent, Set_Span, Set_Start_Freq}) {
        attention_notice = 1;
        std::atomic<bool> over{false};
        const auto begin = platform::Now();
        std::thread changing([&] {
            setter(typed, 1e9);
            over = true;
        });
        while (!over) {
            platform::Step_Clock(std::chrono::milliseconds(1));
            std::this_thread::sleep_for(std::chrono::microseconds(20));
        }
        changing.join();
        EXPECT_GE(platform::Now() - begin, std::chrono::seconds(1));
        EXPECT_EQ(attention_notice, 0);
    }
}

TEST_F(Frequency, TheKnobChangesTheLeadingDigits) {
    struct {
        double before;
        int steps;
        double after;
    } const cases[] = {{2.3456e6, 1, 2.35e6}, {2.3456e6, -1, 2.33e6}, {2.3456e6, 2, 2.5e6}, {2.3456e6, 3, 5e6},
                           {1e6, -1, 990e3},      {999e3, 1, 1e6},        {100, -1, 0},         {0, 1, 100},
                           {1234, -2, 1e3},       {2.99e9, 1, 3e9}};
    for (const auto& [before, steps, after] : cases) {
        Set_Cent(typed, 1.6e9);
        Set_Span(typed, before);
        Turn(Set_Span, knob, steps);
        EXPECT_NEAR(Freqs.span[0], after, 1e-3) << before << ' ' << steps;
    }
}

TEST_F(Frequency, AMinHoldTraceForgetsWhatTheNewAxisHadNotSeen) {
    Set_Cent(typed, 1e9);
    Set_Span(typed, 1e6);
    Init_Trace_Data();
    Trace_Data[0].mode = {trace_clear_write, trace_max_hold, trace_min_hold, trace_blank};
    for (auto& trace : Trace_Data[0].value) trace.fill(-50);
    Set_Span(typed, 2e6);
    const auto& value = Trace_Data[0].value;
    for (std::size_t trace = 0; trace < 3; ++trace) EXPECT_EQ(value[trace][300], -50);
    Walk({{"", [&] { return value[0][0]; }, -180}, {"", [&] { return value[1][0]; }, -200},
          {"", [&] { return value[2][0]; }, 40, "or it would hold the bottom for ever"},
          {{Set_Span, 0}, [&] { return value[0][0]; }, -50, "the level at the centre"}});
}

struct Coupling {
    double span, rbw, vbw;
    bool fft;
};

TEST_F(Frequency, BandwidthsFollowTheSpan) {
    for (const auto& c : {Coupling{3.25e9, 1e6, 1e6, false}, {1e6, 10e3, 10e3, false}, {2e6, 10e3, 10e3, false},
                          {2'000'001, 30e3, 30e3, false}, {200, 1, 1, true}, {650e3, 3e3, 3e3, true}, {6.5e3, 30, 30,
                           true}}) {
        Set_Cent(typed, 1.625e9);
        Set_Span(typed, c.span);
        EXPECT_EQ(Int_RBW_Transfer(BW_Data.rbw[0]), c.rbw) << c.span;
        EXPECT_EQ(Int_VBW_Transfer(BW_Data.vbw[0]), c.vbw) << c.span;
        EXPECT_EQ(JUDGE_FFT_MODE(), c.fft) << c.span;
    }
    Walk({{"", [&] { return Int_RBW_Transfer(99); }, 300e3},
          {{Set_Span, 0}, [&] { return Int_RBW_Transfer(BW_Data.rbw[0]); }, 10e3, "zero span needs 10 kHz"}});
}

}  // namespace
