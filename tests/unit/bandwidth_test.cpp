#include <cmath>
#include <initializer_list>
#include <limits>
#include <vector>

#include "records/freqs.h"
#include "records/keystate.h"
#include "records_fixture.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"

namespace {

constexpr int knob = 0, arrow = 1, typed = 2;
using Codes = std::vector<int>;

class Bandwidth : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        Freqs_ArrayInit();
        BW_Init();
        Sweep_Init();
        SCPI_ErrorClear(scpi_context);
    }
    static double Rbw() { return Int_RBW_Transfer(BW_Data.rbw[0]); }
    static double Vbw() { return Int_VBW_Transfer(BW_Data.vbw[0]); }
    static double Time() { return Sweep_Data.time[0]; }
    /// A quasi-peak or EMI average detector of the active trace, chosen by hand.
    static void Choose_Detector(int detector) {
        Trace_Data[0].detector_choice[0] = static_cast<std::uint16_t>(detector);
        Ext_BW_Auto_RBW();
        Ext_BW_Auto_RBW();
        Ext_Sweep_Time_Auto();
    }
    static void Step(int source, int up, int(setter)(int, double)) {
        AllKeyVar.up = up > 0 ? static_cast<std::uint16_t>(up) : 0;
        AllKeyVar.down = up < 0 ? static_cast<std::uint16_t>(-up) : 0;
        setter(source, 0);
        AllKeyVar.up = AllKeyVar.down = 0;
    }
    static Codes Errors() {
        Codes codes;
        while (const int code = SCPI_ErrorPop(scpi_context)) codes.push_back(code);
        return codes;
    }
    static bool Condition() {
        return SCPI_RegGet(scpi_context, reg_questionable_frequency + set_condition) == questionable_bandwidth;
    }
};

TEST_F(Bandwidth, TypedWidthsGoToTheNearestAsARatio) {
    for (const auto& [value, rbw] :
         {std::pair{1e6, 1e6}, {10e9, 1e6}, {548e3, 1e6}, {547e3, 300e3}, {174e3, 300e3}, {173e3, 100e3}, {20e3, 30e3},
          {17e3, 10e3}, {5.5e3, 10e3}, {5.4e3, 3e3}, {200.0, 300.0}, {0.1, 1.0}}) {
        Set_Span(typed, 10e3);
        EXPECT_EQ(Set_BW_RBW(typed, value), 0);
        EXPECT_EQ(Rbw(), rbw) << value;
        EXPECT_EQ(Set_BW_VBW(typed, value), 0);
        EXPECT_EQ(Vbw(), rbw) << value;
    }
    Set_BW_RBW(typed, 0);
    Set_BW_VBW(typed, -5);
    EXPECT_EQ(Rbw(), 1);
    EXPECT_EQ(Vbw(), 1);
    EXPECT_EQ(BW_Data.rbw_mode[0] + BW_Data.vbw_mode[0], 2);
    EXPECT_EQ(Errors(), Codes{});
}

TEST_F(Bandwidth, WhatIsNoNumberChangesNothing) {
    const BW_Record before = BW_Data;
    const Sweep_Record sweep = Sweep_Data;
    for (const double value : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        for (auto* setter : {Set_BW_RBW, Set_BW_VBW, Set_BW_Ratio, Set_Sweep_Time}) EXPECT_EQ(setter(typed, value), -1);
    }
    EXPECT_EQ(BW_Data.rbw_mode, before.rbw_mode);
    EXPECT_EQ(BW_Data.vbw_mode, before.vbw_mode);
    EXPECT_EQ(BW_Data.ratio, before.ratio);
    EXPECT_EQ(Sweep_Data.time, sweep.time);
    EXPECT_EQ(Sweep_Data.time_mode, sweep.time_mode);
    EXPECT_EQ(Errors(), Codes{});
    EXPECT_FALSE(Condition());
}

TEST_F(Bandwidth, StepsGoAlongTheTable) {
    Step(arrow, -1, Set_BW_RBW);
    EXPECT_EQ(Rbw(), 300e3);
    EXPECT_EQ(Vbw(), 300e3) << "the automatic VBW comes along";
    Step(knob, -3, Set_BW_RBW);
    EXPECT_EQ(Rbw(), 100e3);
    Step(knob, 1, Set_BW_RBW);
    Step(knob, 1, Set_BW_RBW);
    Step(knob, 1, Set_BW_RBW);
    EXPECT_EQ(Rbw(), 1e6) << "the widest is the end";
    Step(arrow, -1, Set_BW_VBW);
    EXPECT_EQ(Vbw(), 300e3);
    EXPECT_EQ(Rbw(), 1e6);
    Set_EMI_Filter(true);
    for (const double rbw : {120e3, 9e3, 200.0, 200.0}) {
        Step(arrow, -1, Set_BW_RBW);
        EXPECT_EQ(Rbw(), rbw) << "only EMI widths";
        Set_Span(typed, 1e6);
    }
}

