#include <string_view>

#include "keys/dispatch.h"
#include "keys/key_codes.h"
#include "keys/soft_keys.h"
#include "panel.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/keystate.h"
#include "records_fixture.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "system/preset.h"
#include "trace/acquisition.h"

namespace {

/// The amplitude pages through the dispatch of keys.
class Amplitude_Menu : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        root.Write("/var/log/error.log", "");
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Init_Trace_Data();
        keylink = &FreqLink[0];
        Keypad_Exe(key_amplitude);
    }
    static std::string Value(int key) {
        Key_Face face;
        Current_Page().face(key, face);
        return face.value.data();
    }
    static int Chosen(int key) {
        Key_Face face;
        Current_Page().face(key, face);
        return face.chosen;
    }
    static int Shown() { return Amp.displayed_reference[0]; }
};

constexpr std::int32_t soft(int key) { return key_soft_first + key; }

TEST_F(Amplitude_Menu, ReferenceLevelsInEachUnit) {
    Press({soft(0)});
    Type("-20");
    EXPECT_EQ(keylink.load(), &NumLink[2]);
    Press({soft(0)});
    EXPECT_EQ(Shown(), -20);
    EXPECT_EQ(Value(0), "-20.00 dBm");
    Type("97");
    Press({soft(2)});
    EXPECT_EQ(Shown(), -10) << "97 dBuV";
    Press({key_knob_right_first + 2, key_down});
    EXPECT_EQ(Shown(), -17);
    Press({soft(4)});
    ASSERT_EQ(keylink.load(), &AmpLink[1]);
    EXPECT_EQ(AmpLink[1].highlight, 0) << "the unit in force";
    for (const auto& [key, value] : {std::pair{1, "29.99 dBmV"}, {2, "89.99 dBuV"}, {3, "31.59 mV"}, {4, "19.95 uW"}}) {
        Press({soft(key)});
        EXPECT_EQ(AmpLink[1].highlight, key);
        EXPECT_EQ(Amp.unit, key);
        Press({soft(6)});
        ASSERT_EQ(keylink.load(), &AmpLink[0]);
        EXPECT_EQ(Value(0), value);
        Press({soft(4)});
    }
    Press({soft(6), soft(0)});
    Type("-2");
    EXPECT_EQ(keylink.load(), &NumLink[4]) << "watts";
    Press({soft(1)});
    EXPECT_EQ(Shown(), 3) << "no minus: 2 mW";
    Press({soft(4), soft(3), soft(6), soft(0)});
    Type("0.1");
    Press({soft(0)});
    EXPECT_EQ(Shown(), -7) << "0.1 V";
    EXPECT_EQ(Value(0), "99.88 mV");
}

TEST_F(Amplitude_Menu, AttenuationTypedSteppedAndSwitched) {
    Press({soft(1)});
    EXPECT_EQ(Amp.attenuation_mode[0], 0) << "the first press selects";
    Type("25");
    EXPECT_EQ(keylink.load(), &NumLink[5]);
    Press({soft(0)});
    EXPECT_EQ(Value(1), "25 dB");
    EXPECT_EQ(Chosen(1), 1);
    Press({key_knob_left_last, key_up});
    EXPECT_EQ(Amp.attenuation[0], 29);
    Press({soft(1)});
    EXPECT_EQ(Value(1), "10 dB");
    EXPECT_EQ(Chosen(1), 0);
    Press({soft(0), soft(1)});
    EXPECT_EQ(Amp.attenuation_mode[0], 0);
    Press({soft(5)});
    EXPECT_EQ(Amp.preamplifier_auto, 1);
    EXPECT_EQ(Chosen(5), 0);
    Press({key_up});
    EXPECT_EQ(Amp.preamplifier_auto, 0) << "arrows step a choice";
    Type("5");
    EXPECT_EQ(keylink.load(), &AmpLink[0]) << "it takes no digits";
}

TEST_F(Amplitude_Menu, ScalesAndWhatTheyGrey) {
    Press({soft(2)});
    EXPECT_EQ(Amp.scale_code[0], 1);
    Press({soft(2), soft(2), key_knob_right_first});
    EXPECT_EQ(Amp.scale_code[0], 0);
    Press({soft(3)});
    EXPECT_EQ(Amp.scale_type[0], 1);
    EXPECT_EQ(Value(0), "223.61 mV");
    Press({soft(2)});
    EXPECT_EQ(AmpLink[0].highlight, 3) << "no decibels a division";
    EXPECT_EQ(Amp.scale_code[0], 0);
    Trace_Data[0].value[0].fill(-33);
    Press({soft(6), soft(4)});
    EXPECT_EQ(Shown(), 0);
    Press({key_amplitude, soft(3), soft(6), soft(4)});
    EXPECT_EQ(Amp.scale_type[0], 0);
    EXPECT_EQ(Shown(), -33);
    EXPECT_EQ(Amp.scale_code[0], 3);
}

TEST_F(Amplitude_Menu, OffsetImpedanceAndLabels) {
    Press({soft(6), soft(0)});
    Type("-12.6");
    Press({soft(0)});
    EXPECT_EQ(Amp.offset[0], -13);
    EXPECT_EQ(Value(0), "-13 dB");
    Press({soft(2)});
    EXPECT_EQ(AmpLink[2].highlight, 0) << "greyed at 50 ohm";
    Press({soft(1)});
    EXPECT_EQ(Amp.impedance[0], 1);
    Press({soft(2), key_up});
    EXPECT_EQ(Amp.correction_75[0], 7);
    EXPECT_EQ(Shown(), -6);
    Press({soft(3)});
    EXPECT_EQ(keylink.load(), &AmpLink[2]) << "there are no corrections";
    Press({soft(5), soft(0), soft(1), soft(1)});
    EXPECT_EQ(Amp.labels, 0);
    EXPECT_EQ(Amp.label_position, labels_right);
    Press({key_up});
    EXPECT_EQ(Amp.label_position, labels_left);
    Press({soft(6), soft(6)});
    EXPECT_EQ(keylink.load(), &AmpLink[0]);
}

TEST_F(Amplitude_Menu, PresetPutsItAllBack) {
    Press({soft(3), soft(5), soft(6), soft(1), soft(2), key_up, soft(5), soft(0), key_preset});
    EXPECT_EQ(Amp.scale_type[0], 0);
    EXPECT_EQ(Amp.unit, unit_dbm);
    EXPECT_EQ(Amp.preamplifier_auto, 0);
    EXPECT_EQ(Amp.impedance[0], 0);
    EXPECT_EQ(Amp.correction_75[0], 6);
    EXPECT_EQ(Amp.labels, 1);
    EXPECT_EQ(Shown(), 0);
}

}  // namespace
