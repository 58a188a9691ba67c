#include "app/workers.h"

#include <chrono>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "display/layers.h"
#include "records_fixture.h"
#include "trace/level_lines.h"
#include "virtual_board/devices.h"

namespace {

using namespace std::chrono_literals;

class Workers : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        std::filesystem::create_directories(platform::Rooted("/dev"));
        std::filesystem::create_directories(platform::Rooted("/var/log"));
    }
    void TearDown() override {
        platform::Request_Stop();
        Join_Workers();
        Records::TearDown();
    }
    static bool Eventually(const std::function<bool()>& condition) {
        for (int i = 0; i < 4000; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(1ms);
        }
        return false;
    }
    static void Run(Worker worker) {
        Start_Worker(worker);
        Join_Workers();
    }
};

using Workers_Death = Workers;

TEST_F(Workers_Death, AMissingDeviceEndsTheProcess) {
    EXPECT_EXIT(Run(Worker::readkey), testing::ExitedWithCode(255), "open failed: ");
    EXPECT_EQ(root.Read("/var/log/error.log"), "");
    EXPECT_EXIT(Run(Worker::halt_sys), testing::ExitedWithCode(255), "open failed killsys: ");
    EXPECT_EQ(root.Read("/var/log/error.log"), "\nkeypad.c 47");
    EXPECT_EXIT(Run(Worker::fpga_int), testing::ExitedWithCode(255), "open fpga_int failed: ");
    EXPECT_EQ(root.Read("/var/log/error.log"), "\nkeypad.c 47\nkey_trigger.c 569");
}

TEST_F(Workers, KeysOfTheStartUpAndTheFirstAfterItAreThrownAway) {
    const std::string pad = platform::Rooted("/dev/keypad");
    ASSERT_EQ(mkfifo(pad.c_str(), 0600), 0);
    const int finger = open(pad.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(finger, 0);
    const auto press = [&](std::string_view keys) {
        ASSERT_EQ(write(finger, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
        EXPECT_TRUE(Eventually([&] {
            int waiting = 1;
            return ioctl(finger, FIONREAD, &waiting) == 0 && waiting == 0;
        }));
    };
    systeminit = 4;
    Start_Worker(Worker::readkey);
    press("123");
    systeminit = 0;
    press("4");
    press("5");
    EXPECT_TRUE(Eventually([] { return Keypad_Flag == 1; }));
    EXPECT_EQ(Keypad_Value[0], '5');
    close(finger);
}

TEST_F(Workers, StartUpPicturesFollowOneAnotherAndGiveTheScreenFree) {
    virtual_board::Make_Frame_Devices();
    fb_init(fbOsd0, "/dev/fb/0", screen_width, screen_height, 16);
    Display_Data.line_shown = 1;
    Draw_Level_Lines();
    testing::internal::CaptureStderr();
    systeminit = 1;
    Start_Worker(Worker::check);
    auto stepped = 0ms;
    EXPECT_TRUE(Eventually([&] {
        platform::Step_Clock(100ms);
        stepped += 100ms;
        return systeminit == 0;
    }));
    EXPECT_GE(stepped, 10 * 1500ms);
    platform::Request_Stop();
    Join_Workers();
    std::string expected;
    for (const char* name : {"systeminit2", "systeminit3", "systeminit4", "systeminit5", "systeminit6", "systeminit7",
                             "systeminit8", "systeminit", "systeminit8"}) {
        expected += std::string("picture ") + name + ".jpg cannot be opened\n";
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
    std::uint16_t pixel = 0;
    std::memcpy(&pixel, fbOsd0.memory + 283 * fbOsd0.line + 310 * 2, sizeof pixel);
    EXPECT_NE(pixel, 0) << "the display line where the pictures stood";
    fb_free(fbOsd0);
    virtual_board::Remove_Frame_Devices();
}

}  // namespace
