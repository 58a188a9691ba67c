#include "scpi/error_queue.h"

#include <algorithm>
#include <cstdio>

#include "platform/clock.h"
#include "records/locks.h"
#include "scpi/error_table.h"
#include "scpi/status.h"

namespace {

struct Code_Range {
    int first, last;
    std::uint32_t event_bit;
};

constexpr std::array<Code_Range, 9> event_ranges{{{-199, -100, esr_command_error},
                                                  {-299, -200, esr_execution_error},
                                                  {-399, -300, esr_device_error},
                                                  {1, 32767, esr_device_error},
                                                  {-499, -400, esr_query_error},
                                                  {-599, -500, esr_power_on},
                                                  {-699, -600, esr_user_request},
                                                  {-799, -700, esr_request_control},
                                                  {-899, -800, esr_operation_complete}}};

void Write_Text(const ScpiContext& context, int code, std::array<char, error_text_size>& slot) {
    const std::string_view message = SCPI_ErrorTranslate(code);
    std::string_view input;
    if (scpi_lock_mutex.Held_Here()) input = {context.input.data, context.input.position};
    if (!input.empty() && input.back() == '\n') input.remove_suffix(1);
    if (input.empty()) {
        std::snprintf(slot.data(), slot.size(), "%.*s", static_cast<int>(message.size()), message.data());
    } else {
        std::snprintf(slot.data(), slot.size(), "%.*s;%.*s", static_cast<int>(message.size()), message.data(),
                      static_cast<int>(input.size()), input.data());
    }
}

void Write_Stamp(std::array<char, error_stamp_size>& slot) {
    const std::tm now = platform::Wall_Clock();
    std::snprintf(slot.data(), slot.size(), "%d/%.2d/%.2d %.2d:%.2d:%.2d", now.tm_year % 100 + 2000, now.tm_mon + 1,
                  now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
}

void Queue_Emptied(ScpiContext& context) {
    if (!(SCPI_RegGet(context, reg_stb) & stb_error_queue)) return;
    SCPI_RegClearBits(context, reg_stb, stb_error_queue);
    if (context.interface && context.interface->error) context.interface->error(context, 0);
}

}  // namespace

void SCPI_ErrorInit(ScpiContext& context) {
    const std::lock_guard guard(context.status_lock);
    local_error_queue = {};
    context.errors = &local_error_queue;
}

void SCPI_ErrorPush(ScpiContext& context, int code) {
    const std::lock_guard guard(context.status_lock);
    if (!context.errors) return;
    Error_Queue& queue = *context.errors;
    if (queue.count == queue.capacity) {
        queue.read = (queue.read + 1) % queue.capacity;
        --queue.count;
    }
    const auto slot = static_cast<std::size_t>(queue.write);
    queue.code[slot] = code;
    Write_Text(context, code, queue.text[slot]);
    Write_Stamp(queue.stamp[slot]);
    queue.write = (queue.write + 1) % queue.capacity;
    ++queue.count;
    for (const auto& range : event_ranges) {
        if (code >= range.first && code <= range.last) SCPI_RegSetBits(context, reg_esr, range.event_bit);
    }
    SCPI_RegSetBits(context, reg_stb, stb_error_queue);
    if (context.interface && context.interface->error) context.interface->error(context, code);
    if (scpi_lock_mutex.Held_Here()) context.command_error = true;
}

int SCPI_ErrorPop(ScpiContext& context) {
    const std::lock_guard guard(context.status_lock);
    if (!context.errors || context.errors->count == 0) return 0;
    Error_Queue& queue = *context.errors;
    const int code = queue.code[static_cast<std::size_t>(queue.read)];
    queue.read = (queue.read + 1) % queue.capacity;
    if (--queue.count == 0) Queue_Emptied(context);
    return code;
}

void SCPI_ErrorClear(ScpiContext& context) {
    const std::lock_guard guard(context.status_lock);
    if (!context.errors) return;
    context.errors->read = context.errors->write = context.errors->count = 0;
    Queue_Emptied(context);
}

std::string_view SCPI_ErrorTranslate(int code) {
    const auto row = std::find_if(scpi_errors.begin(), scpi_errors.end(), [&](const auto& e) { return e.code == code; });
    return row == scpi_errors.end() ? std::string_view("Unknown error") : row->message;
}

std::int32_t SCPI_ErrorPageIndex(const ScpiContext& context, std::int32_t page) {
    return (page * 20 + context.errors->read) % context.errors->capacity;
}

std::size_t SCPI_ErrorCodes() { return scpi_errors.size(); }
