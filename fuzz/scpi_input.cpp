// Bytes of two clients in pieces: nothing is written outside a buffer, and what runs doesn't depend on where the bytes are cut,
// unless a string or block holds a newline.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "scpi/error_queue.h"
#include "scpi/parser.h"
#include "scpi/readers.h"
#include "scpi/status.h"
#include "scpi/writers.h"

namespace {

std::string ran;

void Keep_Answer(ScpiContext&) {
    if (SCPI_outputBuffer_idx >= SCPI_outputBuffer.size()) std::abort();
    ran.append(SCPI_outputBuffer.data(), SCPI_outputBuffer_idx);
    Clear_Output();
}

/// Reads all parameters as they stand and answers them.
int Take_All(ScpiContext& context) {
    ran += context.parameter.command->pattern;
    for (ScpiToken token; SCPI_Parameter(context, &token, false);) {
        SCPI_ResultIntBase(context, static_cast<std::int32_t>(token.type), 16);
        SCPI_ResultCharacters(context, token.start, static_cast<std::size_t>(token.length));
    }
    return 1;
}

int Take_Number(ScpiContext& context) {
    ScpiNumber number;
    std::int32_t numbers[2];
    SCPI_CommandNumbers(context, numbers);
    if (!SCPI_ParamNumber(context, scpi_special_numbers_def, &number, true)) return -1;
    SCPI_ResultDouble(context, number.special ? number.tag : number.value);
    SCPI_ResultInt(context, numbers[0]);
    return 1;
}

int Take_Nothing(ScpiContext& context) { return SCPI_NoParameters(context) ? 1 : -1; }

constexpr ScpiCommand rows[] = {{"*A?", Take_All},        {"*B", Take_Nothing},        {":A[:B#][:CC]:D", Take_Number},
                                {":A:B?", Take_All},      {":A[:Bb]", Take_Nothing},   {":A:Cc#:Bb", Take_All},
                                {nullptr, nullptr}};

void Begin() {
    ran.clear();
    scpi_interface = {.write = SCPI_Write, .flush = Keep_Answer};
    SCPI_RegInitial(scpi_context);
    SCPI_Init(scpi_context);
    scpi_context.commands = rows;
    Clear_Output();
}

void Check() {
    if (scpi_context.input.position >= scpi_context.input.capacity || scpi_context.input.data != scpi_input_buffer.data()) {
        std::abort();
    }
}

std::string Run(std::string_view bytes, std::size_t piece) {
    Begin();
    Pending_Input pending;
    for (std::size_t i = 0; i < bytes.size(); i += piece) {
        SCPI_Receive(scpi_context, {interface_socket, 4}, pending, bytes.substr(i, piece));
    }
    SCPI_Receive(scpi_context, {interface_socket, 4}, pending, "\n");
    for (int code; (code = SCPI_ErrorPop(scpi_context)) != 0;) ran += std::to_string(code) + ' ';
    Check();
    return ran;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > 1200) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);

    // Two clients in turn, whose pieces are as long as the first bytes say, and one that goes by the context's own input.
    Begin();
    Pending_Input clients[2];
    for (std::size_t i = 0, turn = 0; i < bytes.size(); ++turn) {
        const std::size_t piece = data[turn % 2] % 64 + 1u;
        SCPI_Receive(scpi_context, {interface_usb, static_cast<std::int32_t>(turn % 2)}, clients[turn % 2], bytes.substr(i, piece));
        i += piece;
        const std::string_view rest = bytes.substr(std::min(i, bytes.size()));
        SCPI_Input(scpi_context, rest.data(), static_cast<int>(rest.size()));
        Check();
    }
    SCPI_Finish(scpi_context, {interface_usb, 0}, clients[0]);
    SCPI_Input(scpi_context, "", 0);

    const std::string whole = Run(bytes, bytes.size() + 1);
    const bool spans_lines = bytes.find_first_of("#\"'") != std::string_view::npos;
    if (!spans_lines && (Run(bytes, 1) != whole || Run(bytes, data[0] % 32 + 2u) != whole)) std::abort();
    return 0;
}
