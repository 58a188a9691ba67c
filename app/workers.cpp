#include "app/workers.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "app/web_server.h"
#include "display/draw.h"
#include "display/pictures.h"
#include "emc/emc.h"
#include "files/state.h"
#include "keys/messages.h"
#include "keys/reader.h"
#include "keys/status_blocks.h"
#include "measure/autoset.h"
#include "platform/clock.h"
#include "platform/fpga_int.h"
#include "platform/keys.h"
#include "platform/link_state.h"
#include "platform/shell.h"
#include "platform/stop.h"
#include "records/display.h"
#include "records/error_log.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/sys.h"
#include "remote/vxi11.h"
#include "system/status_icons.h"
#include "sweep/transfer.h"
#include "system/system.h"
#include "trace/level_lines.h"
#include "trace/limit_display.h"
#include "trace/marker_display.h"
#include "trace/trigger_wait.h"

namespace {

using namespace std::chrono_literals;

constexpr auto polling = 300ms, picture_time = 1500ms;
constexpr int last_start_value = 11;

std::vector<std::thread> workers;

/// Pictures of the start-up values 2 to 10: the ninth step shows the first one again, the tenth the last.
int Start_Picture(int value) {
    if (value == 9) return picture_start_first;
    if (value == 10) return picture_start_last;
    return value + 2;
}

void End_Start_Pictures() {
    const std::lock_guard records(Command_Main_Mutex);
    display::Clear(fbOsd0, {205, 193, 210, 180});
    fb_init(fbOsd0, "/dev/fb/0", screen_width, screen_height, 16);
    window_display(fbOsd0);
    Draw_Limit_Lines();
    Draw_Level_Lines();
    Redraw_Symbols();
    systeminit.store(0, std::memory_order_release);
    Detect_USB_STATE_FILE();
}

/// Start-up pictures.
void check() {
    while (systeminit.load(std::memory_order_acquire) == 0) {
        if (!platform::Sleep_For(10ms)) return;
    }
    int value = 1;
    while (value < last_start_value) {
        if (!platform::Pause_For(picture_time)) return;
        const std::lock_guard records(Command_Main_Mutex);
        systeminit.store(++value, std::memory_order_release);
        if (value < last_start_value) Show_Start_Picture(Start_Picture(value));
    }
    End_Start_Pictures();
    platform::Run_Command("/etc/init.d/usb_state.sh");
}

/// Stages of a power-off that somebody has asked for: two pictures, then the kill script.
void Show_Power_Off() {
    const int stage = shutdown_flag.load(std::memory_order_acquire);
    if (stage == 0) return;
    if (stage < 3) {
        const std::lock_guard records(Command_Main_Mutex);
        Show_Picture(stage == 1 ? picture_power_off : picture_power_off_late, 210, 180, 205, 193, target_osd0);
        shutdown_flag.store(stage + 1, std::memory_order_release);
    } else {
        platform::Run_Command("/opt/KVA720/killsys");
    }
}

void Update_Clock(int& shown_second) {
    const std::tm now = platform::Wall_Clock();
    if (now.tm_sec == shown_second) return;
    shown_second = now.tm_sec;
    const std::lock_guard records(Command_Main_Mutex);
    if (Display_Data.clock_shown) Draw_Clock();
}

/// Storage that came or went is the main loop's to show.
void Watch_Storage() {
    if (Storage_Changed()) USBButtonOnOff_Flag.store(1, std::memory_order_release);
}

void check_rtc() {
    int shown_second = -1;
    while (platform::Sleep_For(polling)) {
        Show_Power_Off();
        Update_Clock(shown_second);
        Watch_Storage();
    }
}

void fpga_int() {
    const int device = platform::Open_Fpga_Int("/dev/fpga_int");
    if (device < 0) {
        std::perror("open fpga_int failed");
        ErrorMessage("key_trigger.c 569");
        std::_Exit(255);
    }
    FPGA_Int_Fd.store(device, std::memory_order_release);
    {
        // A sweep that was recalled with its trigger waits already.
        const std::lock_guard records(Command_Main_Mutex);
        Rearm_FPGA_Interrupt();
    }
    while (platform::Wait_Fpga_Event(device)) Take_FPGA_Event(device);
}

void check_RJ45() {
    bool shown = platform::Lan_Link_Up();
    remote::Watch_Vxi11(shown);
    while (platform::Sleep_For(1s)) {
        const bool link = platform::Lan_Link_Up();
        remote::Watch_Vxi11(link);
        if (link == shown) continue;
        shown = link;
        const std::lock_guard records(Command_Main_Mutex);
        Draw_Network_Icon(link);
    }
}

/// Repeats a command of the power-off until it succeeds or the process ends.
void Insist(const char* command) {
    while (platform::Run_Command(command) != 0) {
        if (!platform::Sleep_For(100ms)) return;
    }
}

void Power_Off() {
    Check_wakeuptime();
    int device_role = 0;
    {
        const std::lock_guard records(Command_Main_Mutex);
        device_role = USB_Select;
    }
    Insist(device_role != 1 ? "sed -i '4c LastType HOST' /tmp/usb_state" : "sed -i '4c LastType DEVICE' /tmp/usb_state");
    Insist("cp /tmp/usb_state /opt/KVA720/");
    platform::Run_Command("sync");
    {
        const std::lock_guard records(Command_Main_Mutex);
        Stop_Autoset();
        if (!Save_LocalState_SpecAndSem("/mnt/nand/state.sta")) std::perror("/mnt/nand/state.sta");
        EMC_Data = {};
        ThirdAttentionwords(7);
    }
    Insist("shutdown -h now");
    platform::Pause_For(7s);
    Insist("/opt/KVA720/killsys");
}

void halt_sys() {
    const int device = platform::Open_Key_Device("/dev/killsys");
    if (device < 0) {
        std::perror("open failed killsys");
        ErrorMessage("keypad.c 47");
        std::_Exit(255);
    }
    while (platform::Read_Key(device)) Power_Off();
    platform::Close_Key_Device(device);
}

void check_QP() {
    while (platform::Sleep_For(polling)) Quasi_Peak_Round();
}

/// The web server's thread: its stack is its own, and its kernel id is kept.
struct Web_Server_Thread {
    static constexpr std::size_t stack_size = 16u << 20;
    void* stack = MAP_FAILED;
    pthread_t handle{};
    bool running = false;
};
Web_Server_Thread web_thread;
std::atomic<pid_t> clone_pid{0};

void* Web_Server_Entry(void*) {
    clone_pid.store(gettid());
    web_server();
    return nullptr;
}

}  // namespace

