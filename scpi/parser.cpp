#include "scpi/parser.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "records/handover.h"
#include "records/locks.h"
#include "scpi/error_queue.h"
#include "scpi/lexer.h"
#include "scpi/matcher.h"
#include "scpi/status.h"
#include "scpi/wait.h"
#include "scpi/writers.h"

namespace {

/// Text up to just past the next semicolon from a place on, or all of it.
int Past_Semicolon(const char* text, int from, int length) {
    const void* found = std::memchr(text + from, ';', static_cast<std::size_t>(length - from));
    return found ? static_cast<int>(static_cast<const char*>(found) - text) + 1 : length;
}

void processCommand(ScpiContext& context) {
    context.command_error = false;
    context.input_count = 0;
    context.output_count = 0;
    const auto* command = context.parameter.command;
    if (command->handler(context) != 1 && !context.command_error) SCPI_ErrorPush(context, -200);
    lexer::Skip_Blanks(context.parameter.lexer);
    if (!lexer::At_End(context.parameter.lexer) && !context.command_error) SCPI_ErrorPush(context, -108);
    context.message_output_count += context.output_count;
}

/// The matched row is put into the parameter state and run under the records' lock.
void Execute(ScpiContext& context, const ScpiCommand& row) {
    const ScpiParserState& state = context.parser_state;
    context.parameter.command = &row;
    context.parameter.lexer = {state.data.start, state.data.start, state.data.length};
    context.parameter.header = {state.header.start, state.header.length, 0};
    const std::lock_guard records(Command_Main_Mutex);
    processCommand(context);
}

/// What the next header inherits of one that was executed: its text up to the last colon, nothing of a common one.
ScpiToken Path(const ScpiToken& header) {
    const std::size_t colon = header.Text().rfind(':');
    if (*header.start == '*' || colon == std::string_view::npos) return {};
    return {header.type, header.start, static_cast<std::int32_t>(colon) + 1};
}

/// True when the unit executed a command; the next inherits its path.
bool Execute_Unit(ScpiContext& context, ScpiToken& path) {
    ScpiToken& header = context.parser_state.header;
    if (composeCompoundCommand(path, header)) path.start = header.start;
    const ScpiCommand* row = findCommandHeader(context, header.Text());
    if (!row) {
        SCPI_ErrorPush(context, -113);
        return false;
    }
    Execute(context, *row);
    path = Path(header);
    return true;
}

int Flush_Pending(ScpiContext& context) {
    auto& input = context.input;
    input.data[input.position] = '\0';
    const int result = SCPI_Parse(context, input.data, static_cast<int>(input.position));
    input.position = 0;
    return result;
}

/// Executes every message whose newline is there and keeps the rest at the front.
int Execute_Messages(ScpiContext& context) {
    auto& input = context.input;
    int result = 0;
    unsigned scanned = 0;
    while (true) {
        ScpiParserState& state = context.parser_state;
        scanned += static_cast<unsigned>(
            scpiParser_detectProgramMessageUnit(state, input.data + scanned, static_cast<int>(input.position - scanned)));
        if (state.termination == ScpiMessageTermination::newline) {
            Wait_For_Pending_Operation(context);
            result = SCPI_Parse(context, input.data, static_cast<int>(scanned));
            std::memmove(input.data, input.data + scanned, input.position - scanned);
            input.position -= scanned;
            input.data[input.position] = '\0';
            scanned = 0;
        } else if (state.header.type == ScpiTokenType::unknown && state.termination == ScpiMessageTermination::none) {
            return result;
        }
        if (scanned >= input.position) return result;
    }
}

int Input_Locked(ScpiContext& context, const char* data, int length) {
    SCPI_RegClearBits(context, reg_stb, stb_message_available);
    if (context.host && context.host->leave_file_modes) context.host->leave_file_modes();
    Wait_For_Pending_Operation(context);
    auto& input = context.input;
    if (length == 0) return Flush_Pending(context);
    if (length < 0 || input.capacity - input.position - 1 < static_cast<unsigned>(length)) return -1;
    std::memcpy(input.data + input.position, data, static_cast<std::size_t>(length));
    input.position += static_cast<unsigned>(length);
    input.data[input.position] = '\0';
    // Only a newline completes a message; what comes without one is not looked at yet.
    const bool complete = std::string_view(data, static_cast<std::size_t>(length)).find_first_of("\r\n") != std::string_view::npos;
    return complete ? Execute_Messages(context) : 0;
}

/// A client's input is the context's while this lives.
class Swapped_In {
public:
    Swapped_In(ScpiContext& context, ScpiUserContext client, Pending_Input& pending)
        : context_(context), kept_(context.input), pending_(pending) {
        {
            // A status change on another thread asks who is talking.
            const std::lock_guard guard(context.status_lock);
            *context.user_context = client;
        }
        context.input = {static_cast<unsigned>(pending.text.size()), pending.length, pending.text.data()};
    }
    ~Swapped_In() {
        pending_.length = context_.input.position;
        context_.input = kept_;
    }
    Swapped_In(const Swapped_In&) = delete;
    Swapped_In& operator=(const Swapped_In&) = delete;

private:
    ScpiContext& context_;
    ScpiContext::Input kept_;
    Pending_Input& pending_;
};

/// As many of the bytes as fit, up to the end of a message where not all do; 0 when the message in hand doesn't fit.
std::size_t Fitting(const ScpiContext& context, std::string_view bytes) {
    const std::size_t room = context.input.capacity - context.input.position - 1;
    if (bytes.size() <= room) return bytes.size();
    const std::size_t end = bytes.substr(0, room).find_last_of("\r\n");
    return end == std::string_view::npos ? 0 : end + 1;
}

/// Drops the bytes of a refused message up to its newline.
std::string_view Forget_Refused(Pending_Input& pending, std::string_view bytes) {
    const std::size_t end = bytes.find_first_of("\r\n");
    if (end == std::string_view::npos) return {};
    pending.refused = false;
    return bytes.substr(end + 1);
}

}  // namespace

