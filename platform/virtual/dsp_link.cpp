#include "platform/dsp_link.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/root.h"
#include "platform/virtual/device_files.h"
#include "platform/virtual/faults.h"
#include "platform/posix/wait.h"

namespace platform {

namespace {

using device_files::Link_Header;
using device_files::Link_Packet;

constexpr DSP_STATUS status_success = dsp_success_first;
constexpr DSP_STATUS status_invalid = dsp_success_last + 1;  ///< a wrong argument or order of calls
constexpr DSP_STATUS status_gone = dsp_success_last + 2;     ///< no core, or the instrument stops
constexpr DSP_STATUS status_memory = dsp_success_last + 3;

constexpr DSP_STATUS status_fault = dsp_success_last + 4;  ///< the board's fault switch

constexpr std::size_t buffer_alignment = 128;
constexpr std::size_t channels = 2;
constexpr std::size_t buffers_limit = 64;

struct Channel {
    bool created = false;
    Channel_Mode mode = Channel_Mode::output;
    void* issued = nullptr;  ///< buffer between issue and reclaim
    std::uint32_t issued_size = 0;
};

struct Buffer {
    void* memory;
    std::uint32_t size;
};

enum class Processor { absent, set_up, attached, loaded, started };

/// The link of this process. Calls come one after the other, as the instrument sends one message at a time.
struct Link {
    int socket = -1;
    Processor processor = Processor::absent;
    bool pool_open = false;
    std::array<Channel, channels> channel;
    std::vector<Buffer> buffers;
};

std::mutex link_mutex;
Link dsp;  // under link_mutex

void Disconnect() {
    if (dsp.socket >= 0)
        ::close(dsp.socket);
    dsp.socket = -1;
}

bool Send(const Link_Header& header, const void* memory) {
    std::array<iovec, 2> parts{{{const_cast<Link_Header*>(&header), sizeof header},
                                {const_cast<void*>(memory), memory != nullptr ? header.size : 0}}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    while (dsp.socket >= 0 && Wait_Ready(dsp.socket, POLLOUT)) {
        if (::sendmsg(dsp.socket, &message, MSG_NOSIGNAL) >= 0)
            return true;
        if (errno != EAGAIN && errno != EINTR)
            break;
    }
    Disconnect();
    return false;
}

/// Waits for the wanted packet; its buffer goes to memory. False when the board is gone or the instrument stops.
bool Receive(Link_Packet wanted, void* memory, std::uint32_t size) {
    while (dsp.socket >= 0 && Wait_Ready(dsp.socket, POLLIN)) {
        Link_Header header{};
        std::array<iovec, 2> parts{{{&header, sizeof header}, {memory, size}}};
        msghdr message{};
        message.msg_iov = parts.data();
        message.msg_iovlen = parts.size();
        const auto received = ::recvmsg(dsp.socket, &message, 0);
        if (received < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (received < static_cast<ssize_t>(sizeof header))
            break;
        if (header.packet == wanted)
            return true;
    }
    Disconnect();
    return false;
}

Channel* Find_Channel(unsigned processor, unsigned channel) {
    const bool known = processor == dsp_processor && channel < channels && dsp.channel[channel].created;
    return known ? &dsp.channel[channel] : nullptr;
}

/// Faults of a channel's calls name the channel too: "CHNL_issue 0".
bool Channel_Fault(std::string_view call, unsigned channel) {
    return Fault(std::string(call) + ' ' + std::to_string(channel));
}

DSP_STATUS Move(Processor from, Processor to, unsigned processor) {
    if (processor != dsp_processor || dsp.processor != from)
        return status_invalid;
    dsp.processor = to;
    return status_success;
}

}  // namespace

DSP_STATUS PROC_setup() {
    if (Fault("PROC_setup")) return status_fault;
    std::lock_guard lock(link_mutex);
    Disconnect();
    dsp.socket = device_files::Connect_Device(Rooted(device_files::dsp_link));
    if (dsp.socket < 0)
        return status_gone;
    dsp.processor = Processor::set_up;
    return status_success;
}

DSP_STATUS PROC_attach(unsigned processor) {
    if (Fault("PROC_attach")) return status_fault;
    std::lock_guard lock(link_mutex);
    return Move(Processor::set_up, Processor::attached, processor);
}

DSP_STATUS POOL_open(unsigned pool, std::uint32_t buffer_size) {
    if (Fault("POOL_open")) return status_fault;
    std::lock_guard lock(link_mutex);
    if (pool != 0 || buffer_size == 0 || buffer_size > device_files::link_buffer_limit)
        return status_invalid;
    dsp.pool_open = true;
    return status_success;
}

// The virtual core has its program already; the image is not read.
DSP_STATUS PROC_load(unsigned processor, const char* image, const char* size_text, const char* iterations_text) {
    if (Fault("PROC_load")) return status_fault;
    if (image == nullptr || size_text == nullptr || iterations_text == nullptr)
        return status_invalid;
    std::lock_guard lock(link_mutex);
    return Move(Processor::attached, Processor::loaded, processor);
}

DSP_STATUS CHNL_create(unsigned processor, unsigned channel, Channel_Mode mode) {
    if (Channel_Fault("CHNL_create", channel)) return status_fault;
    std::lock_guard lock(link_mutex);
    const auto wanted_mode = channel == dsp_channel_out ? Channel_Mode::output : Channel_Mode::input;
    if (processor != dsp_processor || channel >= channels || mode != wanted_mode)
        return status_invalid;
    dsp.channel[channel] = {.created = true, .mode = mode};
    return status_success;
}

DSP_STATUS CHNL_allocateBuffer(unsigned processor, unsigned channel, void** buffer, std::uint32_t size) {
    if (Fault("CHNL_allocateBuffer")) return status_fault;
    std::lock_guard lock(link_mutex);
    const bool fits = size > 0 && size <= device_files::link_buffer_limit;
    if (buffer == nullptr || !fits || Find_Channel(processor, channel) == nullptr)
        return status_invalid;
    *buffer = nullptr;
    if (dsp.buffers.size() >= buffers_limit)
        return status_memory;
    const std::size_t rounded = (size + buffer_alignment - 1) / buffer_alignment * buffer_alignment;
    void* memory = std::aligned_alloc(buffer_alignment, rounded);
    if (memory == nullptr)
        return status_memory;
    std::memset(memory, 0, rounded);
    dsp.buffers.push_back({memory, size});
    *buffer = memory;
    return status_success;
}

DSP_STATUS PROC_start(unsigned processor) {
    if (Fault("PROC_start")) return status_fault;
    std::lock_guard lock(link_mutex);
    return Move(Processor::loaded, Processor::started, processor);
}

DSP_STATUS CHNL_issue(unsigned processor, unsigned channel, void* buffer, std::uint32_t size) {
    if (Channel_Fault("CHNL_issue", channel)) return status_fault;
    std::lock_guard lock(link_mutex);
    Channel* issued = Find_Channel(processor, channel);
    const auto known = std::ranges::find(dsp.buffers, buffer, &Buffer::memory);
    if (issued == nullptr || known == dsp.buffers.end() || size == 0 || size > known->size)
        return status_invalid;
    if (issued->issued != nullptr || dsp.processor != Processor::started)
        return dsp.socket < 0 ? status_gone : status_invalid;
    const bool output = issued->mode == Channel_Mode::output;
    const Link_Header header{output ? Link_Packet::output : Link_Packet::input, size};
    if (!Send(header, output ? buffer : nullptr))
        return status_gone;
    issued->issued = buffer;
    issued->issued_size = size;
    return status_success;
}

DSP_STATUS CHNL_reclaim(unsigned processor, unsigned channel, void** buffer) {
    if (Channel_Fault("CHNL_reclaim", channel)) return status_fault;
    std::lock_guard lock(link_mutex);
    Channel* issued = Find_Channel(processor, channel);
    if (issued == nullptr || issued->issued == nullptr || buffer == nullptr)
        return status_invalid;
    const bool output = issued->mode == Channel_Mode::output;
    // Gone or not, the buffer is the caller's again.
    *buffer = std::exchange(issued->issued, nullptr);
    const bool done = output ? Receive(Link_Packet::taken, nullptr, 0)
                             : Receive(Link_Packet::filled, *buffer, issued->issued_size);
    return done ? status_success : status_gone;
}

DSP_STATUS CHNL_freeBuffer(unsigned processor, unsigned channel, void* buffer) {
    if (Fault("CHNL_freeBuffer")) return status_fault;
    std::lock_guard lock(link_mutex);
    const auto known = std::ranges::find(dsp.buffers, buffer, &Buffer::memory);
    if (Find_Channel(processor, channel) == nullptr || known == dsp.buffers.end())
        return status_invalid;
    for (Channel& each : dsp.channel)
        if (each.issued == buffer)
            each.issued = nullptr;
    std::free(buffer);
    dsp.buffers.erase(known);
    return status_success;
}

DSP_STATUS CHNL_delete(unsigned processor, unsigned channel) {
    if (Channel_Fault("CHNL_delete", channel)) return status_fault;
    std::lock_guard lock(link_mutex);
    Channel* deleted = Find_Channel(processor, channel);
    if (deleted == nullptr)
        return status_invalid;
    *deleted = {};
    return status_success;
}

DSP_STATUS PROC_stop(unsigned processor) {
    if (Fault("PROC_stop")) return status_fault;
    std::lock_guard lock(link_mutex);
    return Move(Processor::started, Processor::loaded, processor);
}

DSP_STATUS POOL_close(unsigned pool) {
    if (Fault("POOL_close")) return status_fault;
    std::lock_guard lock(link_mutex);
    if (pool != 0 || !dsp.pool_open)
        return status_invalid;
    dsp.pool_open = false;
    return status_success;
}

DSP_STATUS PROC_detach(unsigned processor) {
    if (Fault("PROC_detach")) return status_fault;
    std::lock_guard lock(link_mutex);
    if (processor != dsp_processor || dsp.processor == Processor::absent)
        return status_invalid;
    dsp.processor = Processor::set_up;
    return status_success;
}

DSP_STATUS PROC_destroy() {
    if (Fault("PROC_destroy")) return status_fault;
    std::lock_guard lock(link_mutex);
    if (dsp.processor == Processor::absent)
        return status_invalid;
    Disconnect();
    for (const Buffer& left : dsp.buffers)
        std::free(left.memory);
    dsp.buffers.clear();
    dsp.processor = Processor::absent;
    return status_success;
}

}  // namespace platform
