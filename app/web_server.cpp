#include "app/web_server.h"

#include <array>
#include <cstdio>
#include <mutex>
#include <string>

#include "keys/reader.h"
#include "platform/keys.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/locks.h"
#include "records/sys.h"
#include "records/trace.h"
#include "remote/hislip.h"
#include "remote/raw_socket.h"
#include "remote/server.h"
#include "remote/vxi11.h"
#include "sweep/amplitude.h"
#include "sweep/frequency.h"
#include "trace/scale.h"

namespace {

bool Take_Key(std::int32_t code) { return num_queue_insert(code); }

bool Press_Power() { return platform::Press_Power_Key() == 0; }

/// Direct entry of the page: the same setters as the keys, with a typed value.
bool Take_Setting(std::string_view name, double value) {
    constexpr int typed = 2;
    const std::lock_guard records(Command_Main_Mutex);
    if (systeminit.load(std::memory_order_acquire) != 0 || Remote_Flag.load() != 0 || Run_AuotSet_flag != 0) return false;
    if (name == "center") {
        Set_Cent(typed, value);
    } else if (name == "span") {
        Set_Span(typed, value);
    } else if (name == "reference") {
        Set_Reflevel(typed, value);
    } else {
        return false;
    }
    return true;
}

void Tell_State(std::string& json) {
    const std::lock_guard records(Command_Main_Mutex);
    const auto word = [](bool value) { return value ? "true" : "false"; };
    const auto screen = static_cast<std::size_t>(ScreenActive);
    std::array<char, 128> values{};
    std::snprintf(values.data(), values.size(), ",\"center\":%.0f,\"span\":%.0f,\"reference\":%d}",
                  Freqs.center[screen] + Freqs.offset[screen], Freqs.span[screen], Amp.displayed_reference[screen]);
    json = "{\"model\":\"" + System_Information_Data.model + "\",\"starting\":" + word(systeminit.load() != 0) +
           ",\"remote\":" + word(Remote_Flag.load() != 0) + ",\"scpi\":\"" + remote::Raw_Address() + "\",\"hislip\":\"" +
           remote::Hislip_Address() + "\",\"vxi11\":\"" + remote::Vxi11_State() + '"' + values.data();
}

void Tell_Trace(std::string& csv) {
    const std::lock_guard records(Command_Main_Mutex);
    const auto screen = static_cast<std::size_t>(ScreenActive);
    const Trace_Record& record = Trace_Data[screen];
    const auto& values = record.value[record.active & 3];
    const double offset = Shown_Level_Offset();
    csv = "frequency_hz,level_dbm\n";
    for (std::size_t i = 0; i < trace_points; ++i) {
        const double frequency =
            Freqs.start[screen] + Freqs.offset[screen] + static_cast<double>(i) * Freqs.span[screen] / (trace_points - 1);
        std::array<char, 48> line{};
        std::snprintf(line.data(), line.size(), "%.3f,%.3f\n", frequency, static_cast<double>(values[i]) + offset);
        csv += line.data();
    }
}

}  // namespace

void web_server() { remote::Serve({Take_Key, Take_Setting, Press_Power, Tell_State, Tell_Trace}); }
