#include "scpi/writers.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "scpi/status.h"

namespace {

std::size_t Write(ScpiContext& context, std::string_view text) {
    if (text.empty() || !context.interface || !context.interface->write) return 0;
    return context.interface->write(context, text.data(), text.size());
}

std::size_t Write_Separator(ScpiContext& context) {
    std::string_view separator;
    if (context.output_count > 0) {
        separator = ",";
    } else if (context.message_output_count > 0) {
        separator = ";";
    }
    ++context.output_count;
    return Write(context, separator);
}

std::size_t Write_Number(ScpiContext& context, std::string_view prefix, std::uint64_t magnitude, bool negative, int base) {
    std::array<char, 68> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), magnitude, base).ptr;
    std::transform(digits.data(), end, digits.data(), [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    std::size_t written = Write_Separator(context);
    written += Write(context, negative ? "-" : prefix);
    return written + Write(context, {digits.data(), static_cast<std::size_t>(end - digits.data())});
}

}  // namespace

std::size_t SCPI_ResultCharacters(ScpiContext& context, const char* data, std::size_t length) {
    const std::size_t separator = Write_Separator(context);
    return separator + Write(context, {data, length});
}

std::size_t SCPI_ResultInt(ScpiContext& context, std::int32_t value) {
    const std::int64_t wide = value;
    return Write_Number(context, "", static_cast<std::uint64_t>(wide < 0 ? -wide : wide), wide < 0, 10);
}

std::size_t SCPI_ResultIntBase(ScpiContext& context, std::int32_t value, int base) {
    const auto bits = static_cast<std::uint32_t>(value);
    switch (base) {
        case 2: return Write_Number(context, "#B", bits, false, base);
        case 8: return Write_Number(context, "#Q", bits, false, base);
        case 16: return Write_Number(context, "#H", bits, false, base);
        default: return SCPI_ResultInt(context, value);
    }
}

std::size_t SCPI_ResultBool(ScpiContext& context, bool value) { return SCPI_ResultInt(context, value ? 1 : 0); }

std::size_t SCPI_ResultDouble(ScpiContext& context, double value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, 9).ptr;
    return SCPI_ResultCharacters(context, text.data(), static_cast<std::size_t>(end - text.data()));
}

std::size_t SCPI_ResultText(ScpiContext& context, std::string_view text) {
    std::size_t written = Write_Separator(context);
    written += Write(context, "\"");
    written += Write(context, text);
    return written + Write(context, "\"");
}

std::size_t SCPI_ResultArbitraryBlock(ScpiContext& context, const char* data, std::size_t length) {
    std::array<char, 24> count{}, heading{};
    const auto end = std::to_chars(count.data(), count.data() + count.size(), length).ptr;
    const int size = std::snprintf(heading.data(), heading.size(), "#%d%.*s", static_cast<int>(end - count.data()),
                                   static_cast<int>(end - count.data()), count.data());
    std::size_t written = Write_Separator(context);
    written += Write(context, {heading.data(), static_cast<std::size_t>(size)});
    return written + Write(context, {data, length});
}

void SCPI_ResultNewLine(ScpiContext& context) {
    if (context.message_output_count > 0) {
        Write(context, "\n");
        SCPI_RegSetBits(context, reg_stb, stb_message_available);
        if (context.interface && context.interface->flush) context.interface->flush(context);
    } else if (context.user_context->kind == interface_usb && context.interface && context.interface->control) {
        context.interface->control(context, control_status_byte, SCPI_RegGet(context, reg_stb));
    }
}

std::size_t SCPI_Write(ScpiContext&, const char* data, std::size_t length) {
    const std::size_t fitting = std::min(length, SCPI_outputBuffer.size() - 1 - SCPI_outputBuffer_idx);
    std::memcpy(SCPI_outputBuffer.data() + SCPI_outputBuffer_idx, data, fitting);
    SCPI_outputBuffer_idx += fitting;
    SCPI_outputBuffer[SCPI_outputBuffer_idx] = '\0';
    return fitting;
}

void Clear_Output() {
    SCPI_outputBuffer_idx = 0;
    SCPI_outputBuffer[0] = '\0';
}
