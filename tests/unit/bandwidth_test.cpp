#include "records_fixture.h"

namespace {

class Bandwidth : public Factory_Records {
protected:
    void SetUp() override {
        Factory_Records::SetUp();
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
    Walk({{{Set_BW_RBW, 0}}, {{Set_BW_VBW, -5}, Rbw, 1}, {"", Vbw, 1},
          {"", [&] { return BW_Data.rbw_mode[0] + BW_Data.vbw_mode[0]; }, 2}, {"", Errors, Codes{}}});
}

TEST_F(Bandwidth, StepsGoAlongTheTable) {
    Walk({{{Set_BW_RBW, arrow, -1}, Rbw, 300e3}, {"", Vbw, 300e3, "the automatic VBW comes along"},
          {{Set_BW_RBW, knob, -3}, Rbw, 100e3}, {{Set_BW_RBW, knob, 1}}, {{Set_BW_RBW, knob, 1}},
          {{Set_BW_RBW, knob, 1}, Rbw, 1e6, "the widest is the end"}, {{Set_BW_VBW, arrow, -1}, Vbw, 300e3},
          {"", Rbw, 1e6}, {{Set_EMI_Filter, true}}});
    for (const double rbw : {120e3, 9e3, 200.0, 200.0}) {
        Walk({{{Set_BW_RBW, arrow, -1}, Rbw, rbw, "only EMI widths"}, {{Set_Span, 1e6}}});
    }
}

TEST_F(Bandwidth, AVbwKeepsItsRatioUntilItIsSet) {
    Walk({{{Set_BW_Ratio, 0.1}, Vbw, 100e3}, {"", BW_Data.vbw_mode[0], 1}, {{Set_Span, 2e6}, Rbw, 10e3},
          {"", Vbw, 1e3, "also behind an automatic RBW"}, {"", [&] { return Int_BW_Transfer_Ratio(); }, 0.1},
          {{Set_BW_RBW, 100e3}, Vbw, 10e3}, {{Set_BW_Ratio, arrow, 1}, Vbw, 30e3}, {{Set_BW_RBW, 30e3}, Vbw, 10e3},
          {{Set_BW_VBW, 3e3}}, {{Set_BW_RBW, 300e3}, Vbw, 3e3}, {{Set_BW_Ratio, 0}, BW_Data.ratio[0], 1e-6},
          {{Set_VBW_Mode, false}, Vbw, 300e3}, {"", BW_Data.ratio[0], 0}, {"", Errors, Codes{}}});
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
    Walk({{{Set_Span, 10e3}}, {{Set_BW_RBW, 1e3}, Rbw, 200, "no ordinary width"},
          {{Set_EMI_Filter, false}, BW_Data.rbw_mode[0], 0}, {"", Rbw, 100},
          {"", Trace_Data[0].detector_choice[0], detector_auto}, {"", EMI_Detector, false},
          {"", [&] { return Int_RBW_Transfer(13); }, 141}});
}

TEST_F(Bandwidth, ZeroSpanKeepsWhatItCanUse) {
    Walk({{{Set_BW_RBW, 30e3}}, {{Set_RBW_Mode, false}}, {{Set_Span, 200e3}, Rbw, 1e3}, {{Set_Span, 0}, Rbw, 10e3},
          {{Set_BW_RBW, 100e3}}, {{Set_RBW_Mode, false}, Rbw, 100e3, "wider ones stay"}, {"", Errors, Codes{}},
          {"", [&] { return Set_BW_RBW(typed, 3e3); }, -1}, {"", Errors, Codes{111}}, {"", Check_warning, covers_rbw},
          {"", Condition, true}, {"", Rbw, 100e3}, {"", BW_Data.rbw_mode[0], 0}, {{Set_BW_RBW, 10e3}, Condition, false},
          {"", Check_warning, 0, "what was taken clears the warning"}});
    for (int i = 0; i < 4; ++i) Turn(Set_BW_RBW, knob, -1);
    Walk({{"", Errors, Codes{111}, "a knob at its end says it once"},
          {{Set_EMI_Filter, true}, Rbw, 9e3, "an EMI width stays"}});
}

TEST_F(Bandwidth, AManualNarrowWidthStaysInZeroSpanAndIsSaid) {
    Walk({{{Set_Span, 10e3}}, {{Set_BW_RBW, 1e3}}, {{Set_Span, 0}, Rbw, 1e3}, {"", JUDGE_FFT_MODE, 1},
          {"", Errors, Codes{111}}, {"", Condition, true}, {{Set_Cent, 1e9}, Errors, Codes{}, "once"},
          {"", Condition, true}, {{Set_Span, 1e3}, Condition, false}, {{Set_Span, 0}},
          {{Set_RBW_Mode, false}, Rbw, 10e3}, {"", Condition, false}});
}

TEST_F(Bandwidth, WidthsThatNeedTooLongAreRefused) {
    const auto shortest = Sweep_Data.shortest[0];
    Walk({{"", [&] { return Set_BW_RBW(typed, 1e3); }, 0}, {"", [&] { return Set_BW_RBW(typed, 10); }, -1},
          {"", Rbw, 1e3}, {"", Errors, Codes{110}}, {"", Check_warning, covers_rbw}, {"", Condition, true},
          {{Set_RBW_Mode, false}, Condition, false}, {"", [&] { return Set_BW_VBW(typed, 1); }, -1},
          {"", Errors, Codes{110}}, {"", BW_Data.vbw_mode[0], 0},
          {"", [&] { return Set_BW_VBW(typed, 3); }, -1, "6500 steps of 205 ms"},
          {"", [&] { return Set_BW_VBW(typed, 10); }, 0}});
    EXPECT_NEAR(Sweep_Data.shortest[0], 6500 * (0.16 * (256000 + 40 + 184) + 20) * 1e-6, 1e-9);
    Walk({{"", Sweep_Data.uncal[0], 0}, {{Set_BW_Ratio, 1e-6}, Vbw, 10}, {"", Errors, (Codes{110, 110})}});
    // An RBW whose automatic successor would take too long with the manual VBW stays manual.
    Walk({{{Set_Span, 2e6}}, {{Set_BW_RBW, 1e6}}, {{Set_BW_VBW, 1}},
          {{Set_Span, 1e9}, Freqs.span[0], 1e9, "2000 steps of 410 ms"}, {{Set_Span, 3e9}, Freqs.span[0], 1e9},
          {{Set_VBW_Mode, false}}, {Set_Full_Span}, {{Set_RBW_Mode, false}, Sweep_Data.shortest[0], shortest}});
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
    Walk({{"", JUDGE_FFT_MODE, 0}, {"", Time, Near{6 * (0.16 * (2560 + 18880 + 184) + 20) * 1e-6, 1e-12}},
          {{Set_BW_RBW, 300}, Sweep_Data.mode[0], sweep_mode_auto, "it no longer suits"}});
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_fft), 0);
    Set_BW_RBW(typed, 10e3);
    EXPECT_EQ(Sweep_Data.mode[0], sweep_mode_auto);
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_fft), -1);
    Walk({{"", [&] { return Set_Sweep_Mode(7); }, -1}, {Set_Full_Span}, {{Set_BW_RBW, 1e3}}});
    EXPECT_EQ(Set_Sweep_Mode(sweep_mode_swept), -1) << "6 500 000 steps of 3 ms";
    Walk({{"", JUDGE_FFT_MODE, 1}, {{Set_RBW_Mode, false}}, {{Set_EMI_Filter, true}}, {{Set_Span, 10e3}, Rbw, 200},
          {"", JUDGE_FFT_MODE, 1}, {"", BW_RBW_Code, 2, "100 kHz before an FFT of 512 times 141 Hz"},
          {{Choose_Detector, detector_emi_average}, JUDGE_FFT_MODE, 0, "not for an EMI detector"},
          {"", BW_RBW_Code, 13}, {{Choose_Detector, detector_auto}}, {{Set_Span, 0}, Rbw, 200},
          {"", JUDGE_FFT_MODE, 0, "nor in zero span"}});
}

