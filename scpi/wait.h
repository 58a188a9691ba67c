#pragma once
#include "scpi/context.h"

/// Waits for the end of a sweep: *OPC?, and what comes after *WAI. A wait lets go of scpi_lock_mutex but keeps the turn, so
/// that no thread stands on the lock: input of others is held back while its thread goes on serving its clients.

/// The turn of one thread to execute input, with scpi_lock_mutex.
class Input_Turn {
public:
    explicit Input_Turn(ScpiContext& context);
    ~Input_Turn();
    Input_Turn(const Input_Turn&) = delete;
    Input_Turn& operator=(const Input_Turn&) = delete;
};

/// Holds new input while an operation is pending. Ends it where the host says that no sweep will.
void Wait_For_Pending_Operation(ScpiContext& context);

/// Waits for the end of the next complete sweep with both locks released, of which the caller holds the records'.
/// True when the sweep ended or none can come; false when the client was cleared or is gone.
bool Wait_For_Sweep(ScpiContext& context);

/// Marks an operation as pending on behalf of the client in hand.
void Begin_Pending_Operation(ScpiContext& context);

/// *OPC: the end of the operation is to be told on behalf of the client in hand.
void Await_Completion(ScpiContext& context);

/// Ends the waits of a client that is cleared, and what its *OPC waits for. Any thread.
void Clear_Client(ScpiUserContext client);

/// Ends the waits of a client that is cleared or gone; without any of its own, nothing. Any thread.
void Release_Waits(ScpiUserContext client);

/// The client for which a wait runs or will run; kind interface_none while none does. Any thread.
ScpiUserContext Waiting_Client();

/// The client that asked with *OPC last; maybe long ago. Any thread.
ScpiUserContext Completion_Client();
