// Any program data to each reader: what it gives lies within the data, copies keep their capacity, and a plain decimal number
// is the one that the C++ library reads.
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "scpi/error_queue.h"
#include "scpi/readers.h"
#include "scpi/status.h"

namespace {

constexpr ScpiChoiceDef choices[] = {{"MINimum", 1}, {"TRACe#", 2}, {"x", 3}, {nullptr, 0}};

void Check_Within(std::string_view data, const char* start, std::size_t length) {
    if (start < data.data() || start + length > data.data() + data.size()) std::abort();
}

void Check_Decimal(std::string_view text, double read) {
    if (text.starts_with('+')) text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc() && end == text.data() + text.size() && value != read) std::abort();
}

void Read_Number(std::string_view data) {
    double value = 0;
    if (!SCPI_ParamDouble(scpi_context, &value, true)) return;
    if (std::isnan(value)) std::abort();
    if (scpi_context.parameter.lexer.current == data.data() + data.size()) Check_Decimal(data, value);
}

void Read_Text(std::string_view data, std::size_t capacity) {
    std::string copy(capacity, '\x7f');
    std::size_t copied = 0;
    if (!SCPI_ParamCopyText(scpi_context, copy.data(), capacity, &copied, true)) return;
    if (copied > capacity || copied > data.size() || (copied < capacity && copy[copied] != '\0')) std::abort();
}

void Read_Characters(std::string_view data) {
    const char* text = nullptr;
    std::size_t length = 0;
    if (SCPI_ParamCharacters(scpi_context, &text, &length, false)) Check_Within(data, text, length);
}

void Read_Block(std::string_view data) {
    const char* text = nullptr;
    std::size_t length = 0;
    if (SCPI_ParamArbitraryBlock(scpi_context, &text, &length, false)) Check_Within(data, text, length);
}

void Read_Choice() {
    ScpiToken token;
    std::int32_t tag = 0, number[1];
    if (!SCPI_Parameter(scpi_context, &token, true) || !SCPI_ParamToChoice(scpi_context, token, choices, &tag)) return;
    if (!SCPI_ParameterNumbers(token, SCPI_ChoiceToName(choices, tag), number)) std::abort();
}

void Read(int reader, std::string_view data) {
    ScpiNumber number;
    std::int32_t integer = 0;
    std::uint32_t natural = 0;
    bool on = false;
    switch (reader) {
        case 0: Read_Number(data); break;
        case 1: Read_Text(data, data.size() % 7 + 1); break;
        case 2: Read_Characters(data); break;
        case 3: Read_Block(data); break;
        case 4: Read_Choice(); break;
        case 5: SCPI_ParamNumber(scpi_context, scpi_special_numbers_def, &number, true); break;
        case 6: SCPI_ParamInt(scpi_context, &integer, false); break;
        case 7:
            if (SCPI_ParamUnsignedInt(scpi_context, &natural, false) && natural >> 31) std::abort();
            break;
        default: SCPI_ParamBool(scpi_context, &on, true); break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    SCPI_Init(scpi_context);
    // A block of its own, so that a read beyond it is seen.
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    text.resize(std::min<std::size_t>(text.size(), scpi_input_size - 1));
    std::string copy = text;
    copy.shrink_to_fit();
    scpi_context.parameter.lexer = {copy.data(), copy.data(), static_cast<std::int32_t>(copy.size())};
    scpi_context.input_count = 0;
    for (int i = 0; i < 4; ++i) Read((data[0] + i * 5) % 9, copy);
    return 0;
}