void scpiParser_parseAllProgramData(ScpiLexer& lexer, ScpiToken& token, std::int32_t& parameters) {
    char* const start = lexer.current;
    ScpiToken element;
    parameters = 0;
    bool taken = lexer::Data_Element(lexer, element);
    char* end = lexer.current;
    while (taken) {
        ++parameters;
        end = lexer.current;
        if (!lexer::Comma(lexer)) break;
        taken = lexer::Data_Element(lexer, element);
    }
    if (!taken && !lexer::At_End(lexer)) {
        // After a comma the comma itself is what can't be read on.
        if (parameters > 0) lexer.current = end;
        token = {ScpiTokenType::unknown, start, 0};
        parameters = -1;
        return;
    }
    token = {ScpiTokenType::all_program_data, start, static_cast<std::int32_t>(lexer.current - start)};
}

int scpiParser_detectProgramMessageUnit(ScpiParserState& state, char* text, int length) {
    ScpiLexer lexer{text, text, length};
    state.parameters = 0;
    state.data = {};
    state.termination = ScpiMessageTermination::none;
    lexer::Skip_Blanks(lexer);
    if (lexer::Header(lexer, state.header)) {
        if (lexer::Skip_Blanks(lexer)) {
            scpiParser_parseAllProgramData(lexer, state.data, state.parameters);
        } else {
            state.data = {ScpiTokenType::unknown, lexer.current, 0};
        }
    }
    if (lexer::Newline(lexer)) {
        state.termination = ScpiMessageTermination::newline;
    } else if (lexer::Semicolon(lexer)) {
        state.termination = ScpiMessageTermination::semicolon;
    } else if (!lexer::At_End(lexer)) {
        state.header.type = ScpiTokenType::invalid;
        ++lexer.current;
    }
    return static_cast<int>(lexer.current - text);
}

bool composeCompoundCommand(const ScpiToken& path, ScpiToken& header) {
    if (path.length == 0 || *header.start == '*' || *header.start == ':') return false;
    header.start -= path.length;
    header.length += path.length;
    std::memmove(header.start, path.start, static_cast<std::size_t>(path.length));
    return true;
}

int SCPI_Parse(ScpiContext& context, char* text, int length) {
    context.output_count = 0;
    context.message_output_count = 0;
    ScpiParserState& state = context.parser_state;
    ScpiToken path;
    int result = 0;
    for (int place = 0; place < length;) {
        const int taken = scpiParser_detectProgramMessageUnit(state, text + place, length - place);
        result = 0;
        if (state.header.type == ScpiTokenType::invalid) {
            SCPI_ErrorPush(context, -101);
            place = Past_Semicolon(text, place + taken, length);
            continue;
        }
        if (state.header.type != ScpiTokenType::unknown) result = Execute_Unit(context, path) ? 1 : 0;
        place += taken;
    }
    SCPI_ResultNewLine(context);
    return result;
}

int SCPI_Input(ScpiContext& context, const char* data, int length) {
    const Input_Turn turn(context);
    return Input_Locked(context, data, length);
}

int SCPI_Receive(ScpiContext& context, ScpiUserContext client, Pending_Input& pending, std::string_view bytes) {
    const Input_Turn turn(context);
    const Swapped_In swapped(context, client, pending);
    int result = 0;
    while (!bytes.empty()) {
        if (pending.refused) {
            bytes = Forget_Refused(pending, bytes);
            continue;
        }
        const std::size_t fitting = Fitting(context, bytes);
        if (fitting == 0) {
            pending.refused = true;
            context.input.position = 0;
            result = -1;
            continue;
        }
        result = Input_Locked(context, bytes.data(), static_cast<int>(fitting));
        bytes.remove_prefix(fitting);
    }
    return result;
}

int SCPI_Finish(ScpiContext& context, ScpiUserContext client, Pending_Input& pending) {
    const Input_Turn turn(context);
    const Swapped_In swapped(context, client, pending);
    pending.refused = false;
    return Input_Locked(context, "", 0);
}
