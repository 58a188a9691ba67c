#pragma once
#include <cstdint>

/// The message link to the signal-processing core: one processor, one pool, one output and one input channel.
/// A status from 32768 to 34048 is success. A waiting call ends with a failure when the core is gone or the instrument
/// stops.
namespace platform {

using DSP_STATUS = std::uint32_t;

constexpr DSP_STATUS dsp_success_first = 32768;
constexpr DSP_STATUS dsp_success_last = 34048;

constexpr bool DSP_SUCCEEDED(DSP_STATUS status) { return status >= dsp_success_first && status <= dsp_success_last; }

constexpr unsigned dsp_processor = 0;
constexpr unsigned dsp_channel_out = 0;  ///< to the core
constexpr unsigned dsp_channel_in = 1;   ///< from the core

enum class Channel_Mode { output, input };

DSP_STATUS PROC_setup();
DSP_STATUS PROC_attach(unsigned processor);
DSP_STATUS POOL_open(unsigned pool, std::uint32_t buffer_size);
/// Loads the core's image with its two arguments (buffer size and iteration count as text).
DSP_STATUS PROC_load(unsigned processor, const char* image, const char* size_text, const char* iterations_text);
DSP_STATUS CHNL_create(unsigned processor, unsigned channel, Channel_Mode mode);
/// Gives one buffer of size bytes, zeroed and aligned for doubles.
DSP_STATUS CHNL_allocateBuffer(unsigned processor, unsigned channel, void** buffer, std::uint32_t size);
DSP_STATUS PROC_start(unsigned processor);

/// Hands the buffer to the channel; CHNL_reclaim then waits, without bound, until the core has taken it (output) or
/// filled it (input).
DSP_STATUS CHNL_issue(unsigned processor, unsigned channel, void* buffer, std::uint32_t size);
DSP_STATUS CHNL_reclaim(unsigned processor, unsigned channel, void** buffer);

DSP_STATUS CHNL_freeBuffer(unsigned processor, unsigned channel, void* buffer);
DSP_STATUS CHNL_delete(unsigned processor, unsigned channel);
DSP_STATUS PROC_stop(unsigned processor);
DSP_STATUS POOL_close(unsigned pool);
DSP_STATUS PROC_detach(unsigned processor);
DSP_STATUS PROC_destroy();

}  // namespace platform
