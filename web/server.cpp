#include "web/server.h"

#include "web/live.h"
#include "web/order.h"
#include "web/origin.h"
#include "web/page_files.h"
#include "web/png_image.h"
#include "web/screen.h"
#include "web/state.h"
#include "web/web_socket.h"

#include <arpa/inet.h>
#include <civetweb.h>
#include <sys/socket.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

namespace web {

struct Server_Parts {
    std::map<std::string, Page_File, std::less<>> page;
    std::string listen;
    int port = 0;
    Frame_Source source;
    Instrument_Link link;
    Live live{source, link};
    std::atomic<int> scpi_requests = 0;
    mg_context* context = nullptr;
};

namespace {

using Parts = Server_Parts;

constexpr long long most_body_bytes = 64 * 1024;
constexpr auto body_time = std::chrono::seconds(5);

constexpr int most_scpi_requests = 8;
constexpr auto scpi_time = std::chrono::seconds(60);

constexpr int no_content = 204;

struct Reply {
    int status = 200;
    std::string_view type = "text/plain; charset=utf-8";
    std::string_view body;
    const char* extra = "";
};

int Send_Reply(mg_connection* connection, const Reply& reply) {
    const auto* request = mg_get_request_info(connection);
    mg_printf(connection,
              "HTTP/1.1 %d %s\r\n"
              "Cache-Control: no-store\r\n"
              "Connection: close\r\n"
              "X-Content-Type-Options: nosniff\r\n"
              "X-Frame-Options: DENY\r\n"
              "Cross-Origin-Resource-Policy: same-origin\r\n"
              "Content-Security-Policy: default-src 'self'; connect-src 'self' ws:; base-uri 'none'; "
              "form-action 'none'; frame-ancestors 'none'\r\n"
              "Referrer-Policy: no-referrer\r\n"
              "%s",
              reply.status, mg_get_response_code_text(connection, reply.status), reply.extra);
    if (reply.status == no_content) {
        mg_printf(connection, "\r\n");
        return reply.status;
    }
    mg_printf(connection, "Content-Type: %.*s\r\nContent-Length: %zu\r\n\r\n", static_cast<int>(reply.type.size()),
              reply.type.data(), reply.body.size());
    if (std::strcmp(request->request_method, "HEAD") != 0) mg_write(connection, reply.body.data(), reply.body.size());
    return reply.status;
}

int Send_Status(mg_connection* connection, int status, std::string_view line) {
    return Send_Reply(connection, {.status = status, .body = line});
}

std::optional<std::string_view> Header(const mg_connection* connection, const char* name) {
    const char* value = mg_get_header(connection, name);
    return value ? std::optional<std::string_view>(value) : std::nullopt;
}

std::string Line(std::string_view text) { return std::string(text) + '\n'; }

const char* Refusal(Key_Answer answer, Order::Act act) {
    if (answer == Key_Answer::unreachable) return "the instrument does not answer";
    return act == Order::Act::set ? "the instrument does not take this value now" : "the instrument takes no keys now";
}

Key_Answer Execute(Parts& parts, const Order& order) {
    switch (order.act) {
        case Order::Act::key: return parts.link.Press_Key(order.key);
        case Order::Act::power: return parts.link.Press_Power();
        case Order::Act::set: break;
        case Order::Act::none: return Key_Answer::refused;
    }
    const auto answer = parts.link.Set(order.setting->name, order.value);
    parts.live.Ask_State();
    return answer;
}

int Get_Screen(Parts& parts, mg_connection* connection) {
    std::vector<std::uint8_t> screen(screen_bytes);
    parts.source.Capture(screen);
    const auto file = Encode_Png(screen);
    if (file.empty()) return Send_Status(connection, 500, "no picture\n");
    return Send_Reply(connection,
                      {.type = "image/png", .body = {reinterpret_cast<const char*>(file.data()), file.size()}});
}

int Get(Parts& parts, mg_connection* connection, std::string_view path) {
    if (const auto file = parts.page.find(path); file != parts.page.end())
        return Send_Reply(connection, {.type = file->second.type, .body = file->second.text});
    if (path == "/screen.png") return Get_Screen(parts, connection);
    if (path == "/trace.csv") {
        const auto trace = parts.link.Trace();
        if (!trace || trace->empty()) return Send_Status(connection, 503, "the instrument does not answer\n");
        return Send_Reply(connection, {.type = "text/csv; charset=utf-8", .body = *trace});
    }
    if (path == "/state.json") {
        const auto state = State_Message(parts.link.Info());
        return Send_Reply(connection, {.type = "application/json", .body = state});
    }
    if (path == "/healthz") return Send_Status(connection, 200, "ok\n");
    if (path == "/lxi/identification") return Send_Status(connection, 501, "remote control is off\n");
    return Send_Status(connection, 404, "no such page\n");
}

/// Remote messages, each request over a connection of its own, so that what one leaves unfinished is nobody else's. A query
/// may wait for the end of a sweep.
int Post_Scpi(Parts& parts, mg_connection* connection, std::string_view body) {
    using enum Instrument_Link::Scpi_Result;
    if (parts.scpi_requests.fetch_add(1) >= most_scpi_requests) {
        --parts.scpi_requests;
        return Send_Status(connection, 503, "too many requests wait for the instrument\n");
    }
    Instrument_Link link(scpi_time);
    std::string answer;
    const auto result = link.Scpi(body, answer);
    --parts.scpi_requests;
    switch (result) {
        case answered: return Send_Reply(connection, {.body = answer});
        case too_long: return Send_Status(connection, 413, "the message is too long\n");
        case late: return Send_Status(connection, 504, "the instrument does not answer in time\n");
        case unreachable: break;
    }
    return Send_Status(connection, 503, "the instrument does not answer\n");
}

int Post(Parts& parts, mg_connection* connection, std::string_view path, std::string_view body) {
    if (path == "/scpi") return Post_Scpi(parts, connection, body);
    const auto order = Parse_Post(path, body);
    if (order.act == Order::Act::none) return Send_Status(connection, order.status, Line(order.fault));
    const auto answer = Execute(parts, order);
    if (answer == Key_Answer::taken) return Send_Reply(connection, {.status = no_content, .body = {}});
    return Send_Status(connection, 503, Line(Refusal(answer, order.act)));
}

/// Takes the body off the wire, so that closing does not cut the answer off. Returns 0, or the status that refuses it.
/// Byte by byte, since the library waits for all that is asked for and its patience starts anew with each piece.
int Take_Body(mg_connection* connection, const mg_request_info& request, std::string& body) {
    if (mg_get_header(connection, "Transfer-Encoding")) return 411;
    if (request.content_length > most_body_bytes) return 413;
    const auto limit = std::chrono::steady_clock::now() + body_time;
    for (auto left = request.content_length; left > 0; --left) {
        char byte;
        if (mg_read(connection, &byte, 1) != 1 || std::chrono::steady_clock::now() > limit) return 408;
        body += byte;
    }
    return 0;
}

const char* Body_Fault(int status) {
    if (status == 408) return "the body does not come\n";
    return status == 411 ? "a body needs its length\n" : "the body is too long\n";
}

bool Allowed(const Parts& parts, const mg_connection* connection, int port) {
    const Own_Address own{parts.listen, port};
    const auto host = Header(connection, "Host");
    return Host_Allowed(own, host) && Origin_Allowed(own, Header(connection, "Origin"), host);
}

/// Every request comes here first. 0 hands it on to the web socket's handlers.
int On_Request(mg_connection* connection) {
    const auto& request = *mg_get_request_info(connection);
    auto& parts = *static_cast<Parts*>(request.user_data);
    if (!Allowed(parts, connection, request.server_port)) return Send_Status(connection, 403, "not from here\n");
    const std::string_view method = request.request_method;
    const std::string_view path = request.local_uri_raw ? request.local_uri_raw : "";
    std::string body;
    if (const int refused = Take_Body(connection, request, body))
        return Send_Status(connection, refused, Body_Fault(refused));
    if (path == "/live") {
        if (method == "GET" && mg_get_header(connection, "Upgrade")) return 0;
        return Send_Reply(connection, {.status = 426, .body = "a web socket\n", .extra = "Upgrade: websocket\r\n"});
    }
    if (method == "GET" || method == "HEAD") return Get(parts, connection, path);
    if (method == "POST") return Post(parts, connection, path, body);
    return Send_Reply(connection, {.status = 405, .body = "GET or POST\n", .extra = "Allow: GET, HEAD, POST\r\n"});
}

// The web socket. Its handlers run in the connection's own thread.

int On_Connect(const mg_connection*, void* data) { return static_cast<Parts*>(data)->live.Has_Room() ? 0 : 1; }

std::string Error_Message(const Order& order, const char* text) {
    nlohmann::json message{{"error", text}};
    if (order.setting) message["set"] = order.setting->name;
    return message.dump();
}

/// Where a setting stands after it was set; the instrument may have limited it.
std::string Set_Message(Parts& parts, const Setting& setting) {
    nlohmann::json message{{"set", setting.name}};
    const auto state = nlohmann::json::parse(State_Message(parts.link.Info()));
    if (const auto value = state.find(setting.name); value != state.end()) message["value"] = *value;
    return message.dump();
}

/// The answer to a page's message; empty when there is nothing to say.
std::string Execute_Message(Parts& parts, std::string_view message) {
    const auto order = Parse_Message(message);
    if (order.act == Order::Act::none) return Error_Message(order, order.fault);
    const auto answer = Execute(parts, order);
    if (answer != Key_Answer::taken) return Error_Message(order, Refusal(answer, order.act));
    return order.act == Order::Act::set ? Set_Message(parts, *order.setting) : "";
}

void On_Ready(mg_connection* connection, void* data) {
    auto& parts = *static_cast<Parts*>(data);
    Serve_Viewer(connection, parts.live, [&](std::string_view text) { return Execute_Message(parts, text); });
}

/// All messages are served before; what comes after them ends the connection.
int On_Message(mg_connection*, int, char*, std::size_t, void*) { return 0; }

/// Why an address cannot be listened on; the library does not tell.
std::string Listen_Failure(in_addr address, int port) {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0) return std::strerror(errno);
    const int on = 1;
    setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    name.sin_addr = address;
    const bool bound = bind(probe, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
    const bool listens = bound && listen(probe, 1) == 0;
    const std::string reason = listens ? "the server does not start" : std::strerror(errno);
    close(probe);
    return reason;
}

/// Connects to the server and hangs up.
void Knock(const std::string& listen, int port) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, listen.c_str(), &name.sin_addr);
    if (name.sin_addr.s_addr == INADDR_ANY) name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int knock = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (knock < 0) return;
    connect(knock, reinterpret_cast<const sockaddr*>(&name), sizeof name);
    close(knock);
}