TEST_F(Bandwidth, AVbwKeepsItsRatioUntilItIsSet) {
    Set_BW_Ratio(typed, 0.1);
    EXPECT_EQ(Vbw(), 100e3);
    EXPECT_EQ(BW_Data.vbw_mode[0], 1);
    Set_Span(typed, 2e6);
    EXPECT_EQ(Rbw(), 10e3);
    EXPECT_EQ(Vbw(), 1e3) << "also behind an automatic RBW";
    EXPECT_DOUBLE_EQ(Int_BW_Transfer_Ratio(), 0.1);
    Set_BW_RBW(typed, 100e3);
    EXPECT_EQ(Vbw(), 10e3);
    Step(arrow, 1, Set_BW_Ratio);
    EXPECT_EQ(Vbw(), 30e3);
    Set_BW_RBW(typed, 30e3);
    EXPECT_EQ(Vbw(), 10e3);
    Set_BW_VBW(typed, 3e3);
    Set_BW_RBW(typed, 300e3);
    EXPECT_EQ(Vbw(), 3e3);
    Set_BW_Ratio(typed, 0);
    EXPECT_EQ(BW_Data.ratio[0], 1e-6);
    Set_VBW_Mode(false);
    EXPECT_EQ(Vbw(), 300e3);
    EXPECT_EQ(BW_Data.ratio[0], 0);
    EXPECT_EQ(Errors(), Codes{});
}

