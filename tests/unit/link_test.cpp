#include "records_fixture.h"
#include "system/system.h"
#include "virtual_board/board.h"
#include "virtual_board/scene.h"

namespace {

/// The link's calls against a board on which one of them fails.
class Link : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        std::filesystem::create_directories(platform::Rooted("/dev/fb"));
        std::filesystem::create_directories(platform::Rooted("/dev/tts"));
        board = std::make_unique<virtual_board::Board>(virtual_board::Parse_Scene("", "none"),
                                                       virtual_board::Board_Options{});
        board->Start();
    }
    void TearDown() override {
        root.Write("/dev/faults", "");
        Down();
        board.reset();
        Records::TearDown();
    }
    /// What the console says while work is done with one call failing.
    template <class Work>
    std::string Said(const std::string& fault, Work&& work) {
        root.Write("/dev/faults", fault + "\n");
        testing::internal::CaptureStdout();
        work();
        std::fflush(stdout);
        root.Write("/dev/faults", "");
        return testing::internal::GetCapturedStdout();
    }
    /// Takes the link down, whatever is there of it.
    static void Down() {
        testing::internal::CaptureStdout();
        LOOP_Delete();
        testing::internal::GetCapturedStdout();
    }
    static bool Start() { return platform::DSP_SUCCEEDED(LOOP_Main("dsp_loop_new.out", "2048", "1")); }
    std::unique_ptr<virtual_board::Board> board;
};

TEST_F(Link, EachFailingStepOfTheStartIsNamedAndEndsIt) {
    for (const auto& [fault, text] : std::initializer_list<std::pair<const char*, const char*>>{
             {"PROC_setup", "PROC_setup failed.\n"},
             {"PROC_attach", "PROC_attach failed.\n"},
             {"POOL_open", "POOL_open () failed.\n"},
             {"PROC_load", "PROC_load failed.\n"},
             {"CHNL_create 0", "CHNL_create failed (output).\n"},
             {"CHNL_create 1", "CHNL_create failed (input).\n"},
             {"CHNL_allocateBuffer", "CHNL_allocateBuffer failed (output).\n"},
             {"PROC_start", "PROC_start failed.\n"}}) {
        EXPECT_EQ(Said(fault, [] { EXPECT_FALSE(Start()); }), text);
        Down();
    }
    EXPECT_TRUE(Start()) << "a link that failed can be started again";
}

TEST_F(Link, EachFailingStepOfATransferIsNamedAndTheNextTransferWorks) {
    ASSERT_TRUE(Start());
    for (const auto& [fault, text] : std::initializer_list<std::pair<const char*, const char*>>{
             {"CHNL_issue 0", "CHNL_issue failed (output).\n"},
             {"CHNL_issue 1", "CHNL_issue failed (input).\n"},
             {"CHNL_reclaim 1", "CHNL_reclaim failed (input)."}}) {
        EXPECT_EQ(Said(fault, [] { EXPECT_FALSE(platform::DSP_SUCCEEDED(LOOP_Execute(1))); }), text);
        Down();
        ASSERT_TRUE(Start());
        EXPECT_TRUE(platform::DSP_SUCCEEDED(LOOP_Execute(1))) << fault;
    }
    EXPECT_EQ(Said("CHNL_reclaim 0", [] { LOOP_Execute(1); }), "CHNL_reclaim failed (output).\n");
}

TEST_F(Link, TheTableOfCorrectionsIsHandedOverWholeOrNotAtAll) {
    ASSERT_TRUE(Start());
    std::string table;
    for (int i = 1; i <= 16; ++i) table += std::to_string(i) + "\n";
    const auto hand_over = [&](const std::string& text) {
        std::fill_n(LOOP_Buffers, 20, -1.0);
        root.Write("/mnt/nand/record.out", text);
        return Said("", [] {
            Init_readOutfile();
            Hand_Over_Corrections();
        });
    };
    Expect({{hand_over(table), "File could not be opened. \n", "an entry is missing"}, {LOOP_Buffers[2], -1},
            {hand_over(table + "17\n"), ""}, {LOOP_Buffers[0], 0}, {LOOP_Buffers[1], 0}});
    for (int i = 2; i <= 17; ++i) EXPECT_EQ(LOOP_Buffers[i], i);
    EXPECT_EQ(LOOP_Buffers[18], MAXSPAN);
    EXPECT_EQ(LOOP_Buffers[19], 1);
    KVA720_ATTR_INST_MODEL = 0;
    hand_over(table + "17\n");
    EXPECT_EQ(LOOP_Buffers[19], 0);
    std::filesystem::remove(platform::Rooted("/mnt/nand/record.out"));
    EXPECT_EQ(Said("", [] { Init_readOutfile(); Hand_Over_Corrections(); }), "File could not be opened. \n");
}

TEST_F(Link, ArgumentsOutOfRangeAreRefused) {
    const std::string refusal =
        "ERROR! Invalid arguments specified for  loop application.\n     Max iterations = 65535\n";
    EXPECT_EQ(Said("", [] { LOOP_Main("dsp_loop_new.out", "2048", "65536"); }), refusal);
    EXPECT_EQ(Said("", [] { LOOP_Main("dsp_loop_new.out", "0", "1"); }), refusal);
    EXPECT_EQ(Said("", [] { EXPECT_TRUE(platform::DSP_SUCCEEDED(LOOP_Main("dsp_loop_new.out", "2000", "65535"))); }), "");
}

TEST_F(Link, TheWayDownNamesItsFailuresAndGoesOn) {
    for (const auto& [fault, text] : std::initializer_list<std::pair<const char*, const char*>>{
             {"", ""},
             {"CHNL_freeBuffer", "CHNL_freeBuffer failed (output).\n"},
             {"CHNL_delete 1", "CHNL_delete failed (input).\n"},
             {"CHNL_delete 0", "CHNL_delete failed (output).\n"},
             {"PROC_stop", "PROC_stop failed.\n"},
             {"POOL_close", "POOL_close failed.\n"},
             {"PROC_detach", "PROC_detach failed.\n"},
             {"PROC_destroy", "PROC_destroy failed.\n"}}) {
        ASSERT_TRUE(Start()) << "before " << fault;
        EXPECT_EQ(Said(fault, [] { LOOP_Delete(); }), text);
    }
    ASSERT_TRUE(Start());
}

}  // namespace
