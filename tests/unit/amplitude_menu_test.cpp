#include "keys/soft_keys.h"
#include "records_fixture.h"

namespace {

/// The amplitude pages through the dispatch of keys.
class Amplitude_Menu : public Factory_Records {
protected:
    void SetUp() override {
        Factory_Records::SetUp();
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

TEST_F(Amplitude_Menu, ReferenceLevelsInEachUnit) {
    Walk({{"f0 -20", NumLink[2]}, {"f0", [&] { return Shown(); }, -20}, {"", Says(0), "-20.00 dBm"},
          {"97 f2", [&] { return Shown(); }, -10, "97 dBuV"}});
    Press({key_knob_right_first + 2, key_down});
    Walk({{"", Shown, -17}, {"f4"}});
    ASSERT_EQ(keylink.load(), &AmpLink[1]);
    EXPECT_EQ(AmpLink[1].highlight, 0) << "the unit in force";
    for (const auto& [key, value] : {std::pair{1, "29.99 dBmV"}, {2, "89.99 dBuV"}, {3, "31.59 mV"}, {4, "19.95 uW"}}) {
        Press({soft(key)});
        Walk({{"", AmpLink[1].highlight, key}, {"", Amp.unit, key}, {"f6"}});
        ASSERT_EQ(keylink.load(), &AmpLink[0]);
        Walk({{"", [&] { return Value(0); }, value}, {"f4"}});
    }
    Walk({{"f6 f0 -2", NumLink[4], "watts"}, {"f1", [&] { return Shown(); }, 3, "no minus: 2 mW"},
          {"f4 f3 f6 f0 0.1 f0", [&] { return Shown(); }, -7, "0.1 V"}, {"", Says(0), "99.88 mV"}});
}

TEST_F(Amplitude_Menu, AttenuationTypedSteppedAndSwitched) {
    Walk({{"f1", Amp.attenuation_mode[0], 0, "the first press selects"}, {"25", NumLink[5]}, {"f0", Says(1), "25 dB"},
          {"", [&] { return Chosen(1); }, 1}, {"<< up", Amp.attenuation[0], 29}, {"f1", Says(1), "10 dB"},
          {"", [&] { return Chosen(1); }, 0}, {"f0 f1", Amp.attenuation_mode[0], 0}, {"f5", Amp.preamplifier_auto, 1},
          {"", [&] { return Chosen(5); }, 0}, {"up", Amp.preamplifier_auto, 0, "arrows step a choice"},
          {"5", AmpLink[0], "it takes no digits"}});
}

TEST_F(Amplitude_Menu, ScalesAndWhatTheyGrey) {
    Walk({{"f2", Amp.scale_code[0], 1}, {"f2 f2 >", Amp.scale_code[0], 0}, {"f3", Amp.scale_type[0], 1},
          {"", Says(0), "223.61 mV"}, {"f2", AmpLink[0].highlight, 3, "no decibels a division"},
          {"", Amp.scale_code[0], 0}});
    Trace_Data[0].value[0].fill(-33);
    Walk({{"f6 f4", [&] { return Shown(); }, 0}, {"AMPL f3 f6 f4", Amp.scale_type[0], 0},
          {"", [&] { return Shown(); }, -33}, {"", Amp.scale_code[0], 3}});
}

TEST_F(Amplitude_Menu, OffsetImpedanceAndLabels) {
    Walk({{"f6 f0 -12.6 f0", Amp.offset[0], -13}, {"", Says(0), "-13 dB"},
          {"f2", AmpLink[2].highlight, 0, "greyed at 50 ohm"}, {"f1", Amp.impedance[0], 1},
          {"f2 up", Amp.correction_75[0], 7}, {"", [&] { return Shown(); }, -6},
          {"f3", AmpLink[2], "there are no corrections"}, {"f5 f0 f1 f1", Amp.labels, 0},
          {"", Amp.label_position, labels_right}, {"up", Amp.label_position, labels_left}, {"f6 f6", AmpLink[0]}});
}

TEST_F(Amplitude_Menu, PresetPutsItAllBack) {
    Walk({{"f3 f5 f6 f1 f2 up f5 f0 PRESET", Amp.scale_type[0], 0}, {"", Amp.unit, unit_dbm},
          {"", Amp.preamplifier_auto, 0}, {"", Amp.impedance[0], 0}, {"", Amp.correction_75[0], 6}, {"", Amp.labels, 1},
          {"", [&] { return Shown(); }, 0}});
}

}  // namespace