/// The library's own log lines are about single connections; nobody reads them.
int On_Log(const mg_connection*, const char*) { return 1; }

}  // namespace

Server::Server(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

std::unique_ptr<Server> Server::Start(const Server_Options& options, std::string& error) {
    in_addr address{};
    if (inet_pton(AF_INET, options.listen.c_str(), &address) != 1) {
        error = "not an IPv4 address to listen on: " + options.listen;
        return nullptr;
    }
    std::string missing;
    auto page = Load_Page(options.page, missing);
    if (!page) {
        error = "no " + missing + " in the page folder " + options.page;
        return nullptr;
    }
    auto parts = std::make_unique<Parts>();
    parts->page = std::move(*page);
    parts->listen = options.listen;

    const auto port = options.listen + ":" + std::to_string(options.port);
    const char* settings[] = {
        "listening_ports",
        port.c_str(),
        "num_threads",
        "40",
        "request_timeout_ms",
        "5000",
        "websocket_timeout_ms",
        "10000",
        "tcp_nodelay",
        "1",
        "enable_auth_domain_check",
        "no",
        "access_control_allow_origin",
        "",
        "access_control_allow_methods",
        "",
        "access_control_allow_headers",
        "",
        nullptr,
    };
    mg_callbacks callbacks{};
    callbacks.begin_request = On_Request;
    callbacks.log_message = On_Log;
    mg_init_library(MG_FEATURES_WEBSOCKET);
    parts->context = mg_start(&callbacks, parts.get(), settings);
    mg_server_port listening{};
    if (!parts->context || mg_get_server_ports(parts->context, 1, &listening) < 1) {
        error = "cannot listen on " + port + ": " + Listen_Failure(address, options.port);
        if (parts->context) mg_stop(parts->context);
        mg_exit_library();
        return nullptr;
    }
    parts->port = listening.port;
    mg_set_websocket_handler(parts->context, "/live", On_Connect, On_Ready, On_Message, nullptr, parts.get());
    return std::unique_ptr<Server>(new Server(std::move(parts)));
}

/// The library looks for its stop only when a connection comes, or every two seconds; so connections come.
Server::~Server() {
    parts_->live.Close();
    std::atomic<bool> stopped = false;
    std::thread stop([&] {
        mg_stop(parts_->context);
        stopped = true;
    });
    while (!stopped) {
        Knock(parts_->listen, parts_->port);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    stop.join();
    mg_exit_library();
}

int Server::Port() const { return parts_->port; }

}  // namespace web
