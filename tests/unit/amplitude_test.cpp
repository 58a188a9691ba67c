#include "sweep/amplitude.h"

#include <cmath>
#include <limits>

#include "platform/dsp_message.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/keystate.h"
#include "records_fixture.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "trace/acquisition.h"
#include "trace/scale.h"

namespace {

constexpr int knob = 0, arrow = 1, typed = 2;

class Amplitude : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        keylink = &FreqLink[0];
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Init_Trace_Data();
    }
    /// A step of the knob or of the arrows, up or down.
    static void Step(int (*setter)(int, double), int source, int steps) {
        (steps > 0 ? AllKeyVar.up : AllKeyVar.down) = static_cast<std::uint16_t>(std::abs(steps));
        setter(source, 0);
        AllKeyVar.up = AllKeyVar.down = 0;
    }
    static int Reference() { return Amp.reference[0]; }
    static int Shown() { return Amp.displayed_reference[0]; }
    static int Attenuation() { return Amp.attenuation[0]; }
};

TEST_F(Amplitude, AttenuationFollowsTheReferenceLevel) {
    Set_Reflevel(typed, 5);
    EXPECT_EQ(Attenuation(), 15);
    EXPECT_EQ(Amp.attenuation_before[0], 10);
    Set_Reflevel(typed, -20);
    EXPECT_EQ(Attenuation(), 10);
    EXPECT_EQ(Amp.attenuation_before[0], 15);
    Set_Reflevel(typed, 40);
    EXPECT_EQ(Reference(), 30);
    EXPECT_EQ(Attenuation(), 40);
    Set_Reflevel(typed, 0.5);
    EXPECT_EQ(Reference(), 1) << "rounded";
    EMC_Data.mode = 1;
    Set_Reflevel(typed, 5);
    EXPECT_EQ(Attenuation(), 12) << "a smaller margin in EMC mode";
    EXPECT_EQ(EMC_Data.reference_changed, 1);
    Set_Reflevel(typed, -5);
    EXPECT_EQ(Attenuation(), 10);
}

TEST_F(Amplitude, ManualAttenuationHoldsTheReferenceLevel) {
    Set_Attenuation(typed, 20);
    Set_Reflevel(typed, 15);
    EXPECT_EQ(Reference(), 10);
    Set_Attenuation(typed, 60);
    EXPECT_EQ(Attenuation(), 50);
    Set_Attenuation(typed, -3);
    EXPECT_EQ(Attenuation(), 0);
    EXPECT_EQ(Reference(), -10);
    Set_ReflevelOffset(typed, 25);
    Set_Reflevel(typed, 50);
    EXPECT_EQ(Shown(), 15) << "lowered at the input, shown with the offset";
    Set_Attenuation_Mode(false);
    EXPECT_EQ(Attenuation(), 10) << "automatic again";
    Set_Attenuation_Mode(true);
    EXPECT_EQ(Attenuation(), 10) << "the value stays";
    EXPECT_EQ(Amp.attenuation_mode[0], 1);
}

TEST_F(Amplitude, ThePreamplifierComesInBelowItsThreshold) {
    Set_Reflevel(typed, -30);
    EXPECT_EQ(Amp.preamplifier_in[0], 0) << "kept out";
    Set_Preamplifier(true);
    EXPECT_EQ(Amp.preamplifier_in[0], 1);
    EXPECT_EQ(Attenuation(), 0);
    Set_Reflevel(typed, -29);
    EXPECT_EQ(Amp.preamplifier_in[0], 0);
    EXPECT_EQ(Attenuation(), 10);
    Set_Reflevel(typed, -30);
    Set_Attenuation(typed, 20);
    EXPECT_EQ(Attenuation(), 10);
    Set_Attenuation(typed, 10.4);
    EXPECT_EQ(Attenuation(), 10);
    Set_Preamplifier(false);
    EXPECT_EQ(Amp.preamplifier_in[0], 0);
    Set_Attenuation(typed, 20);
    EXPECT_EQ(Attenuation(), 20);
    Set_Attenuation_Mode(false);
    EMC_Data.mode = 1;
    Set_Preamplifier(true);
    Set_Reflevel(typed, -27);
    EXPECT_EQ(Amp.preamplifier_in[0], 1) << "sooner in EMC mode";
}

