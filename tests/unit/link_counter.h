#pragma once
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>

#include "platform/dsp_message.h"
#include "platform/root.h"
#include "platform/virtual/device_files.h"
#include "sweep/transfer.h"

/// The core's end of the link, in the test's own thread: answers lie ready before they are asked for, and the messages
/// that have come are counted afterwards.
class Link_Counter {
public:
    static constexpr int most_messages = 16;  ///< between two counts

    Link_Counter() {
        namespace files = platform::device_files;
        std::filesystem::create_directories(platform::Rooted("/dev"));
        listener_ = files::Listen_Device(platform::Rooted(files::dsp_link));
        if (!platform::DSP_SUCCEEDED(LOOP_Main("dsp_loop_new.out", "2048", "1"))) return;
        socket_ = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK);
        for (int i = 0; i < most_messages; ++i) Answer();
    }
    ~Link_Counter() {
        LOOP_Delete();
        close(socket_);
        close(listener_);
    }
    bool Up() const { return socket_ >= 0; }

    /// Messages that have come since the last call.
    int Count() {
        namespace files = platform::device_files;
        int messages = 0;
        files::Link_Header header{};
        for (;;) {
            std::array<iovec, 2> parts{{{&header, sizeof header}, {last_.data(), sizeof last_}}};
            msghdr packet{};
            packet.msg_iov = parts.data();
            packet.msg_iovlen = parts.size();
            if (recvmsg(socket_, &packet, 0) <= 0) break;
            if (header.packet != files::Link_Packet::output) continue;
            ++messages;
            Answer();
        }
        return messages;
    }
    /// An element of the message that came last.
    double Last(std::size_t element) const { return last_[element]; }

private:
    void Answer() const {
        namespace files = platform::device_files;
        static constexpr std::array<double, platform::message_elements> nothing{};
        const files::Link_Header taken{files::Link_Packet::taken, 0};
        files::Link_Header filled{files::Link_Packet::filled, sizeof nothing};
        [[maybe_unused]] auto sent = send(socket_, &taken, sizeof taken, MSG_NOSIGNAL);
        std::array<iovec, 2> parts{{{&filled, sizeof filled}, {const_cast<double*>(nothing.data()), sizeof nothing}}};
        msghdr packet{};
        packet.msg_iov = parts.data();
        packet.msg_iovlen = parts.size();
        sent = sendmsg(socket_, &packet, MSG_NOSIGNAL);
    }

    int listener_ = -1, socket_ = -1;
    std::array<double, platform::message_elements> last_{};
};
