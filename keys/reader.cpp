#include "keys/reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "keys/key_codes.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "platform/keys.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/locks.h"
#include "records/recording.h"

namespace {

void Reset_Key_State() {
    const std::lock_guard records(Command_Main_Mutex);
    keyvarecover();
    clean_keybuffer();
}

bool Active(const Recording_Record& recording) {
    return recording.running.load(std::memory_order_acquire) != 0 && recording.armed.load(std::memory_order_acquire) != 0;
}

/// A recording ends when its key is pressed, not when the main loop comes to it.
void End_Recording(std::int32_t code) {
    constexpr std::size_t recording_page = 35;
    constexpr int end_of_fetching = 100;
    if (!Active(RecordData_IQ) && !Active(RecordData_RPhi)) return;
    if (code == key_soft_first && keylink.load(std::memory_order_acquire) == &MeasLink[recording_page]) {
        std::printf("\r\n scan key pad rd_buf[0]:%d,Keypad_Flag:%d,\n", code, Keypad_Flag.load());
        RecordData_IQ.armed.store(0, std::memory_order_release);
        RecordData_RPhi.armed.store(0, std::memory_order_release);
    } else if (code == key_save) {
        std::printf("\r\n *******stop get id set 100 rd_buf[0]:%d,*******,\n", code);
        GetIQCounter.store(end_of_fetching, std::memory_order_release);
    }
}

}  // namespace

void Take_Panel_Key(std::int32_t code) {
    End_Recording(code);
    Store_Key(code);
}

void Store_Key(std::int32_t code) {
    const int filled = std::clamp(Keypad_Flag.load(std::memory_order_acquire), 0, keypad_slots - 1);
    Keypad_Value[static_cast<std::size_t>(filled)].store(code, std::memory_order_release);
    Keypad_Flag.store(std::min(filled + 1, keypad_slots - 1), std::memory_order_release);
}

void readkey() {
    Reset_Key_State();
    const int device = platform::Open_Key_Device("/dev/keypad");
    if (device < 0) {
        std::perror("open failed");
        std::_Exit(255);
    }
    std::optional<std::uint8_t> code;
    do {
        code = platform::Read_Key(device);
    } while (code && systeminit.load(std::memory_order_acquire) != 0);
    while (code && (code = platform::Read_Key(device))) Take_Panel_Key(*code);
    platform::Close_Key_Device(device);
}

void num_queue_init() {
    Web_Keyin_Value.read = 0;
    Web_Keyin_Value.write = 0;
    Web_Keyin_Flag = 0;
}

bool num_queue_insert(std::int32_t code) {
    if (systeminit.load(std::memory_order_acquire) != 0) return false;
    auto& queue = Web_Keyin_Value;
    const unsigned write = queue.write.load(std::memory_order_relaxed);
    if (write - queue.read.load(std::memory_order_acquire) >= web_key_slots) return false;
    queue.value[write % web_key_slots].store(code, std::memory_order_relaxed);
    queue.write.store(write + 1, std::memory_order_release);
    Web_Keyin_Flag.fetch_add(1, std::memory_order_acq_rel);
    return true;
}

std::int32_t num_queue_remove() {
    auto& queue = Web_Keyin_Value;
    const unsigned read = queue.read.load(std::memory_order_relaxed);
    if (read == queue.write.load(std::memory_order_acquire)) return -1;
    const std::int32_t code = queue.value[read % web_key_slots].load(std::memory_order_relaxed);
    queue.read.store(read + 1, std::memory_order_release);
    return code;
}
