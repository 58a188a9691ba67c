#pragma once
#include <optional>

#include "remote/hislip.h"
#include "remote_rig.h"

/// A message as a client sees it.
struct Hislip_Message {
    int type = -1, control = -1;  ///< -1: the connection has ended, or nothing came
    std::uint32_t parameter = 0;
    std::string payload;
};

/// The server behind real sockets, and clients that send what they are told.
class Hislip_Rig : public Remote_Rig {
protected:
    static std::string Bytes(int type, int control = 0, std::uint32_t parameter = 0, std::string_view payload = {}) {
        const auto header = remote::Hislip_Bytes(
            {static_cast<std::uint8_t>(type), static_cast<std::uint8_t>(control), parameter, payload.size()});
        return std::string(header.data(), header.size()) + std::string(payload);
    }
    static Connection Channel() { return Tcp(remote::Hislip_Address()); }
    static Hislip_Message Next(const Connection& channel, int patience_ms = 10000) {
        const std::string header = channel.Receive(remote::hislip_header_size, patience_ms);
        if (header.size() < remote::hislip_header_size) return {};
        remote::Hislip_Header read;
        if (!remote::Read_Hislip_Header(header, read)) return {};
        return {read.type, read.control, read.parameter, channel.Receive(static_cast<std::size_t>(read.length))};
    }
    /// "type:control:payload" of the next message.
    static std::string Got(const Connection& channel) {
        const Hislip_Message message = Next(channel);
        return std::to_string(message.type) + ':' + std::to_string(message.control) + ':' + message.payload;
    }

    /// Both channels of a session.
    struct Session {
        Connection data, control;
        std::uint32_t id = 0, message_id = remote::first_message_id - 2;

        bool Say(std::string_view text, int flags = 0) {
            message_id += 2;
            return data.Send(Bytes(remote::hislip_data_end, flags, message_id, text));
        }
        /// The answer, with its type in front where it is no DataEnd of the last message.
        std::string Heard() const {
            const Hislip_Message message = Next(data);
            if (message.type == remote::hislip_data_end && message.parameter == message_id) return message.payload;
            return std::to_string(message.type) + '!' + message.payload;
        }
        std::string Ask(std::string_view text) { return Say(text) ? Heard() : "not sent"; }
        Hislip_Message Request(int type, int code = 0, std::uint32_t parameter = 0, std::string_view payload = {}) const {
            return control.Send(Bytes(type, code, parameter, payload)) ? Next(control) : Hislip_Message{};
        }
        int Status(int flags = 0) const { return Request(remote::hislip_async_status_query, flags, message_id).control; }
        int Lock(std::string_view key, std::uint32_t time_ms = 0) const {
            return Request(remote::hislip_async_lock, 1, time_ms, key).control;
        }
        int Unlock() const { return Request(remote::hislip_async_lock, 0, message_id).control; }
    };
    static Session Open() {
        Connection data = Channel();
        data.Send(Bytes(remote::hislip_initialize, 0, 0x01007878, "hislip0"));
        const Hislip_Message answer = Next(data);
        EXPECT_EQ(answer.type, remote::hislip_initialize_response);
        Connection control = Channel();
        control.Send(Bytes(remote::hislip_async_initialize, 0, answer.parameter & 0xffff));
        EXPECT_EQ(Next(control).type, remote::hislip_async_initialize_response);
        return {std::move(data), std::move(control), answer.parameter & 0xffff};
    }
    /// True when the server has ended the connection.
    static bool Ended(const Connection& channel) {
        return Eventually([&] {
            std::array<char, 4096> unread;
            const ssize_t got = recv(channel.Descriptor(), unread.data(), unread.size(), MSG_DONTWAIT);
            return got == 0 || (got < 0 && errno != EAGAIN);
        });
    }
};
