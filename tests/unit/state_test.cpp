#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "files/state.h"
#include "platform/whole_file.h"
#include "records/error_log.h"
#include "records_fixture.h"

namespace {

class State : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
        Factory_Settings();
    }
    static constexpr const char* path = "/mnt/nand/state.sta";
};

TEST_F(State, SettingsComeBack) {
    Set_Cent(2, 433.92e6);
    Set_Span(2, 2e6);
    Trace_Data[0].mode[1] = trace_max_hold;
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    Freqs_ArrayInit();
    Trace_Data = {};
    ASSERT_TRUE(Recall_Lostate_ForLocal(path, 0));
    Walk({{"", Freqs.center[0], 433.92e6}, {"", Freqs.span[0], 2e6}, {"", Freqs.center[1], MAXSPAN / 2},
          {"", BW_Data.rbw[0], 4}, {"", Trace_Data[0].mode[1], trace_max_hold}});
}

TEST_F(State, BandwidthsAndSweepTimeComeBack) {
    Set_Span(2, 2e6);
    Set_BW_RBW(2, 1e3);
    Set_BW_Ratio(2, 0.1);
    Set_Sweep_Mode(sweep_mode_fft);
    Set_Sweep_Rule(true);
    Set_Sweep_Time(2, 7.5);
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    BW_Init();
    Sweep_Init();
    ASSERT_TRUE(Recall_Lostate_ForLocal(path, 0));
    Walk({{"", BW_Data.rbw_mode[0], 1}, {"", BW_Data.rbw[0], 6},
          {"", [&] { return Int_VBW_Transfer(BW_Data.vbw[0]); }, 100}, {"", BW_Data.ratio[0], 0.1},
          {"", Sweep_Data.mode[0], sweep_mode_fft}, {"", Sweep_Data.rule[0], 1}, {"", Sweep_Data.time_mode[0], 1},
          {"", Sweep_Data.time[0], 7.5}, {BW_Init}, {Sweep_Init}, {{Set_EMI_Filter, true}}});
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    BW_Init();
    ASSERT_TRUE(Recall_Lostate_ForLocal(path, 0));
    Walk({{"", BW_Data.emi, 1}, {"", [&] { return Int_RBW_Transfer(BW_Data.rbw[0]); }, 120e3}});
    const std::string text = root.Read(path);
    for (const auto& [line, other] : {std::pair{"emi_filter 1", "emi_filter 0"}, {"\nrbw 14", "\nrbw 4 "}}) {
        std::string changed = text;
        ASSERT_NE(changed.find(line), std::string::npos) << line;
        root.Write(path, changed.replace(changed.find(line), std::string_view(line).size(), other));
        EXPECT_FALSE(Recall_Lostate_ForLocal(path, 0)) << other << ": a width without its filters";
    }
}

TEST_F(State, VerticalSettingsComeBack) {
    Set_Preamplifier(true);
    Set_Impedance(1);
    Set_InputZcal(2, 7);
    Set_ReflevelOffset(2, 20);
    Set_Reflevel(2, -10);
    Set_Attenuation(2, 5);
    display_scale(2, 2);
    Set_Linear_Scale(true);
    Set_Amplitude_Unit(unit_watt);
    Set_Level_Labels(false);
    Set_Label_Position(labels_right);
    const Amp_Record set = Amp;
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    Amp_ArrayInit();
    ASSERT_TRUE(Recall_Lostate_ForLocal(path, 0));
    Walk({{"", Amp.reference[0], -37}, {"", Amp.displayed_reference, set.displayed_reference},
          {"", Amp.attenuation, set.attenuation}, {"", Amp.attenuation_mode, set.attenuation_mode},
          {"", Amp.offset[0], 20}, {"", Amp.impedance[0], 1}, {"", Amp.correction_75[0], 7},
          {"", Amp.preamplifier_auto, 1}, {"", Amp.preamplifier_in, set.preamplifier_in}, {"", Amp.scale_code[0], 2},
          {"", Amp.scale_type[0], 1}, {"", Amp.unit, unit_watt}, {"", Amp.labels, 0},
          {"", Amp.label_position, labels_right}});
    std::string text = root.Read(path);
    text.replace(text.find("reference_offset 20"), 19, "reference_offset 21");
    root.Write(path, text);
    Amp_ArrayInit();
    EXPECT_FALSE(Recall_Lostate_ForLocal(path, 0)) << "the shown reference level contradicts the offset";
    EXPECT_EQ(Amp.offset[0], 0);
}

