#pragma once
#include <memory>
#include <string>

namespace web {

struct Server_Options {
    std::string listen = "127.0.0.1";  ///< IPv4 address
    int port = 8080;                   ///< 0: any free one
    std::string page;                  ///< folder of the page's files
};

struct Server_Parts;

/// The front panel's HTTP and WebSocket server. The instrument root is the seam's.
class Server {
public:
    /// Starts to listen; nothing and one line in error when that fails.
    static std::unique_ptr<Server> Start(const Server_Options& options, std::string& error);
    /// Says goodbye to the viewers and ends every thread.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int Port() const;

private:
    explicit Server(std::unique_ptr<Server_Parts> parts);
    std::unique_ptr<Server_Parts> parts_;
};

}  // namespace web
