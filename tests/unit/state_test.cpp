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

TEST_F(State, ValuesThatContradictOneAnotherAreRefused) {
    Set_EMI_Filter(true);
    Set_Span(2, 2e6);
    Set_ReflevelOffset(2, 20);
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    Factory_Settings();
    const std::string text = root.Read(path);
    for (const auto& [line, other] : {std::pair{"emi_filter 1", "emi_filter 0"}, {"\nrbw 14", "\nrbw 4 "},
                                      {"reference_offset 20", "reference_offset 21"}}) {
        std::string changed = text;
        ASSERT_NE(changed.find(line), std::string::npos) << line;
        root.Write(path, changed.replace(changed.find(line), std::string_view(line).size(), other));
        EXPECT_FALSE(Recall_Lostate_ForLocal(path, 0)) << other;
        Walk({{"", BW_Data.emi, 0}, {"", Amp.offset[0], 0}});
    }
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
    for (std::size_t cut = 0; cut < whole.size(); cut += 37) EXPECT_TRUE(refused(whole.substr(0, cut))) << cut;
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
