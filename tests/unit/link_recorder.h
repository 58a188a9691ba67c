#pragma once
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/dsp_message.h"
#include "platform/root.h"
#include "platform/virtual/device_files.h"

/// The far ends of link and FPGA interrupt device: takes messages, answers them, and keeps them for a test.
class Link_Recorder {
public:
    using Message = std::vector<double>;
    using Request = std::pair<int, int>;  ///< request and argument

    Link_Recorder() {
        namespace files = platform::device_files;
        std::filesystem::create_directories(platform::Rooted("/dev"));
        link_ = files::Listen_Device(platform::Rooted(files::dsp_link));
        fpga_ = files::Listen_Device(platform::Rooted(files::fpga_int));
        stop_ = eventfd(0, EFD_CLOEXEC);
        thread_ = std::thread([this] { Serve(); });
    }
    Link_Recorder(const Link_Recorder&) = delete;
    Link_Recorder& operator=(const Link_Recorder&) = delete;
    ~Link_Recorder() {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(stop_, &one, sizeof one);
        thread_.join();
        for (const int descriptor : {link_, fpga_, stop_, client_}) {
            if (descriptor >= 0) close(descriptor);
        }
    }

    /// The messages since the last call.
    std::vector<Message> Take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(messages_, {});
    }
    /// The requests to the interrupt device since the last call.
    std::vector<Request> Requests() {
        Accept_Client();
        std::vector<Request> requests;
        platform::device_files::Fpga_Request request{};
        while (client_ >= 0 && recv(client_, &request, sizeof request, MSG_DONTWAIT) == sizeof request) {
            requests.emplace_back(request.request, request.argument);
        }
        return requests;
    }
    void Send_Event(std::uint8_t event) {
        Accept_Client();
        [[maybe_unused]] const auto sent = send(client_, &event, 1, MSG_NOSIGNAL);
    }

private:
    void Accept_Client() {
        pollfd waiting{fpga_, POLLIN, 0};
        if (client_ < 0 && poll(&waiting, 1, 0) > 0) client_ = accept4(fpga_, nullptr, nullptr, SOCK_CLOEXEC);
    }

    void Serve() {
        int instrument = -1;
        for (;;) {
            std::array<pollfd, 3> waits{{{stop_, POLLIN, 0}, {link_, POLLIN, 0}, {instrument, POLLIN, 0}}};
            poll(waits.data(), waits.size(), -1);
            if (waits[0].revents) break;
            if (waits[2].revents && !Answer(instrument)) {
                close(instrument);
                instrument = -1;
            }
            if (waits[1].revents && instrument < 0) instrument = accept4(link_, nullptr, nullptr, SOCK_CLOEXEC);
        }
        if (instrument >= 0) close(instrument);
    }

    bool Answer(int instrument) {
        using platform::device_files::Link_Packet;
        platform::device_files::Link_Header header{};
        std::array<iovec, 2> parts{{{&header, sizeof header}, {buffer_.data(), sizeof buffer_}}};
        msghdr packet{};
        packet.msg_iov = parts.data();
        packet.msg_iovlen = parts.size();
        const auto size = recvmsg(instrument, &packet, 0);
        if (size < static_cast<ssize_t>(sizeof header)) return false;
        if (header.packet == Link_Packet::output) {
            const std::lock_guard lock(mutex_);
            messages_.emplace_back(buffer_.begin(), buffer_.end());
            header = {Link_Packet::taken, 0};
        } else {
            header = {Link_Packet::filled, sizeof buffer_};
        }
        parts[1].iov_len = header.size;
        return sendmsg(instrument, &packet, MSG_NOSIGNAL) > 0;
    }

    int link_ = -1, fpga_ = -1, stop_ = -1, client_ = -1;
    std::array<double, platform::message_elements> buffer_{};
    std::mutex mutex_;
    std::vector<Message> messages_;
    std::thread thread_;
};