TEST_F(State, CutOrChangedFilesChangeNothing) {
    Set_Cent(2, 433.92e6);
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    const std::string whole = root.Read(path);
    Freqs_ArrayInit();
    const Freqs_Record before = Freqs;
    const auto refused = [&](const std::string& text) {
        root.Write(path, text);
        return !Recall_Lostate_ForLocal(path, 0) && Freqs.center == before.center && Freqs.span == before.span;
    };
    for (std::size_t cut = 0; cut < whole.size(); cut += 11) EXPECT_TRUE(refused(whole.substr(0, cut))) << cut;
    std::string text = whole;
    text.replace(text.find("433920000"), 9, "nan");
    EXPECT_TRUE(refused(text));
    text = whole;
    text.replace(text.find("433920000"), 9, "9e99");
    EXPECT_TRUE(refused(text));
    text = whole;
    text.replace(text.find("433920000"), 9, "5");
    EXPECT_TRUE(refused(text)) << "start, centre and stop contradict each other";
    std::filesystem::remove(platform::Rooted(path));
    EXPECT_FALSE(Recall_Lostate_ForLocal(path, 0));
}

TEST_F(State, AWriteThatFailsLeavesTheOldFile) {
    ASSERT_TRUE(platform::Write_Whole_File(path, "old"));
    std::filesystem::create_directories(platform::Rooted(std::string(path) + ".new"));
    EXPECT_FALSE(platform::Write_Whole_File(path, "new"));
    EXPECT_EQ(root.Read(path), "old");
    EXPECT_FALSE(Save_LocalState_SpecAndSem("/no/such/folder/state.sta"));
}

TEST_F(State, TheErrorLogAppendsALineATime) {
    std::filesystem::create_directories(platform::Rooted("/var/log"));
    ErrorMessage("keypad.c 47");
    ErrorMessage("key_trigger.c 569");
    EXPECT_EQ(root.Read("/var/log/error.log"), "\nkeypad.c 47\nkey_trigger.c 569");
}

/// Another process that holds the lock of the log until it is told to let go.
class Lock_Holder {
public:
    explicit Lock_Holder(const std::string& path) {
        [[maybe_unused]] const bool made = pipe(held_) == 0 && pipe(release_) == 0;
        child_ = fork();
        if (child_ != 0) {
            Wait(held_[0]);
            return;
        }
        struct flock lock{};
        lock.l_type = F_WRLCK;
        fcntl(open(path.c_str(), O_WRONLY), F_SETLKW, &lock);
        [[maybe_unused]] const auto told = write(held_[1], "h", 1);
        Wait(release_[0]);
        _exit(0);
    }
    ~Lock_Holder() {
        waitpid(child_, nullptr, 0);
        for (const int end : {held_[0], held_[1], release_[0], release_[1]}) close(end);
    }
    void Let_Go() { EXPECT_EQ(write(release_[1], "r", 1), 1); }

private:
    static void Wait(int pipe_end) {
        char byte = 0;
        while (read(pipe_end, &byte, 1) < 0 && errno == EINTR) {}
    }
    int held_[2]{}, release_[2]{};
    pid_t child_ = -1;
};

TEST_F(State, TheErrorLogWaitsForOthersAndLosesNothing) {
    root.Write("/var/log/error.log", "");
    Lock_Holder other(platform::Rooted("/var/log/error.log"));
    std::vector<std::thread> writers;
    for (int i = 0; i < 4; ++i) {
        writers.emplace_back([] {
            for (int line = 0; line < 25; ++line) ErrorMessage("Freq_SwKey error");
        });
    }
    std::this_thread::yield();
    EXPECT_EQ(root.Read("/var/log/error.log"), "") << "locked by the other process";
    other.Let_Go();
    for (auto& writer : writers) writer.join();
    std::string expected;
    for (int line = 0; line < 100; ++line) expected += "\nFreq_SwKey error";
    EXPECT_EQ(root.Read("/var/log/error.log"), expected);
}

}  // namespace
