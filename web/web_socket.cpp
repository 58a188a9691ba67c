#include "web/web_socket.h"

#include <arpa/inet.h>
#include <civetweb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "web/frame_reader.h"
#include "web/live.h"

namespace web {
namespace {

using namespace std::chrono_literals;

constexpr auto silence_limit = 10s;  // then a ping; after as much silence again the viewer is lost
constexpr std::uint16_t normal_close = 1000;

/// The connection's socket; -1 when there is none. The library does not tell, and reads messages of any length into
/// memory; so they are read here.
int Find_Socket(const mg_request_info& request) {
    sockaddr_in wanted{};
    if (inet_pton(AF_INET, request.remote_addr, &wanted.sin_addr) != 1) return -1;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        const int descriptor = std::atoi(entry.path().filename().c_str());
        sockaddr_in peer{}, own{};
        socklen_t peer_size = sizeof peer, own_size = sizeof own;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &peer_size) != 0) continue;
        if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &own_size) != 0) continue;
        if (peer.sin_family == AF_INET && peer.sin_addr.s_addr == wanted.sin_addr.s_addr &&
            ntohs(peer.sin_port) == request.remote_port && ntohs(own.sin_port) == request.server_port)
            return descriptor;
    }
    return -1;
}

constexpr int Opcode(Live::Kind kind) {
    switch (kind) {
        case Live::Kind::text: return MG_WEBSOCKET_OPCODE_TEXT;
        case Live::Kind::binary: return MG_WEBSOCKET_OPCODE_BINARY;
        case Live::Kind::close: break;
    }
    return MG_WEBSOCKET_OPCODE_CONNECTION_CLOSE;
}

struct Session {
    mg_connection* connection;
    int socket;
    Viewer* viewer;
    const Answer_Text& answer;
    Frame_Reader reader{};
    bool pinged = false;

    bool Write(int opcode, std::string_view payload) const {
        return mg_websocket_write(connection, opcode, payload.data(), payload.size()) > 0;
    }
    bool Close(std::uint16_t status) const {
        const std::array<char, 2> code{static_cast<char>(status >> 8), static_cast<char>(status & 0xff)};
        Write(MG_WEBSOCKET_OPCODE_CONNECTION_CLOSE, {code.data(), code.size()});
        return false;
    }

    /// False ends the session.
    bool Handle(Frame_Reader::Event event) {
        switch (event) {
            case Frame_Reader::Event::text:
                if (auto text = answer(reader.Payload()); !text.empty()) viewer->Tell(std::move(text));
                return true;
            case Frame_Reader::Event::ping: return Write(MG_WEBSOCKET_OPCODE_PONG, reader.Payload());
            case Frame_Reader::Event::close: return Close(normal_close);
            case Frame_Reader::Event::violation: return Close(reader.Close_Status());
            default: return true;
        }
    }

    bool Receive() {
        std::array<std::uint8_t, 512> piece;
        const auto count = recv(socket, piece.data(), piece.size(), MSG_DONTWAIT);
        if (count < 0) return errno == EAGAIN || errno == EINTR;
        if (count == 0) return false;
        pinged = false;
        std::span<const std::uint8_t> input(piece.data(), static_cast<std::size_t>(count));
        for (;;) {
            const auto event = reader.Take(input);
            if (event == Frame_Reader::Event::none) return true;
            if (!Handle(event)) return false;
        }
    }

    /// One wait. False ends the session.
    bool Serve() {
        pollfd readable{socket, POLLIN, 0};
        const int ready = poll(&readable, 1, static_cast<int>(std::chrono::milliseconds(silence_limit).count()));
        if (ready < 0) return errno == EINTR;
        if (ready > 0) return Receive();
        if (std::exchange(pinged, true)) return false;
        return Write(MG_WEBSOCKET_OPCODE_PING, {});
    }
};

}  // namespace

void Serve_Viewer(mg_connection* connection, Live& live, const Answer_Text& answer) {
    const int socket = Find_Socket(*mg_get_request_info(connection));
    if (socket < 0) return;
    const auto send = [connection, socket](Live::Kind kind, std::span<const std::uint8_t> message) {
        const bool sent = mg_websocket_write(connection, Opcode(kind), reinterpret_cast<const char*>(message.data()),
                                             message.size()) > 0;
        // The session waits for the viewer to speak; this wakes it.
        if (!sent || kind == Live::Kind::close) shutdown(socket, SHUT_RD);
        return sent;
    };
    {
        const auto viewer = live.Join(send);
        Session session{connection, socket, viewer.get(), answer};
        while (session.Serve()) {
        }
        // Also ends a write that the viewer's thread may be in.
        shutdown(socket, SHUT_RDWR);
    }
    std::array<char, 4096> scrap;
    while (recv(socket, scrap.data(), scrap.size(), MSG_DONTWAIT) > 0) {
    }
}

}  // namespace web