TEST_F(Bandwidth, EmiWidthsByBandAndBySpan) {
    Set_EMI_Filter(true);
    EXPECT_EQ(BW_Data.rbw[1], 0);
    for (const auto& [span, rbw, vbw] : {std::tuple{33'840.0, 200.0, 100.0}, {33'841.0, 9e3, 10e3},
                                         {1'527'360.0, 9e3, 10e3}, {1'527'361.0, 120e3, 100e3}, {20e6, 120e3, 100e3},
                                         {20'000'001.0, 1e6, 1e6}}) {
        Set_Span(typed, span);
        EXPECT_EQ(Rbw(), rbw) << span;
        EXPECT_EQ(Vbw(), vbw) << span;
    }
    Choose_Detector(detector_quasi_peak);
    for (const auto& [center, rbw] : {std::pair{150e3, 200.0}, {150'001.0, 9e3}, {30e6, 9e3}, {30'000'001.0, 120e3},
                                      {1e9, 120e3}, {1'000'000'001.0, 1e6}}) {
        Set_Span(typed, 10e6);
        Set_Cent(typed, center);
        EXPECT_EQ(Rbw(), rbw) << center;
    }
    Set_Span(typed, 10e3);
    Set_BW_RBW(typed, 1e3);
    EXPECT_EQ(Rbw(), 200) << "no ordinary width";
    Set_EMI_Filter(false);
    EXPECT_EQ(BW_Data.rbw_mode[0], 0);
    EXPECT_EQ(Rbw(), 100);
    EXPECT_EQ(Trace_Data[0].detector_choice[0], detector_auto);
    EXPECT_FALSE(EMI_Detector());
    EXPECT_EQ(Int_RBW_Transfer(13), 141);
}

TEST_F(Bandwidth, ZeroSpanKeepsWhatItCanUse) {
    Set_BW_RBW(typed, 30e3);
    Set_RBW_Mode(false);
    Set_Span(typed, 200e3);
    EXPECT_EQ(Rbw(), 1e3);
    Set_Span(typed, 0);
    EXPECT_EQ(Rbw(), 10e3);
    Set_BW_RBW(typed, 100e3);
    Set_RBW_Mode(false);
    EXPECT_EQ(Rbw(), 100e3) << "wider ones stay";
    EXPECT_EQ(Errors(), Codes{});
    EXPECT_EQ(Set_BW_RBW(typed, 3e3), -1);
    EXPECT_EQ(Errors(), Codes{111});
    EXPECT_EQ(Check_warning, covers_rbw);
    EXPECT_TRUE(Condition());
    EXPECT_EQ(Rbw(), 100e3);
    EXPECT_EQ(BW_Data.rbw_mode[0], 0);
    Set_BW_RBW(typed, 10e3);
    EXPECT_FALSE(Condition());
    EXPECT_EQ(Check_warning, 0) << "what was taken clears the warning";
    for (int i = 0; i < 4; ++i) Step(knob, -1, Set_BW_RBW);
    EXPECT_EQ(Errors(), Codes{111}) << "a knob at its end says it once";
    Set_EMI_Filter(true);
    EXPECT_EQ(Rbw(), 9e3) << "an EMI width stays";
}

TEST_F(Bandwidth, AManualNarrowWidthStaysInZeroSpanAndIsSaid) {
    Set_Span(typed, 10e3);
    Set_BW_RBW(typed, 1e3);
    Set_Span(typed, 0);
    EXPECT_EQ(Rbw(), 1e3);
    EXPECT_EQ(JUDGE_FFT_MODE(), 1);
    EXPECT_EQ(Errors(), Codes{111});
    EXPECT_TRUE(Condition());
    Set_Cent(typed, 1e9);
    EXPECT_EQ(Errors(), Codes{}) << "once";
    EXPECT_TRUE(Condition());
    Set_Span(typed, 1e3);
    EXPECT_FALSE(Condition());
    Set_Span(typed, 0);
    Set_RBW_Mode(false);
    EXPECT_EQ(Rbw(), 10e3);
    EXPECT_FALSE(Condition());
}

TEST_F(Bandwidth, WidthsThatNeedTooLongAreRefused) {
    const auto shortest = Sweep_Data.shortest[0];
    EXPECT_EQ(Set_BW_RBW(typed, 1e3), 0);
    EXPECT_EQ(Set_BW_RBW(typed, 10), -1);
    EXPECT_EQ(Rbw(), 1e3);
    EXPECT_EQ(Errors(), Codes{110});
    EXPECT_EQ(Check_warning, covers_rbw);
    EXPECT_TRUE(Condition());
    Set_RBW_Mode(false);
    EXPECT_FALSE(Condition());
    EXPECT_EQ(Set_BW_VBW(typed, 1), -1);
    EXPECT_EQ(Errors(), Codes{110});
    EXPECT_EQ(BW_Data.vbw_mode[0], 0);
    EXPECT_EQ(Set_BW_VBW(typed, 3), -1) << "6500 steps of 205 ms";
    EXPECT_EQ(Set_BW_VBW(typed, 10), 0);
    EXPECT_NEAR(Sweep_Data.shortest[0], 6500 * (0.16 * (256000 + 40 + 184) + 20) * 1e-6, 1e-9);
    EXPECT_EQ(Sweep_Data.uncal[0], 0);
    Set_BW_Ratio(typed, 1e-6);
    EXPECT_EQ(Vbw(), 10);
    EXPECT_EQ(Errors(), (Codes{110, 110}));
    // An RBW whose automatic successor would take too long with the manual VBW stays manual.
    Set_Span(typed, 2e6);
    Set_BW_RBW(typed, 1e6);
    Set_BW_VBW(typed, 1);
    Set_Span(typed, 1e9);
    EXPECT_EQ(Freqs.span[0], 1e9) << "2000 steps of 410 ms";
    Set_Span(typed, 3e9);
    EXPECT_EQ(Freqs.span[0], 1e9);
    Set_VBW_Mode(false);
    Set_Full_Span();
    Set_RBW_Mode(false);
    EXPECT_EQ(Sweep_Data.shortest[0], shortest);
}

TEST_F(Bandwidth, TheLimitIsAThousandSeconds) {
    Set_BW_RBW(typed, 10e3);
    Sweep_Record scratch = Sweep_Data;
    const double step = (0.16 * (256000 + 1400 + 184) + 20) * 1e-6;
    const double steps = std::ceil(1000 / step);
    BW_Data.vbw_mode[0] = 1;
    EXPECT_EQ(Ext_Sweep_Time_Check(4, 10, scratch, 10e3 * (steps - 1) / 2), 0);
    EXPECT_EQ(scratch.steps[0], static_cast<int>(steps) - 1);
    EXPECT_EQ(Ext_Sweep_Time_Check(4, 10, scratch, 10e3 * steps / 2), 1);
    EXPECT_EQ(scratch.steps[0], static_cast<int>(steps));
}

TEST_F(Bandwidth, FftModeIsThatOfTheNarrow) {
    Set_Span(typed, 1e3);
    for (int rbw = 0; rbw <= 12; ++rbw) {
        Set_BW_RBW(typed, Int_RBW_Transfer(rbw));
        EXPECT_EQ(JUDGE_FFT_MODE(), rbw >= 5) << rbw;
    }
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_swept), -1) << "below 1 kHz";
    Set_BW_RBW(typed, 1e3);
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_swept), 0);
    EXPECT_EQ(JUDGE_FFT_MODE(), 0);
    EXPECT_NEAR(Time(), 6 * (0.16 * (2560 + 18880 + 184) + 20) * 1e-6, 1e-12);
    Set_BW_RBW(typed, 300);
    EXPECT_EQ(Sweep_Data.mode[0], sweep_mode_auto) << "it no longer suits";
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_fft), 0);
    Set_BW_RBW(typed, 10e3);
    EXPECT_EQ(Sweep_Data.mode[0], sweep_mode_auto);
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_fft), -1);
    EXPECT_EQ(Set_Sweep_Mode(7), -1);
    Set_Full_Span();
    Set_BW_RBW(typed, 1e3);
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_swept), -1) << "6 500 000 steps of 3 ms";
    EXPECT_EQ(JUDGE_FFT_MODE(), 1);
    Set_RBW_Mode(false);
    Set_EMI_Filter(true);
    Set_Span(typed, 10e3);
    EXPECT_EQ(Rbw(), 200);
    EXPECT_EQ(JUDGE_FFT_MODE(), 1);
    EXPECT_EQ(BW_RBW_Code(), 2) << "100 kHz before an FFT of 512 times 141 Hz";
    Choose_Detector(detector_emi_average);
    EXPECT_EQ(JUDGE_FFT_MODE(), 0) << "not for an EMI detector";
    EXPECT_EQ(BW_RBW_Code(), 13);
    Choose_Detector(detector_auto);
    Set_Span(typed, 0);
    EXPECT_EQ(Rbw(), 200);
    EXPECT_EQ(JUDGE_FFT_MODE(), 0) << "nor in zero span";
}