void Start_Worker(Worker worker) {
    switch (worker) {
        case Worker::check: workers.emplace_back(check); break;
        case Worker::check_rtc: workers.emplace_back(check_rtc); break;
        case Worker::readkey: workers.emplace_back(readkey); break;
        case Worker::fpga_int: workers.emplace_back(fpga_int); break;
        case Worker::check_RJ45: workers.emplace_back(check_RJ45); break;
        case Worker::halt_sys: workers.emplace_back(halt_sys); break;
        case Worker::check_QP: workers.emplace_back(check_QP); break;
    }
}

void Start_Web_Server() {
    web_thread.stack = mmap(nullptr, Web_Server_Thread::stack_size, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    web_thread.running = web_thread.stack != MAP_FAILED &&
                         pthread_attr_setstack(&attributes, web_thread.stack, Web_Server_Thread::stack_size) == 0 &&
                         pthread_create(&web_thread.handle, &attributes, Web_Server_Entry, nullptr) == 0;
    pthread_attr_destroy(&attributes);
    if (!web_thread.running) std::printf("The stack failed\n");
}

void Join_Workers() {
    for (auto& worker : workers) worker.join();
    workers.clear();
    if (web_thread.running) pthread_join(web_thread.handle, nullptr);
    if (web_thread.stack != MAP_FAILED) munmap(web_thread.stack, Web_Server_Thread::stack_size);
    web_thread = {};
    platform::Close_Fpga_Int(FPGA_Int_Fd.exchange(-1));
}
