#include "sweep/amplitude.h"

#include "platform/dsp_message.h"
#include "records_fixture.h"
#include "trace/scale.h"

namespace {

class Amplitude : public Factory_Records {
protected:
    static int Reference() { return Amp.reference[0]; }
    static int Shown() { return Amp.displayed_reference[0]; }
    static int Attenuation() { return Amp.attenuation[0]; }
};

TEST_F(Amplitude, AttenuationFollowsTheReferenceLevel) {
    Walk({{{Set_Reflevel, 5}, Attenuation, 15}, {"", Amp.attenuation_before[0], 10},
          {{Set_Reflevel, -20}, Attenuation, 10}, {"", Amp.attenuation_before[0], 15},
          {{Set_Reflevel, 40}, Reference, 30}, {"", Attenuation, 40}, {{Set_Reflevel, 0.5}, Reference, 1, "rounded"},
          {[] { EMC_Data.mode = 1; }}, {{Set_Reflevel, 5}, Attenuation, 12, "a smaller margin in EMC mode"},
          {"", EMC_Data.reference_changed, 1}, {{Set_Reflevel, -5}, Attenuation, 10}});
}

TEST_F(Amplitude, ManualAttenuationHoldsTheReferenceLevel) {
    Walk({{{Set_Attenuation, 20}}, {{Set_Reflevel, 15}, Reference, 10}, {{Set_Attenuation, 60}, Attenuation, 50},
          {{Set_Attenuation, -3}, Attenuation, 0}, {"", Reference, -10}, {{Set_ReflevelOffset, 25}},
          {{Set_Reflevel, 50}, Shown, 15, "lowered at the input, shown with the offset"},
          {{Set_Attenuation_Mode, false}, Attenuation, 10, "automatic again"},
          {{Set_Attenuation_Mode, true}, Attenuation, 10, "the value stays"}, {"", Amp.attenuation_mode[0], 1}});
}

TEST_F(Amplitude, ThePreamplifierComesInBelowItsThreshold) {
    Walk({{{Set_Reflevel, -30}, Amp.preamplifier_in[0], 0, "kept out"},
          {{Set_Preamplifier, true}, Amp.preamplifier_in[0], 1}, {"", Attenuation, 0},
          {{Set_Reflevel, -29}, Amp.preamplifier_in[0], 0}, {"", Attenuation, 10}, {{Set_Reflevel, -30}},
          {{Set_Attenuation, 20}, Attenuation, 10}, {{Set_Attenuation, 10.4}, Attenuation, 10},
          {{Set_Preamplifier, false}, Amp.preamplifier_in[0], 0}, {{Set_Attenuation, 20}, Attenuation, 20},
          {{Set_Attenuation_Mode, false}}, {[] { EMC_Data.mode = 1; }}, {{Set_Preamplifier, true}},
          {{Set_Reflevel, -27}, Amp.preamplifier_in[0], 1, "sooner in EMC mode"}});
}

TEST_F(Amplitude, OffsetAndImpedanceShiftWhatIsShown) {
    Walk({{{Set_ReflevelOffset, 20}, Shown, 20}, {"", Reference, 0}, {{Set_Reflevel, 60}, Shown, 50},
          {{Set_InputZcal, 6}, Shown, 50, "not at 50 ohm"}, {{Set_Impedance, 1}, Shown, 56}, {"", Reference, 30},
          {{Set_Reflevel, -500}, Reference, -120}, {"", Shown, -94}, {{Set_InputZcal, 1e9}, Shown, 0},
          {{Set_ReflevelOffset, -1e9}, Shown, -120}, {"", Shown_Level_Offset, 0}, {{Set_Impedance, 0}, Shown, -220},
          {{Set_Impedance, 7}, Amp.impedance[0], 0}});
}

TEST_F(Amplitude, KnobAndArrowsStepByTheirWidths) {
    Walk({{{Set_Reflevel, knob, -3}, Shown, -3}, {{Set_Reflevel, arrow, -1}, Shown, -13}, {{display_scale, 2}},
          {{Set_Reflevel, arrow, 1}, Shown, -11, "a division"},
          {{Set_Attenuation, knob, 3}, Attenuation, 11, "one, however fast"}, {"", Amp.attenuation_mode[0], 1},
          {{Set_Attenuation, arrow, -1}, Attenuation, 6}, {{Set_Attenuation, 49}},
          {{Set_Attenuation, arrow, 1}, Attenuation, 50}, {{Set_ReflevelOffset, knob, 2}, Amp.offset[0], 2},
          {{Set_InputZcal, knob, -2}, Amp.correction_75[0], 4}, {{Set_Reflevel, 31}},
          {{Set_Reflevel, knob, 3}, Shown, 32, "30 dBm and the offset of 2 dB"}});
}

TEST_F(Amplitude, ThePreamplifiersModeIsOneForBothScreens) {
    Amp.reference[1] = -40;
    Walk({{{Set_Preamplifier, true}, Amp.preamplifier_in[0], 0}, {"", Amp.preamplifier_in[1], 1},
          {"", Amp.attenuation[1], 0}});
}

TEST_F(Amplitude, ScalesAreTheNearestOrTheNext) {
    for (const auto& [decibels, code] : {std::pair{10.0, 0}, {7.5, 0}, {7.4, 1}, {3.0, 2}, {1.2, 3}, {-4.0, 3}, {1e9, 0}}) {
        display_scale(typed, decibels);
        EXPECT_EQ(Amp.scale_code[0], code) << decibels;
    }
    Walk({{{display_scale, knob, 1}, Amp.scale_code[0], 1}, {{display_scale, arrow, -1}},
          {{display_scale, arrow, -1}, Amp.scale_code[0], 3, "round"}, {{Set_Linear_Scale, true}, Amp.unit, unit_volt},
          {{display_scale, 10}, Amp.scale_code[0], 3, "there are no decibels a division"},
          {{Set_Linear_Scale, false}, Amp.unit, unit_dbm}, {{Set_Amplitude_Unit, unit_watt}},
          {{Set_Linear_Scale, false}, Amp.unit, unit_watt, "only volts turn back"},
          {{Set_Amplitude_Unit, 9}, Amp.unit, unit_watt}});
}

TEST_F(Amplitude, TracesStandWhereTheNewScaleHasThem) {
    Trace_Record& record = Trace_Data[0];
    record.value[0].fill(-40);
    const auto row = [&] { return record.rows[0][300]; };
    Walk({{{Set_Reflevel, -20}, [&] { return row(); }, 58 + 90},
          {{Set_ReflevelOffset, 30}, [&] { return row(); }, 58 + 90, "trace and reference level move together"},
          {{Set_Impedance, 1}, [&] { return row(); }, 58 + 90}, {{display_scale, 5}, [&] { return row(); }, 58 + 180},
          {{Set_Linear_Scale, true}, [&] { return row(); }, 58 + 405}, {{Set_Impedance, 0}},
          {{Set_Amplitude_Unit, unit_dbuv}, [&] { return row(); }, 58 + 405, "a unit moves nothing"}});
}

TEST_F(Amplitude, AutomaticScaleFillsTheUpperHalf) {
    Trace_Record& record = Trace_Data[0];
    auto& values = record.value[0];
    Set_ReflevelOffset(typed, 12);
    struct Case { float lowest, highest; int reference, code; };
    for (const auto& [lowest, highest, reference, code] :
         {Case{-24.4f, -20.4f, -20, 3}, {-29.0f, -20.4f, -20, 2}, {-44.0f, -20.0f, -20, 1}, {-95.0f, -20.4f, -20, 0},
          {-3.0f, 4.2f, 5, 2}, {-150.0f, -140.0f, -120, 0}}) {
        values.fill(lowest);
        values[100] = highest;
        Amp_Auto_Scale();
        EXPECT_EQ(Reference(), reference) << highest;
        EXPECT_EQ(Shown(), reference + 12);
        EXPECT_EQ(Amp.scale_code[0], code) << lowest;
        EXPECT_EQ(Attenuation(), std::max(reference, 0) + 10);
    }
    values.fill(-180);
    values[300] = std::nanf("");
    Amp_Auto_Scale();
    EXPECT_EQ(Reference(), -120) << "nothing to scale by";
    values.fill(-30);
    record.mode[0] = trace_blank;
    Amp_Auto_Scale();
    record.mode[0] = trace_clear_write;
    Walk({{{Set_Linear_Scale, true}}, {Amp_Auto_Scale, Reference, -120}});
}

TEST_F(Amplitude, HeldMaximaStartAgainWithANewCoupling) {
    Trace_Record& record = Trace_Data[0];
    record.mode[0] = trace_max_hold;
    const auto restarts = [&](auto change) {
        record.value[0].fill(-50);
        change();
        return record.value[0][300] == -200;
    };
    EXPECT_TRUE(restarts([] { Set_Reflevel(typed, -10); }));
    EXPECT_TRUE(restarts([] { Set_Attenuation(typed, 20); }));
    EXPECT_TRUE(restarts([] { Set_Attenuation_Mode(false); }));
    EXPECT_TRUE(restarts([] { Set_Preamplifier(true); }));
    EXPECT_FALSE(restarts([] { Set_Amplitude_Unit(unit_volt); }));
    EXPECT_FALSE(restarts([] { display_scale(typed, 5); }));
    EXPECT_FALSE(restarts([] { Set_ReflevelOffset(typed, 5); }));
}

/// Without a link each message fails once, with a line.
TEST_F(Amplitude, TheCoreIsNotToldOfTheViewAlone) {
    std::array<double, platform::message_elements> message{};
    LOOP_Buffers = message.data();
    const auto said = [](auto change) {
        testing::internal::CaptureStdout();
        change();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    };
    Trace_Data[0].value[0].fill(-30);
    EXPECT_NE(said([] { Set_Preamplifier(true); }), "");
    EXPECT_NE(said([] { Amp_Auto_Scale(); }), "");
    for (const auto view : {+[] { Set_Amplitude_Unit(unit_volt); }, +[] { display_scale(typed, 2); },
                            +[] { Set_Linear_Scale(true); }, +[] { Set_Level_Labels(false); },
                            +[] { Set_Label_Position(labels_middle); }, +[] { Amp_Auto_Scale(); }}) {
        EXPECT_EQ(said(view), "");
    }
    LOOP_Buffers = nullptr;
}

}  // namespace