TEST_F(Bandwidth, StepsAndSettling) {
    Set_Span(typed, 10e6);
    EXPECT_EQ(Sweep_Data.steps[0], 200);
    EXPECT_NEAR(Time(), 200 * (0.16 * (39 + 213 + 184) + 20) * 1e-6, 1e-12);
    Set_Sweep_Rule(true);
    EXPECT_NEAR(Time(), 200 * (0.16 * (39 + 221 + 184) + 20) * 1e-6, 1e-12);
    EXPECT_EQ(BW_RBW_Mode[0], 1);
    Set_EMI_Filter(true);
    EXPECT_EQ(Rbw(), 120e3);
    EXPECT_EQ(Sweep_Data.steps[0], std::ceil(1.85 * 10e6 / 84853));
    EXPECT_NEAR(Time(), Sweep_Data.steps[0] * (0.16 * (39 + 221 + 184) + 20) * 1e-6, 1e-12);
    Set_Span(typed, 1e6);
    EXPECT_EQ(Sweep_Data.steps[0], std::ceil(1.85 * 1e6 / 6364));
    EXPECT_NEAR(Time(), Sweep_Data.steps[0] * (0.16 * (287 + 2134 + 184) + 42) * 1e-6, 1e-12) << "the one pair";
    Choose_Detector(detector_emi_average);
    EXPECT_EQ(Sweep_Data.steps[0], 111) << "1 MHz / 9 kHz, cut";
    EXPECT_NEAR(Time(), 111 * (0.16 * (287 + 2134 + 184) + 42 + 3000) * 1e-6, 1e-9) << "three charging times a step";
    Choose_Detector(detector_auto);
    Set_Full_Span();
    EXPECT_NEAR(Time(), std::ceil(1.85 * 3.25e3) * (0.16 * (14 + 213 + 184) + 20) * 1e-6, 1e-9) << "the EMI column";
    Set_EMI_Filter(false);
    Set_Sweep_Rule(false);
    Set_BW_RBW(typed, 1e6);
    Set_Span(typed, 2e6);
    EXPECT_EQ(Sweep_Data.steps[0], 6) << "never fewer";
    Set_Span(typed, 2.6e6);
    EXPECT_EQ(Sweep_Data.steps[0], 6);
    Set_Span(typed, 3.1e6);
    EXPECT_EQ(Sweep_Data.steps[0], 7);
}

