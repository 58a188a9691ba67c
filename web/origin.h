#pragma once
#include <optional>
#include <string>
#include <string_view>

/// Who may talk to the server: its own page, and programs that are no browsers (they send no Origin).
namespace web {

struct Own_Address {
    std::string listen;  ///< IPv4 address that the server listens on; 0.0.0.0 is every one
    int port = 0;
};

/// False for a Host line that names another machine: a foreign name that was made to point here. A request without one
/// is fine. A server that listens on every address does not know its names and takes any.
bool Host_Allowed(const Own_Address& own, std::optional<std::string_view> host);

/// False for a request that a page of another origin makes.
bool Origin_Allowed(const Own_Address& own, std::optional<std::string_view> origin,
                    std::optional<std::string_view> host);

}  // namespace web