TEST_F(Amplitude, OffsetAndImpedanceShiftWhatIsShown) {
    Set_ReflevelOffset(typed, 20);
    EXPECT_EQ(Shown(), 20);
    EXPECT_EQ(Reference(), 0);
    Set_Reflevel(typed, 60);
    EXPECT_EQ(Shown(), 50);
    Set_InputZcal(typed, 6);
    EXPECT_EQ(Shown(), 50) << "not at 50 ohm";
    Set_Impedance(1);
    EXPECT_EQ(Shown(), 56);
    EXPECT_EQ(Reference(), 30);
    Set_Reflevel(typed, -500);
    EXPECT_EQ(Reference(), -120);
    EXPECT_EQ(Shown(), -94);
    Set_InputZcal(typed, 1e9);
    EXPECT_EQ(Shown(), 0);
    Set_ReflevelOffset(typed, -1e9);
    EXPECT_EQ(Shown(), -120);
    EXPECT_EQ(Shown_Level_Offset(), 0);
    Set_Impedance(0);
    EXPECT_EQ(Shown(), -220);
    Set_Impedance(7);
    EXPECT_EQ(Amp.impedance[0], 0);
}

TEST_F(Amplitude, KnobAndArrowsStepByTheirWidths) {
    Step(Set_Reflevel, knob, -3);
    EXPECT_EQ(Shown(), -3);
    Step(Set_Reflevel, arrow, -1);
    EXPECT_EQ(Shown(), -13);
    display_scale(typed, 2);
    Step(Set_Reflevel, arrow, 1);
    EXPECT_EQ(Shown(), -11) << "a division";
    Step(Set_Attenuation, knob, 3);
    EXPECT_EQ(Attenuation(), 11) << "one, however fast";
    EXPECT_EQ(Amp.attenuation_mode[0], 1);
    Step(Set_Attenuation, arrow, -1);
    EXPECT_EQ(Attenuation(), 6);
    Set_Attenuation(typed, 49);
    Step(Set_Attenuation, arrow, 1);
    EXPECT_EQ(Attenuation(), 50);
    Step(Set_ReflevelOffset, knob, 2);
    EXPECT_EQ(Amp.offset[0], 2);
    Step(Set_InputZcal, knob, -2);
    EXPECT_EQ(Amp.correction_75[0], 4);
    Set_Reflevel(typed, 31);
    Step(Set_Reflevel, knob, 3);
    EXPECT_EQ(Shown(), 32) << "30 dBm and the offset of 2 dB";
}

TEST_F(Amplitude, WhatIsNoFiniteNumberChangesNothing) {
    const auto before = Amp.attenuation_mode;
    for (const double none : {std::nan(""), std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity()}) {
        for (const auto setter : {Set_Reflevel, Set_Attenuation, Set_ReflevelOffset, Set_InputZcal, display_scale}) {
            EXPECT_EQ(setter(typed, none), 0);
        }
    }
    EXPECT_EQ(Shown(), 0);
    EXPECT_EQ(Attenuation(), 10);
    EXPECT_EQ(Amp.attenuation_mode, before);
    EXPECT_EQ(Amp.offset[0], 0);
    EXPECT_EQ(Amp.correction_75[0], 6);
    EXPECT_EQ(Amp.scale_code[0], 0);
}

TEST_F(Amplitude, TheOtherScreenKeepsItsOwn) {
    ScreenActive = 1;
    Init_Trace_Data();
    Set_Reflevel(typed, -40);
    Set_Impedance(1);
    Set_Linear_Scale(true);
    ScreenActive = 0;
    EXPECT_EQ(Shown(), 0);
    EXPECT_EQ(Amp.impedance[0], 0);
    EXPECT_EQ(Amp.scale_type[0], 0);
    Set_Preamplifier(true);
    EXPECT_EQ(Amp.preamplifier_in[0], 0);
    EXPECT_EQ(Amp.preamplifier_in[1], 1) << "the preamplifier's mode is one for both";
    EXPECT_EQ(Amp.attenuation[1], 0);
}