TEST_F(Bandwidth, FftsAreAsLongAsTheirWindowAndTheVideoFilter) {
    Set_Span(typed, 200);
    EXPECT_NEAR(Time(), 2.1 + 2e-3, 1e-12);
    Set_BW_RBW(typed, 100);
    EXPECT_NEAR(Time(), 23e-3, 1e-12);
    Set_BW_VBW(typed, 1);
    EXPECT_NEAR(Time(), 2.102, 1e-12) << "an average over the video filter's time";
    Set_VBW_Mode(false);
    Set_BW_RBW(typed, 3e3);
    Set_Span(typed, 10e6);
    EXPECT_NEAR(Time(), 10 * (2.1 / 3e3 + 2e-3), 1e-12) << "no FFT is wider than the filter before it";
}

TEST_F(Bandwidth, TypedSweepTimesAreHeld) {
    const double shortest = Sweep_Data.shortest[0];
    Set_Sweep_Time(typed, 2);
    EXPECT_EQ(Time(), 2);
    EXPECT_EQ(Sweep_Data.time_mode[0], 1);
    Set_Sweep_Time(typed, 1e-3);
    EXPECT_EQ(Time(), shortest);
    EXPECT_EQ(Errors(), Codes{210});
    EXPECT_EQ(Check_warning, covers_time_short);
    Set_Sweep_Time(typed, 1000);
    EXPECT_EQ(Time(), 1000);
    EXPECT_EQ(Errors(), Codes{});
    EXPECT_EQ(Check_warning, 0);
    Set_Sweep_Time(typed, 1001);
    EXPECT_EQ(Time(), 1000);
    EXPECT_EQ(Errors(), Codes{200});
    EXPECT_EQ(Check_warning, covers_time_long);
    Set_Sweep_Time(typed, std::nextafter(shortest, 0));
    EXPECT_EQ(Errors(), Codes{}) << "the same time";
    Step(arrow, 1, Set_Sweep_Time);
    EXPECT_DOUBLE_EQ(Time(), 0.5);
    Step(arrow, 1, Set_Sweep_Time);
    EXPECT_DOUBLE_EQ(Time(), 1);
    Step(knob, -1, Set_Sweep_Time);
    EXPECT_DOUBLE_EQ(Time(), 0.99);
    Step(knob, 3, Set_Sweep_Time);
    EXPECT_DOUBLE_EQ(Time(), 1.02);
    Step(arrow, -1, Set_Sweep_Time);
    Step(arrow, -1, Set_Sweep_Time);
    for (int i = 0; i < 3; ++i) Step(arrow, -1, Set_Sweep_Time);
    EXPECT_EQ(Time(), shortest);
    EXPECT_EQ(Errors(), Codes{210});
    Set_Sweep_Time(typed, 0.5);
    Set_BW_VBW(typed, 10e3);
    EXPECT_GT(Time(), 0.5) << "raised where it became too short";
    Set_Sweep_Time_Mode(false);
    Set_VBW_Mode(false);
    EXPECT_EQ(Time(), shortest);
    EXPECT_EQ(Errors(), Codes{});
}

TEST_F(Bandwidth, UncalibratedWhereNothingCouldRefuse) {
    Set_EMI_Filter(true);
    Choose_Detector(detector_quasi_peak);
    Set_Cent(typed, 1.2e9);
    Set_Span(typed, 1e9);
    Set_BW_VBW(typed, 1);
    EXPECT_EQ(Errors(), Codes{});
    Set_Cent(typed, 900e6);
    EXPECT_EQ(Rbw(), 120e3) << "the band's filter with 8333 steps of 410 ms";
    EXPECT_EQ(Sweep_Data.uncal[0], 1);
    EXPECT_EQ(Time(), 1000);
    Set_Cent(typed, 899e6);
    EXPECT_EQ(Errors(), Codes{101}) << "said once";
    EXPECT_EQ(Check_warning, covers_uncal);
    Set_VBW_Mode(false);
    EXPECT_EQ(Sweep_Data.uncal[0], 0);
    EXPECT_EQ(Check_warning, 0);
}

TEST_F(Bandwidth, TheOtherScreenKeepsItsOwn) {
    Set_BW_RBW(typed, 100e3);
    Set_Sweep_Time(typed, 7);
    ScreenActive = 1;
    EXPECT_EQ(BW_Data.rbw[1], 0);
    Set_BW_RBW(typed, 300e3);
    EXPECT_EQ(BW_Data.rbw[0], 2);
    EXPECT_EQ(Sweep_Data.time[0], 7);
    EXPECT_EQ(Sweep_Data.time_mode[1], 0);
}

}  // namespace
