#pragma once
#include <cstdint>

/// The calls that the board's link library gives the instrument, in the instrument's own form: every call returns a
/// status, 32768 to 34048 being success. Processors, channels and pools go by number. Where a board's library takes
/// other arguments, a layer on that board puts them into its form.
extern "C" {

constexpr std::uint32_t link_mode_output = 1;
constexpr std::uint32_t link_mode_input = 2;

/// Status of a CHNL_reclaim whose time is up; the buffer is still the channel's.
constexpr std::uint32_t link_timed_out = 34112;

struct Link_Transfer {
    void* buffer;
    std::uint32_t size;  ///< bytes
};

std::uint32_t PROC_setup();
std::uint32_t PROC_attach(std::uint32_t processor);
std::uint32_t POOL_open(std::uint32_t pool, std::uint32_t buffer_size);
std::uint32_t PROC_load(std::uint32_t processor, const char* image, std::uint32_t count, const char* const* arguments);
std::uint32_t CHNL_create(std::uint32_t processor, std::uint32_t channel, std::uint32_t mode);
/// The buffer is aligned to 128 bytes.
std::uint32_t CHNL_allocateBuffer(std::uint32_t processor, std::uint32_t channel, void** buffer, std::uint32_t size);
std::uint32_t PROC_start(std::uint32_t processor);
std::uint32_t CHNL_issue(std::uint32_t processor, std::uint32_t channel, const Link_Transfer* transfer);
/// Waits for the channel's buffer at most limit milliseconds.
std::uint32_t CHNL_reclaim(std::uint32_t processor, std::uint32_t channel, std::uint32_t limit,
                           Link_Transfer* transfer);
std::uint32_t CHNL_freeBuffer(std::uint32_t processor, std::uint32_t channel, void* buffer);
std::uint32_t CHNL_delete(std::uint32_t processor, std::uint32_t channel);
std::uint32_t PROC_stop(std::uint32_t processor);
std::uint32_t POOL_close(std::uint32_t pool);
std::uint32_t PROC_detach(std::uint32_t processor);
std::uint32_t PROC_destroy();

}  // extern "C"
