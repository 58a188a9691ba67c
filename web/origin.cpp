#include "web/origin.h"

#include <strings.h>

#include <charconv>

namespace web {
namespace {

constexpr int http_port = 80;

bool Equal(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

struct Authority {
    std::string_view name;
    int port = http_port;
};

std::optional<Authority> Parse_Authority(std::string_view text) {
    Authority result{text};
    if (const auto colon = text.rfind(':'); colon != text.npos) {
        result.name = text.substr(0, colon);
        const auto digits = text.substr(colon + 1);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result.port);
        if (error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
        if (digits.front() == '0') return std::nullopt;
    }
    if (result.name.empty()) return std::nullopt;
    return result;
}

bool Listens_Everywhere(const Own_Address& own) { return own.listen == "0.0.0.0"; }

bool Is_Own_Name(const Own_Address& own, std::string_view text) {
    const auto authority = Parse_Authority(text);
    if (!authority || authority->port != own.port) return false;
    return Equal(authority->name, own.listen) || Equal(authority->name, "localhost");
}

}  // namespace

bool Host_Allowed(const Own_Address& own, std::optional<std::string_view> host) {
    return !host || Listens_Everywhere(own) || Is_Own_Name(own, *host);
}

bool Origin_Allowed(const Own_Address& own, std::optional<std::string_view> origin,
                    std::optional<std::string_view> host) {
    if (!origin) return true;
    constexpr std::string_view scheme = "http://";
    if (!Equal(origin->substr(0, scheme.size()), scheme)) return false;
    const auto name = origin->substr(scheme.size());
    if (Listens_Everywhere(own)) return host && Equal(name, *host);
    return Is_Own_Name(own, name);
}

}  // namespace web
