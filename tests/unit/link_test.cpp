#include "records_fixture.h"
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

TEST_F(Link, ArgumentsOutOfRangeAreRefused) {
    const std::string refusal =
        "ERROR! Invalid arguments specified for  loop application.\n     Max iterations = 65535\n";
    EXPECT_EQ(Said("", [] { LOOP_Main("dsp_loop_new.out", "2048", "65536"); }), refusal);
    EXPECT_EQ(Said("", [] { LOOP_Main("dsp_loop_new.out", "0", "1"); }), refusal);
    EXPECT_EQ(Said("", [] { EXPECT_TRUE(platform::DSP_SUCCEEDED(LOOP_Main("dsp_loop_new.out", "2000", "65535"))); }), "");
}

TEST_F(Link, TheWayDownNamesItsFailuresAndGoesOn) {
    ASSERT_TRUE(Start());
    EXPECT_EQ(Said("PROC_stop", [] { LOOP_Delete(); }), "PROC_stop failed.\n");
    ASSERT_TRUE(Start());
    EXPECT_EQ(Said("PROC_detach", [] { LOOP_Delete(); }), "PROC_detach failed.\n");
    ASSERT_TRUE(Start());
}

}  // namespace