TEST_F(Bandwidth, StepsAndSettling) {
    Walk({{{Set_Span, 10e6}, Sweep_Data.steps[0], 200},
          {"", Time, Near{200 * (0.16 * (39 + 213 + 184) + 20) * 1e-6, 1e-12}},
          {{Set_Sweep_Rule, true}, Time, Near{200 * (0.16 * (39 + 221 + 184) + 20) * 1e-6, 1e-12}},
          {"", BW_RBW_Mode[0], 1}, {{Set_EMI_Filter, true}, Rbw, 120e3},
          {"", Sweep_Data.steps[0], 219},
          {"", Time, Near{219 * (0.16 * (39 + 221 + 184) + 20) * 1e-6, 1e-12}},
          {{Set_Span, 1e6}, Sweep_Data.steps[0], 291},
          {"", Time, Near{291 * (0.16 * (287 + 2134 + 184) + 42) * 1e-6, 1e-12}, "the one pair"},
          {{Choose_Detector, detector_emi_average}, Sweep_Data.steps[0], 111, "1 MHz / 9 kHz, cut"},
          {"", Time, Near{111 * (0.16 * (287 + 2134 + 184) + 42 + 3000) * 1e-6, 1e-9}, "three charging times a step"},
          {{Choose_Detector, detector_auto}},
          {Set_Full_Span, Time, Near{std::ceil(1.85 * 3.25e3) * (0.16 * (14 + 213 + 184) + 20) * 1e-6, 1e-9},
           "the EMI column"},
          {{Set_EMI_Filter, false}}, {{Set_Sweep_Rule, false}}, {{Set_BW_RBW, 1e6}},
          {{Set_Span, 2e6}, Sweep_Data.steps[0], 6, "never fewer"}, {{Set_Span, 2.6e6}, Sweep_Data.steps[0], 6},
          {{Set_Span, 3.1e6}, Sweep_Data.steps[0], 7}});
}

