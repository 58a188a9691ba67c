#pragma once
#include <cstdint>
#include <string_view>

#include "remote/setup.h"
#include "scpi/context.h"

/// Where the parser's answers and service requests go, by the kind of interface that is talking.
namespace remote {

/// One kind of interface. All calls but Lives come from the thread that feeds the parser.
class Sink {
public:
    virtual ~Sink() = default;
    /// The answer of a message, to the descriptor, client or session that sent it. Does not wait.
    virtual void Answer(int descriptor, std::string_view answer) = 0;
    /// The status byte after a message without answer.
    virtual void Hand_Status_Byte(int, std::uint32_t) {}
    /// A service request, from the server thread without locks; maybe after its client has gone.
    virtual void Request_Service(int, std::uint32_t) {}
    /// False when a client whose command waits has gone. From the server thread, for interfaces with threads of their own
    /// from any.
    virtual bool Lives(int) { return true; }
};

/// Makes a sink that of its kind; null takes it away. Kinds without a sink drop answers and requests.
void Set_Sink(Interface_Kind kind, Sink* sink);
Sink* Sink_Of(std::int32_t kind);

/// The parser's callbacks.
int SCPI_Error(ScpiContext& context, int code);
void SCPI_Flush(ScpiContext& context);
void SCPI_Control(ScpiContext& context, int control, std::uint32_t value);
void SCPI_Reset(ScpiContext& context);

/// Puts the callbacks into scpi_interface and the host's side of the parser into scpi_context. Before any input.
void Install_Interface(const Remote_Setup& setup);
/// Takes them back, when all threads that feed the parser have ended.
void Remove_Interface();
const Remote_Setup& Setup();

/// Service requests wait here for the server thread: a status change that raises one is made under locks.
/// The event becomes readable when there is something to send.
int Request_Event();
void Send_Requests();

}  // namespace remote
