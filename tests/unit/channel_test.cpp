#include "measure/channel.h"

#include "commands_rig.h"

namespace {

class Channel : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        Freqs_ArrayInit();
        Set_Cent(2, 500e6);
        Set_Span(2, 50e6);
    }
};

TEST_F(Channel, EachMeasurementStepsByItsOwnSpacing) {
    Talk({{"CHAN:SPAC:UP", -221, "none runs"}, {"CHAN:SPAC:DOWN", -221}});
    constexpr struct {
        int table;
        const char* header;
        double before;
    } cases[] = {{table_acpr, "ACPR:SPAC", 5e6},         {table_occupied_bandwidth, "OCBW:SPAC", 5e6},
                 {table_cnr, "CNR:CHAN:SPAC", 6e6},      {table_cso, "CSO:CHAN:SPAC", 6e6},
                 {table_ctb, "CTB:CHAN:SPAC", 6e6}};
    for (const auto& [table, header, before] : cases) {
        Global_Table = table;
        const std::string root = header;
        EXPECT_EQ(Errors("CHAN:SPAC:UP"), None()) << header;
        EXPECT_EQ(Freqs.center[0], 500e6 + before) << header;
        EXPECT_EQ(Errors(root + " 8MHZ;:CHAN:SPAC:DOWN"), None());
        EXPECT_EQ(Ask(root + "?"), "8.000000000e+06");
        EXPECT_EQ(Freqs.center[0], 500e6 + before - 8e6) << header;
        EXPECT_EQ(Errors(root + " 1e30;:" + root + " -1"), None());
        EXPECT_EQ(Ask(root + "?"), "0.000000000e+00");
        EXPECT_EQ(Errors(root + " 1 V"), Codes{-130});
        Set_Cent(2, 500e6);
    }
}

TEST_F(Channel, StepsEndAtTheBandsEnds) {
    Global_Table = table_cnr;
    Channel_Data.cnr_spacing = 3e9;
    Set_Offset_Freq(2, 10e9);
    EXPECT_TRUE(Step_Channel(1));
    EXPECT_EQ(Freqs.center[0], MAXFREQUENCY);
    EXPECT_TRUE(Step_Channel(-1));
    EXPECT_TRUE(Step_Channel(-1));
    EXPECT_EQ(Freqs.center[0], 0);
}

TEST_F(Channel, KeysOfTheMeasurePages) {
    const auto press = [](std::initializer_list<int> codes) {
        for (const int code : codes) Keypad_Exe(code);
    };
    constexpr int soft = key_soft_first;
    press({key_measure, soft + 1});
    ASSERT_EQ(keylink.load(), &MeasLink[5]);
    press({soft + 4});
    EXPECT_EQ(MeasLink[5].highlight, no_highlight) << "greyed while nothing runs";
    press({soft + 3, '7', soft + 1});
    EXPECT_EQ(Channel_Data.occupied_spacing, 7e6);
    press({key_up});
    Walk({{"", Channel_Data.occupied_spacing, 10e6}, {[] { Global_Table = table_occupied_bandwidth; }}});
    press({soft + 4});
    EXPECT_EQ(Freqs.center[0], 510e6);
    press({soft + 5});
    Walk({{"", Freqs.center[0], 500e6}, {[] { Freqs.span[0] = 0; }}});
    press({soft + 5});
    EXPECT_EQ(Freqs.center[0], 500e6) << "greyed in zero span";
}

}  // namespace
