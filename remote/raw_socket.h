#pragma once
#include <array>
#include <cstddef>
#include <string>

#include "remote/listener.h"
#include "remote/outbox.h"
#include "remote/sinks.h"
#include "scpi/parser.h"

/// Program messages over bare TCP.
namespace remote {

/// Makes the listening socket on an IPv4 address; port 0: any free one. False, with a line on standard error, when it
/// can't be had.
bool Open_Raw_Listener(const std::string& address, int port);
void Close_Raw_Listener();
/// "ADDRESS:PORT" of the listening socket, empty without one. Any thread.
std::string Raw_Address();

/// The clients. Of the server thread.
class Raw_Clients : public Sink {
public:
    static constexpr std::size_t slots = 64;

    Raw_Clients();
    ~Raw_Clients() override;
    Raw_Clients(const Raw_Clients&) = delete;
    Raw_Clients& operator=(const Raw_Clients&) = delete;

    void Add_Waits(Poll_Set& waits);
    void Serve(const Poll_Set& waits);
    /// Answers stand or the listener rests: time has to be looked at.
    bool Watches_Time() const;

    void Answer(int descriptor, std::string_view answer) override;
    bool Lives(int descriptor) override;

private:
    struct Client {
        int socket = -1;
        std::size_t place = Poll_Set::nowhere;
        bool gone = false;  ///< found to have hung up while its bytes are executed: answers go nowhere
        Pending_Input pending;
        Outbox output{Write_Socket};
    };

    void Accept(const Poll_Set& waits);
    Client* Find(int descriptor);
    /// One recv. False when the client is to be closed.
    bool Receive(Client& client);
    bool Serve(Client& client, int events);
    void Close(Client& client);

    Listener listener_;
    std::array<Client, slots> clients_;
    bool crowd_told_ = false;
};

}  // namespace remote
