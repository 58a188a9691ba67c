#include "platform/dsp_link.h"

#include <array>
#include <cstring>

#include "platform/board/dsp_link_library.h"
#include "platform/stop.h"

namespace platform {

namespace {

/// The wait for the core has no bound, but looks for the stop request this often.
constexpr std::uint32_t reclaim_milliseconds = 100;

static_assert(!DSP_SUCCEEDED(link_timed_out));

}  // namespace

DSP_STATUS PROC_setup() { return ::PROC_setup(); }

DSP_STATUS PROC_attach(unsigned processor) { return ::PROC_attach(processor); }

DSP_STATUS POOL_open(unsigned pool, std::uint32_t buffer_size) { return ::POOL_open(pool, buffer_size); }

DSP_STATUS PROC_load(unsigned processor, const char* image, const char* size_text, const char* iterations_text) {
    const std::array<const char*, 2> arguments{size_text, iterations_text};
    return ::PROC_load(processor, image, arguments.size(), arguments.data());
}

DSP_STATUS CHNL_create(unsigned processor, unsigned channel, Channel_Mode mode) {
    return ::CHNL_create(processor, channel, mode == Channel_Mode::output ? link_mode_output : link_mode_input);
}

DSP_STATUS CHNL_allocateBuffer(unsigned processor, unsigned channel, void** buffer, std::uint32_t size) {
    *buffer = nullptr;
    const DSP_STATUS status = ::CHNL_allocateBuffer(processor, channel, buffer, size);
    if (DSP_SUCCEEDED(status)) std::memset(*buffer, 0, size);
    return status;
}

DSP_STATUS PROC_start(unsigned processor) { return ::PROC_start(processor); }

DSP_STATUS CHNL_issue(unsigned processor, unsigned channel, void* buffer, std::uint32_t size) {
    const Link_Transfer transfer{buffer, size};
    return ::CHNL_issue(processor, channel, &transfer);
}

DSP_STATUS CHNL_reclaim(unsigned processor, unsigned channel, void** buffer) {
    for (;;) {
        Link_Transfer transfer{};
        const DSP_STATUS status = ::CHNL_reclaim(processor, channel, reclaim_milliseconds, &transfer);
        if (DSP_SUCCEEDED(status)) *buffer = transfer.buffer;
        if (status != link_timed_out || Stop_Requested()) return status;
    }
}

DSP_STATUS CHNL_freeBuffer(unsigned processor, unsigned channel, void* buffer) {
    return ::CHNL_freeBuffer(processor, channel, buffer);
}

DSP_STATUS CHNL_delete(unsigned processor, unsigned channel) { return ::CHNL_delete(processor, channel); }

DSP_STATUS PROC_stop(unsigned processor) { return ::PROC_stop(processor); }

DSP_STATUS POOL_close(unsigned pool) { return ::POOL_close(pool); }

DSP_STATUS PROC_detach(unsigned processor) { return ::PROC_detach(processor); }

DSP_STATUS PROC_destroy() { return ::PROC_destroy(); }

}  // namespace platform
