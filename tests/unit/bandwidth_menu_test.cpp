#include "keys/soft_keys.h"
#include "records_fixture.h"

namespace {

/// The pages of bandwidths and sweep time through the dispatch of keys.
class Bandwidth_Menu : public Factory_Records {
protected:
    void SetUp() override {
        Factory_Records::SetUp();
        Keypad_Exe(key_bw);
    }
    static int Chosen(int key) { return Face(key).chosen; }
};

TEST_F(Bandwidth_Menu, ResolutionTypedSteppedAndSwitched) {
    Walk({{"f0", BW_Data.rbw_mode[0], 0, "the first press selects"}, {"-25", NumLink[0]},
          {"f2", Says(0), "30 kHz", "no minus"}, {"", [&] { return Chosen(0); }, 1}, {"up <", Says(0), "30 kHz"},
          {"down down", Says(0), "FFT 3 kHz"}, {"", Says(1), "3 kHz"}, {"f0", Says(0), "1 MHz"},
          {"", [&] { return Chosen(0); }, 0}, {"f0", BW_Data.rbw_mode[0], 1}});
}

TEST_F(Bandwidth_Menu, VideoAndItsRatio) {
    Walk({{"f1 100 f2", Says(1), "100 kHz"}, {"", [&] { return Chosen(1); }, 1}, {"", Says(2), "0.1"},
          {"f2 .03", NumLink[9]}, {"f0", Says(1), "30 kHz"}, {"", Says(2), "0.03"}, {"up", Says(2), "0.1"},
          {"f1 f1", [&] { return Chosen(1); }, 0}, {"", Says(2), "1"}});
}

TEST_F(Bandwidth_Menu, EmiFilters) {
    Walk({{"f6", BWLink[0], "greyed without the filters"}, {"f5", BW_Data.emi, 1}, {"", [&] { return Chosen(5); }, 0},
          {"f6"}});
    ASSERT_EQ(keylink.load(), &BWLink[1]);
    Walk({{"", BWLink[1].highlight, 3}, {"f2", BWLink[1].highlight, 2},
          {"", [&] { return Int_RBW_Transfer(BW_Data.rbw[0]); }, 120e3}, {"f6", Says(0), "120 kHz"},
          {"f5 up", BW_Data.emi, 1, "arrows step a choice"}, {[] { KVA720_ATTR_INST_MODEL = 0; }},
          {"BW", BWLink[0].label[5], nullptr}, {"", BWLink[0].label[6], nullptr}});
}

TEST_F(Bandwidth_Menu, SweepTimeAndRule) {
    Walk({{"SWEEP f1", Says(1), "377.5 ms"}, {"2.5", NumLink[1]}, {"f1", Says(1), "2.500 s"},
          {"", [&] { return Chosen(1); }, 1}, {"up", Says(1), "5.000 s"}, {"1 f2", Check_warning, covers_time_short},
          {"", Says(1), "377.5 ms"}, {"3", Check_warning, 0, "a digit takes the warning away"},
          {"f1 f1", [&] { return Chosen(1); }, 0}, {"f5", [&] { return Chosen(5); }, 1},
          {"", Sweep_Data.steps[0], 6500},
          {"", Sweep_Data.time[0], Near{6500 * (0.16 * (14 + 42 + 184) + 20) * 1e-6, 1e-9}},
          {"down", [&] { return Chosen(5); }, 0}});
}

}  // namespace
