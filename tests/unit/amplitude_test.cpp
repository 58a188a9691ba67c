#include "sweep/amplitude.h"

#include <cmath>

#include "records/amp.h"
#include "records/function.h"
#include "records_fixture.h"
#include "trace/acquisition.h"

namespace {

constexpr int typed = 2;

class Amplitude : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        keylink = &FreqLink[0];
        Init_Trace_Data();
    }
};

TEST_F(Amplitude, AttenuationFollowsTheReferenceLevel) {
    Set_Reflevel(typed, 5);
    EXPECT_EQ(Amp.attenuation[0], 15);
    Set_Reflevel(typed, -20);
    EXPECT_EQ(Amp.attenuation[0], 10);
    Set_Reflevel(typed, 40);
    EXPECT_EQ(Amp.reference[0], 30);
    EXPECT_EQ(Amp.attenuation[0], 40);
    EMC_Data.mode = 1;
    Set_Reflevel(typed, 5);
    EXPECT_EQ(Amp.attenuation[0], 12) << "a smaller margin in EMC mode";
}

TEST_F(Amplitude, ManualAttenuationHoldsTheReferenceLevel) {
    Set_Attenuation(typed, 20);
    Set_Reflevel(typed, 15);
    EXPECT_EQ(Amp.reference[0], 10);
    Set_Attenuation(typed, 60);
    EXPECT_EQ(Amp.attenuation[0], 50);
    Set_Attenuation(typed, -3);
    EXPECT_EQ(Amp.attenuation[0], 0);
    EXPECT_EQ(Amp.reference[0], -10);
}

TEST_F(Amplitude, ThePreamplifierComesInBelowItsThreshold) {
    Amp.preamplifier_auto = 1;
    Set_Reflevel(typed, -30);
    EXPECT_EQ(Amp.preamplifier_in[0], 1);
    EXPECT_EQ(Amp.attenuation[0], 0);
    Set_Attenuation(typed, 20);
    EXPECT_EQ(Amp.attenuation[0], 10);
    Amp.attenuation_mode[0] = 0;
    Set_Reflevel(typed, -29);
    EXPECT_EQ(Amp.preamplifier_in[0], 0);
    EXPECT_EQ(Amp.attenuation[0], 10);
}

TEST_F(Amplitude, OffsetAndImpedanceShiftWhatIsShown) {
    Set_ReflevelOffset(typed, 20);
    EXPECT_EQ(Amp.displayed_reference[0], 20);
    EXPECT_EQ(Amp.reference[0], 0);
    Set_Reflevel(typed, 60);
    EXPECT_EQ(Amp.displayed_reference[0], 50);
    Amp.impedance[0] = 1;
    Set_InputZcal(typed, 6);
    Set_Reflevel(typed, -500);
    EXPECT_EQ(Amp.reference[0], -120);
    EXPECT_EQ(Amp.displayed_reference[0], -94);
    Set_Reflevel(typed, std::nan(""));
    EXPECT_EQ(Amp.reference[0], -120);
}

TEST_F(Amplitude, TracesStandWhereTheNewScaleHasThem) {
    Trace_Data[0].value[0].fill(-40);
    Set_Reflevel(typed, -20);
    EXPECT_EQ(Trace_Data[0].rows[0][300], 58 + 90);
}

}  // namespace