TEST_F(Bandwidth, FftsAreAsLongAsTheirWindowAndTheVideoFilter) {
    Walk({{{Set_Span, 200}, Time, Near{2.1 + 2e-3, 1e-12}}, {{Set_BW_RBW, 100}, Time, Near{23e-3, 1e-12}},
          {{Set_BW_VBW, 1}, Time, Near{2.102, 1e-12}, "an average over the video filter's time"},
          {{Set_VBW_Mode, false}}, {{Set_BW_RBW, 3e3}},
          {{Set_Span, 10e6}, Time, Near{10 * (2.1 / 3e3 + 2e-3), 1e-12}, "no FFT is wider than the filter before it"}});
}

TEST_F(Bandwidth, TypedSweepTimesAreHeld) {
    const double shortest = Sweep_Data.shortest[0];
    Walk({{{Set_Sweep_Time, 2}, Time, 2}, {"", Sweep_Data.time_mode[0], 1}, {{Set_Sweep_Time, 1e-3}, Time, shortest},
          {"", Errors, Codes{210}}, {"", Check_warning, covers_time_short}, {{Set_Sweep_Time, 1000}, Time, 1000},
          {"", Errors, Codes{}}, {"", Check_warning, 0}, {{Set_Sweep_Time, 1001}, Time, 1000}, {"", Errors, Codes{200}},
          {"", Check_warning, covers_time_long},
          {{Set_Sweep_Time, std::nextafter(shortest, 0)}, Errors, Codes{}, "the same time"},
          {{Set_Sweep_Time, arrow, 1}, Time, 0.5}, {{Set_Sweep_Time, arrow, 1}, Time, 1},
          {{Set_Sweep_Time, knob, -1}, Time, 0.99}, {{Set_Sweep_Time, knob, 3}, Time, 1.02},
          {{Set_Sweep_Time, arrow, -1}}, {{Set_Sweep_Time, arrow, -1}}});
    for (int i = 0; i < 3; ++i) Turn(Set_Sweep_Time, arrow, -1);
    Walk({{"", Time, shortest}, {"", Errors, Codes{210}}, {{Set_Sweep_Time, 0.5}}, {{Set_BW_VBW, 10e3}}});
    EXPECT_GT(Time(), 0.5) << "raised where it became too short";
    Walk({{{Set_Sweep_Time_Mode, false}}, {{Set_VBW_Mode, false}, Time, shortest}, {"", Errors, Codes{}}});
}

TEST_F(Bandwidth, UncalibratedWhereNothingCouldRefuse) {
    Walk({{{Set_EMI_Filter, true}}, {{Choose_Detector, detector_quasi_peak}}, {{Set_Cent, 1.2e9}}, {{Set_Span, 1e9}},
          {{Set_BW_VBW, 1}, Errors, Codes{}},
          {{Set_Cent, 900e6}, Rbw, 120e3, "the band's filter with 8333 steps of 410 ms"}, {"", Sweep_Data.uncal[0], 1},
          {"", Time, 1000}, {{Set_Cent, 899e6}, Errors, Codes{101}, "said once"}, {"", Check_warning, covers_uncal},
          {{Set_VBW_Mode, false}, Sweep_Data.uncal[0], 0}, {"", Check_warning, 0}});
}

}  // namespace