TEST_F(Amplitude, ScalesAreTheNearestOrTheNext) {
    for (const auto& [decibels, code] : {std::pair{10.0, 0}, {7.5, 0}, {7.4, 1}, {3.0, 2}, {1.2, 3}, {-4.0, 3}, {1e9, 0}}) {
        display_scale(typed, decibels);
        EXPECT_EQ(Amp.scale_code[0], code) << decibels;
    }
    Step(display_scale, knob, 1);
    EXPECT_EQ(Amp.scale_code[0], 1);
    Step(display_scale, arrow, -1);
    Step(display_scale, arrow, -1);
    EXPECT_EQ(Amp.scale_code[0], 3) << "round";
    Set_Linear_Scale(true);
    EXPECT_EQ(Amp.unit, unit_volt);
    display_scale(typed, 10);
    EXPECT_EQ(Amp.scale_code[0], 3) << "there are no decibels a division";
    Set_Linear_Scale(false);
    EXPECT_EQ(Amp.unit, unit_dbm);
    Set_Amplitude_Unit(unit_watt);
    Set_Linear_Scale(false);
    EXPECT_EQ(Amp.unit, unit_watt) << "only volts turn back";
    Set_Amplitude_Unit(9);
    EXPECT_EQ(Amp.unit, unit_watt);
}

TEST_F(Amplitude, TracesStandWhereTheNewScaleHasThem) {
    Trace_Record& record = Trace_Data[0];
    record.value[0].fill(-40);
    const auto row = [&] { return record.rows[0][300]; };
    Set_Reflevel(typed, -20);
    EXPECT_EQ(row(), 58 + 90);
    Set_ReflevelOffset(typed, 30);
    EXPECT_EQ(row(), 58 + 90) << "trace and reference level move together";
    Set_Impedance(1);
    EXPECT_EQ(row(), 58 + 90);
    display_scale(typed, 5);
    EXPECT_EQ(row(), 58 + 180);
    Set_Linear_Scale(true);
    EXPECT_EQ(row(), 58 + 405);
    Set_Impedance(0);
    Set_Amplitude_Unit(unit_dbuv);
    EXPECT_EQ(row(), 58 + 405) << "a unit moves nothing";
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
    Set_Linear_Scale(true);
    Amp_Auto_Scale();
    EXPECT_EQ(Reference(), -120);
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
TEST_F(Amplitude, OneMessageAChangeAndNoneForTheViewAlone) {
    std::array<double, platform::message_elements> message{};
    LOOP_Buffers = message.data();
    const auto messages = [](auto change) {
        testing::internal::CaptureStdout();
        change();
        std::fflush(stdout);
        const std::string lines = testing::internal::GetCapturedStdout();
        return std::count(lines.begin(), lines.end(), '\n');
    };
    EXPECT_EQ(messages([] { Set_Reflevel(typed, 5); }), 1);
    EXPECT_EQ(message[platform::sweep_reference], 5);
    EXPECT_EQ(message[platform::sweep_attenuation], 15);
    EXPECT_EQ(messages([] { Set_Attenuation(typed, 12); }), 1);
    EXPECT_EQ(message[platform::sweep_reference], 2);
    EXPECT_EQ(messages([] { Set_Attenuation_Mode(false); }), 1);
    EXPECT_EQ(messages([] { Set_Impedance(1); }), 1);
    EXPECT_EQ(message[platform::sweep_impedance], 1);
    EXPECT_EQ(messages([] { Set_ReflevelOffset(typed, 7); }), 1);
    EXPECT_EQ(message[platform::sweep_reference], 2) << "the core knows levels at the input";
    EXPECT_EQ(messages([] { Set_InputZcal(typed, 7); }), 1);
    Set_Reflevel(typed, -40);
    EXPECT_EQ(messages([] { Set_Preamplifier(true); }), 1);
    EXPECT_EQ(message[platform::sweep_preamplifier], 1);
    EXPECT_EQ(message[platform::sweep_attenuation], 0);
    Trace_Data[0].value[0].fill(-30);
    EXPECT_EQ(messages([] { Amp_Auto_Scale(); }), 1);
    EXPECT_EQ(messages([] {
                  Set_Amplitude_Unit(unit_volt);
                  display_scale(typed, 2);
                  Set_Linear_Scale(true);
                  Set_Level_Labels(false);
                  Set_Label_Position(labels_middle);
                  Set_Reflevel(typed, std::nan(""));
                  Amp_Auto_Scale();
              }),
              0);
    LOOP_Buffers = nullptr;
}

}  // namespace
