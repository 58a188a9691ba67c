#pragma once
#include "scpi/context.h"

/// Takes received bytes, cuts them into program messages at the newline and executes them. Returns the result of the last
/// message (1 when its last unit executed a command, 0 otherwise, also when no message was complete), or -1 when the bytes don't
/// fit behind those that are waiting; then they are dropped whole. Length 0 executes what is buffered, newline or not.
/// The caller has set `scpi_user_context`. Any thread, without locks; waits while an operation is pending.
int SCPI_Input(ScpiContext& context, const char* data, int length);

/// Executes one complete program message. The text is written to where compound headers are composed.
/// The caller holds scpi_lock_mutex.
int SCPI_Parse(ScpiContext& context, char* text, int length);

/// What a client has sent of a message that is not complete yet.
struct Pending_Input {
    std::array<char, scpi_input_size> text{};
    unsigned length = 0;
    bool refused = false;  ///< of a message that is too long: dropped up to its newline
};

/// SCPI_Input for a client of its own: its pending input is in place while its bytes are executed, however they are cut.
/// A message that doesn't fit is forgotten at its newline, without an error. Returns as SCPI_Input does.
int SCPI_Receive(ScpiContext& context, ScpiUserContext client, Pending_Input& pending, std::string_view bytes);

/// Executes what is pending of a client, newline or not.
int SCPI_Finish(ScpiContext& context, ScpiUserContext client, Pending_Input& pending);

/// Cuts the next program message unit into header and data; returns the number of characters that it takes.
int scpiParser_detectProgramMessageUnit(ScpiParserState& state, char* text, int length);

/// All program data of a unit as one token.
void scpiParser_parseAllProgramData(ScpiLexer& lexer, ScpiToken& token, std::int32_t& parameters);

/// Puts the path that the last executed header left in front of a header that starts without colon and asterisk; false when
/// there is nothing to put. It is written over the characters before the header: they are consumed, as many at least, and may
/// be the path's own, so that it stands from then on where the header starts.
bool composeCompoundCommand(const ScpiToken& path, ScpiToken& header);
