#pragma once
#include <array>
#include <cstddef>
#include <string>

#include "remote/listener.h"
#include "remote/local_protocol.h"
#include "remote/outbox.h"
#include "remote/sinks.h"
#include "scpi/parser.h"

namespace remote {

/// The local socket "/tmp/web_store/talmiron.sock" by which the web front panel talks to the instrument, and its clients.
/// Of the server thread.
class Local_Socket : public Sink {
public:
    static constexpr std::size_t slots = 16;

    /// Makes the listening socket in place of an old one; a line on standard error where it can't be made.
    explicit Local_Socket(const Local_Commands& commands);
    /// Removes the socket file.
    ~Local_Socket() override;
    Local_Socket(const Local_Socket&) = delete;
    Local_Socket& operator=(const Local_Socket&) = delete;

    void Add_Waits(Poll_Set& waits);
    void Serve(const Poll_Set& waits) { Serve(waits, true); }
    bool Watches_Time() const;
    /// Something stands that can be executed at once.
    bool Has_Work() const;

    /// As above while a command waits: the client whose command it is stays alone, program messages of the others too.
    void Add_Page_Waits(Poll_Set& waits);
    void Serve_Pages(const Poll_Set& waits) { Serve(waits, false); }

    void Answer(int slot, std::string_view answer) override;
    bool Lives(int slot) override;

private:
    struct Client : Local_Scpi {
        int socket = -1;
        int slot = 0;
        std::size_t place = Poll_Set::nowhere;
        bool in_hand = false;  ///< its program messages are being executed
        bool later = false;    ///< input stands that could not be executed
        bool gone = false;     ///< found to have hung up while they were
        Local_Protocol protocol;
        Outbox output{Write_Socket};
        std::array<char, Local_Protocol::longest_slot> answer{};  ///< the short answer, with a NUL
        std::size_t answer_size = 0;
        std::string* whole = nullptr;  ///< takes the answers instead, of "SC"

        std::string_view Short(std::string_view text) override;
        void Whole(std::string_view text, std::string& answers) override;
        void Execute_Messages(std::string_view text);
    };

    void Serve(const Poll_Set& waits, bool scpi_allowed);
    bool Serve(Client& client, int events, bool scpi_allowed);
    /// One recv. False when the client is to be closed.
    static bool Receive(Client& client);
    void Accept(const Poll_Set& waits);
    void Close(Client& client);

    const Local_Commands commands_;
    int listening_ = -1;
    Listener listener_;
    std::array<Client, slots> clients_;
};

}  // namespace remote
