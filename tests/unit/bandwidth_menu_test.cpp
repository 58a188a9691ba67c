#include <string_view>

#include "keys/dispatch.h"
#include "keys/key_codes.h"
#include "keys/soft_keys.h"
#include "panel.h"
#include "records/freqs.h"
#include "records/keystate.h"
#include "records/sys.h"
#include "records_fixture.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "trace/acquisition.h"

namespace {

/// The pages of bandwidths and sweep time through the dispatch of keys.
class Bandwidth_Menu : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        root.Write("/var/log/error.log", "");
        Freqs_ArrayInit();
        Init_Trace_Data();
        BW_Init();
        Sweep_Init();
        keylink = &FreqLink[0];
        Keypad_Exe(key_bw);
    }
    static int Chosen(int key) { return Face(key).chosen; }
};

constexpr std::int32_t soft(int key) { return key_soft_first + key; }

TEST_F(Bandwidth_Menu, ResolutionTypedSteppedAndSwitched) {
    Press({soft(0)});
    EXPECT_EQ(BW_Data.rbw_mode[0], 0) << "the first press selects";
    Type("-25");
    EXPECT_EQ(keylink.load(), &NumLink[0]);
    Press({soft(2)});
    EXPECT_EQ(Value(0), "30 kHz") << "no minus";
    EXPECT_EQ(Chosen(0), 1);
    Press({key_up, key_knob_left_first});
    EXPECT_EQ(Value(0), "30 kHz");
    Press({key_down, key_down});
    EXPECT_EQ(Value(0), "FFT 3 kHz");
    EXPECT_EQ(Value(1), "3 kHz");
    Press({soft(0)});
    EXPECT_EQ(Value(0), "1 MHz");
    EXPECT_EQ(Chosen(0), 0);
    Press({soft(0)});
    EXPECT_EQ(BW_Data.rbw_mode[0], 1);
}

TEST_F(Bandwidth_Menu, VideoAndItsRatio) {
    Press({soft(1)});
    Type("100");
    Press({soft(2)});
    EXPECT_EQ(Value(1), "100 kHz");
    EXPECT_EQ(Chosen(1), 1);
    EXPECT_EQ(Value(2), "0.1");
    Press({soft(2)});
    Type(".03");
    EXPECT_EQ(keylink.load(), &NumLink[9]);
    Press({soft(0)});
    EXPECT_EQ(Value(1), "30 kHz");
    EXPECT_EQ(Value(2), "0.03");
    Press({key_up});
    EXPECT_EQ(Value(2), "0.1");
    Press({soft(1), soft(1)});
    EXPECT_EQ(Chosen(1), 0);
    EXPECT_EQ(Value(2), "1");
}

TEST_F(Bandwidth_Menu, EmiFilters) {
    Press({soft(6)});
    EXPECT_EQ(keylink.load(), &BWLink[0]) << "greyed without the filters";
    Press({soft(5)});
    EXPECT_EQ(BW_Data.emi, 1);
    EXPECT_EQ(Chosen(5), 0);
    Press({soft(6)});
    ASSERT_EQ(keylink.load(), &BWLink[1]);
    EXPECT_EQ(BWLink[1].highlight, 3);
    Press({soft(2)});
    EXPECT_EQ(BWLink[1].highlight, 2);
    EXPECT_EQ(Int_RBW_Transfer(BW_Data.rbw[0]), 120e3);
    Press({soft(6)});
    EXPECT_EQ(Value(0), "120 kHz");
    Press({soft(5), key_up});
    EXPECT_EQ(BW_Data.emi, 1) << "arrows step a choice";
    KVA720_ATTR_INST_MODEL = 0;
    Press({key_bw});
    EXPECT_EQ(BWLink[0].label[5], nullptr);
    EXPECT_EQ(BWLink[0].label[6], nullptr);
}

TEST_F(Bandwidth_Menu, SweepTimeAndRule) {
    Press({key_sweep, soft(1)});
    EXPECT_EQ(Value(1), "377.5 ms");
    Type("2.5");
    EXPECT_EQ(keylink.load(), &NumLink[1]);
    Press({soft(1)});
    EXPECT_EQ(Value(1), "2.500 s");
    EXPECT_EQ(Chosen(1), 1);
    Press({key_up});
    EXPECT_EQ(Value(1), "5.000 s");
    Type("1");
    Press({soft(2)});
    EXPECT_EQ(Check_warning, covers_time_short);
    EXPECT_EQ(Value(1), "377.5 ms");
    Type("3");
    EXPECT_EQ(Check_warning, 0) << "a digit takes the warning away";
    Press({soft(1), soft(1)});
    EXPECT_EQ(Chosen(1), 0);
    Press({soft(5)});
    EXPECT_EQ(Chosen(5), 1);
    EXPECT_EQ(Sweep_Data.steps[0], 6500);
    EXPECT_NEAR(Sweep_Data.time[0], 6500 * (0.16 * (14 + 42 + 184) + 20) * 1e-6, 1e-9);
    Press({key_down});
    EXPECT_EQ(Chosen(5), 0);
}

}  // namespace
