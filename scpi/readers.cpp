#include "scpi/readers.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "scpi/error_queue.h"
#include "scpi/lexer.h"
#include "scpi/matcher.h"

const ScpiUnitDef scpi_units_def[] = {
    {"NV", suffix_volt, 1e-9},  {"UV", suffix_volt, 1e-6},   {"MV", suffix_volt, 1e-3},    {"V", suffix_volt, 1},
    {"KV", suffix_volt, 1e3},   {"FW", suffix_watt, 1e-15},  {"PW", suffix_watt, 1e-12},   {"NW", suffix_watt, 1e-9},
    {"UW", suffix_watt, 1e-6},  {"MW", suffix_watt, 1e-3},   {"W", suffix_watt, 1},        {"KW", suffix_watt, 1e3},
    {"DBMV", suffix_dbmv, 1},   {"DBUV", suffix_dbuv, 1},    {"DBM", suffix_dbm, 1},       {"HZ", suffix_hertz, 1},
    {"KHZ", suffix_hertz, 1e3}, {"MHZ", suffix_hertz, 1e6},  {"GHZ", suffix_hertz, 1e9},   {"DB", suffix_db, 1},
    {"DBC", suffix_dbc, 1},     {"DBM/HZ", suffix_dbm_hz, 1}, {"PS", suffix_second, 1e-12}, {"NS", suffix_second, 1e-9},
    {"US", suffix_second, 1e-6}, {"MS", suffix_second, 1e-3}, {"S", suffix_second, 1},      {"KS", suffix_second, 1e3},
    {nullptr, suffix_none, 0}};

const ScpiChoiceDef scpi_special_numbers_def[] = {
    {"MINimum", number_minimum}, {"MAXimum", number_maximum},   {"DEFault", number_default},
    {"UP", number_up},           {"DOWN", number_down},         {"NAN", number_nan},
    {"INFinity", number_infinity}, {"NINF", number_ninf},       {"AUTO", number_auto},
    {nullptr, 0}};

namespace {

constexpr ScpiChoiceDef boolean_def[] = {{"OFF", 0}, {"ON", 1}, {nullptr, 0}};

bool Is_Accepted(ScpiTokenType type) {
    using enum ScpiTokenType;
    switch (type) {
        case hexadecimal: case octal: case binary: case character_data: case decimal: case decimal_with_suffix:
        case arbitrary_block: case single_quoted: case double_quoted: case expression: return true;
        default: return false;
    }
}

int Base(ScpiTokenType type) {
    switch (type) {
        case ScpiTokenType::hexadecimal: return 16;
        case ScpiTokenType::octal: return 8;
        case ScpiTokenType::binary: return 2;
        default: return 10;
    }
}

bool Is_Quoted(ScpiTokenType type) {
    return type == ScpiTokenType::single_quoted || type == ScpiTokenType::double_quoted;
}

bool Refuse(ScpiContext& context, int code) {
    SCPI_ErrorPush(context, code);
    return false;
}

/// Refuses what is no plain number.
bool Is_Plain_Number(ScpiContext& context, const ScpiToken& token) {
    if (token.type == ScpiTokenType::decimal_with_suffix) return Refuse(context, -138);
    return SCPI_ParamIsNumber(token, false) || Refuse(context, -104);
}

/// A number's text without its blanks, which may stand around an exponent, and with a NUL. A message is longer than any of
/// these can be.
class Number_Text {
public:
    explicit Number_Text(std::string_view text) {
        const std::size_t most = text_.size() - 1;
        std::size_t length = 0;
        for (const char c : text) {
            if (c != ' ' && c != '\t' && length < most) text_[length++] = c;
        }
        text_[length] = '\0';
    }
    const char* Get() const { return text_.data(); }

private:
    std::array<char, scpi_input_size + 1> text_;
};

/// 32 bits, whatever the machine's long: larger numbers are the largest, as strtoul makes them.
std::uint32_t To_Unsigned(const ScpiToken& token) {
    constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    const Number_Text text(token.Text());
    if (*text.Get() == '-') {
        const long long value = std::strtoll(text.Get(), nullptr, 10);
        return value < -std::int64_t{largest} ? largest : static_cast<std::uint32_t>(value);
    }
    const unsigned long long value = std::strtoull(text.Get(), nullptr, Base(token.type));
    return static_cast<std::uint32_t>(std::min<unsigned long long>(value, largest));
}

std::int32_t To_Signed(const ScpiToken& token) {
    const long long value = std::strtoll(Number_Text(token.Text()).Get(), nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long long>(value, std::numeric_limits<std::int32_t>::min(),
                                                           std::numeric_limits<std::int32_t>::max()));
}

double To_Double(const ScpiToken& token) {
    if (token.type != ScpiTokenType::decimal) return To_Unsigned(token);
    return std::strtod(Number_Text(token.Text()).Get(), nullptr);
}

bool Same(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
        return std::toupper(static_cast<unsigned char>(x)) == std::toupper(static_cast<unsigned char>(y));
    });
}

const ScpiChoiceDef* Find_Choice(const ScpiChoiceDef* choices, std::string_view text) {
    for (; choices && choices->name; ++choices) {
        if (matchPattern(choices->name, text)) return choices;
    }
    return nullptr;
}

const ScpiUnitDef* Find_Unit(const ScpiUnitDef* units, std::string_view suffix) {
    for (; units && units->suffix; ++units) {
        if (Same(units->suffix, suffix)) return units;
    }
    return nullptr;
}

/// Number and suffix apart; the suffix is looked up.
bool To_Number_With_Unit(ScpiContext& context, const ScpiToken& token, ScpiNumber& number) {
    ScpiLexer lexer{token.start, token.start, token.length};
    ScpiToken digits;
    if (!lexer::Decimal(lexer, digits)) return Refuse(context, -104);
    while (!lexer::At_End(lexer) && std::isspace(static_cast<unsigned char>(*lexer.current))) ++lexer.current;
    const char* end = token.start + token.length;
    const auto* unit = Find_Unit(context.units, {lexer.current, static_cast<std::size_t>(end - lexer.current)});
    if (!unit) return Refuse(context, -131);
    number.value = To_Double(digits) * unit->multiplier;
    number.unit = unit->unit;
    return true;
}

/// The text between the quotes, doubled ones as one.
std::size_t Copy_Unquoted(std::string_view quoted, char* buffer, std::size_t capacity) {
    const char quote = quoted.front();
    quoted = quoted.substr(1, quoted.size() - 2);
    std::size_t copied = 0;
    for (std::size_t i = 0; i < quoted.size() && copied < capacity; ++i) {
        buffer[copied++] = quoted[i];
        if (quoted[i] == quote) ++i;
    }
    return copied;
}

}  // namespace

bool SCPI_Parameter(ScpiContext& context, ScpiToken* token, bool mandatory) {
    if (!token) return Refuse(context, -310);
    *token = {};
    ScpiLexer& data = context.parameter.lexer;
    lexer::Skip_Blanks(data);
    if (lexer::At_End(data)) {
        if (mandatory) return Refuse(context, -109);
        token->type = ScpiTokenType::character_data;
        return false;
    }
    if (context.input_count > 0 && !lexer::Comma(data)) return Refuse(context, -103);
    ++context.input_count;
    if (lexer::Data_Element(data, *token) && Is_Accepted(token->type)) return true;
    return Refuse(context, -151);
}

bool SCPI_ParamIsNumber(const ScpiToken& token, bool with_suffix) {
    using enum ScpiTokenType;
    switch (token.type) {
        case hexadecimal: case octal: case binary: case decimal: return true;
        case decimal_with_suffix: return with_suffix;
        default: return false;
    }
}

bool SCPI_ParamToInt(ScpiContext& context, const ScpiToken& token, std::int32_t* value) {
    if (!value) return Refuse(context, -310);
    if (!Is_Plain_Number(context, token)) return false;
    *value = token.type == ScpiTokenType::decimal ? To_Signed(token) : static_cast<std::int32_t>(To_Unsigned(token));
    return true;
}

bool SCPI_ParamToUnsignedInt(ScpiContext& context, const ScpiToken& token, std::uint32_t* value) {
    constexpr std::uint32_t top_bit = 1u << 31;
    if (!value) return Refuse(context, -310);
    if (!Is_Plain_Number(context, token)) return false;
    const std::uint32_t read = To_Unsigned(token);
    if (read & top_bit) return Refuse(context, -120);
    *value = read;
    return true;
}

bool SCPI_ParamToDouble(ScpiContext& context, const ScpiToken& token, double* value) {
    if (!value) return Refuse(context, -310);
    if (!Is_Plain_Number(context, token)) return false;
    *value = To_Double(token);
    return true;
}

bool SCPI_ParamToChoice(ScpiContext& context, const ScpiToken& token, const ScpiChoiceDef* choices, std::int32_t* tag) {
    if (!choices || !tag) return Refuse(context, -310);
    if (token.type != ScpiTokenType::character_data) return Refuse(context, -104);
    const auto* choice = Find_Choice(choices, token.Text());
    if (!choice) return Refuse(context, -224);
    *tag = choice->tag;
    return true;
}

bool SCPI_ParamInt(ScpiContext& context, std::int32_t* value, bool mandatory) {
    ScpiToken token;
    if (!value) return Refuse(context, -310);
    return SCPI_Parameter(context, &token, mandatory) && SCPI_ParamToInt(context, token, value);
}

bool SCPI_ParamUnsignedInt(ScpiContext& context, std::uint32_t* value, bool mandatory) {
    ScpiToken token;
    if (!value) return Refuse(context, -310);
    return SCPI_Parameter(context, &token, mandatory) && SCPI_ParamToUnsignedInt(context, token, value);
}

bool SCPI_ParamDouble(ScpiContext& context, double* value, bool mandatory) {
    ScpiToken token;
    if (!value) return Refuse(context, -310);
    return SCPI_Parameter(context, &token, mandatory) && SCPI_ParamToDouble(context, token, value);
}

bool SCPI_ParamNumber(ScpiContext& context, const ScpiChoiceDef* specials, ScpiNumber* number, bool mandatory) {
    ScpiToken token;
    if (!number) return Refuse(context, -310);
    *number = {};
    if (!SCPI_Parameter(context, &token, mandatory)) return false;
    if (token.type == ScpiTokenType::character_data) {
        number->special = true;
        number->tag = 0;
        if (const auto* special = Find_Choice(specials, token.Text())) {
            number->tag = special->tag;
        } else {
            SCPI_ErrorPush(context, -224);
        }
        return true;
    }
    if (token.type == ScpiTokenType::decimal_with_suffix) return To_Number_With_Unit(context, token, *number);
    if (!SCPI_ParamIsNumber(token, false)) return Refuse(context, -104);
    number->base = Base(token.type);
    number->value = To_Double(token);
    return true;
}

bool SCPI_ParamBool(ScpiContext& context, bool* value, bool mandatory) {
    ScpiToken token;
    if (!value) return Refuse(context, -310);
    if (!SCPI_Parameter(context, &token, mandatory)) return false;
    if (token.type == ScpiTokenType::decimal) {
        const double number = To_Double(token);
        if (number != 0 && number != 1) return Refuse(context, -120);
        *value = number != 0;
        return true;
    }
    std::int32_t tag = 0;
    if (!SCPI_ParamToChoice(context, token, boolean_def, &tag)) return false;
    *value = tag != 0;
    return true;
}

bool SCPI_ParamChoice(ScpiContext& context, const ScpiChoiceDef* choices, std::int32_t* tag, bool mandatory) {
    ScpiToken token;
    if (!choices || !tag) return Refuse(context, -310);
    return SCPI_Parameter(context, &token, mandatory) && SCPI_ParamToChoice(context, token, choices, tag);
}

bool SCPI_ParamCharacters(ScpiContext& context, const char** text, std::size_t* length, bool mandatory) {
    ScpiToken token;
    if (!text || !length) return Refuse(context, -310);
    if (!SCPI_Parameter(context, &token, mandatory)) return false;
    const std::size_t quotes = Is_Quoted(token.type) ? 1 : 0;
    *text = token.start + quotes;
    *length = static_cast<std::size_t>(token.length) - 2 * quotes;
    return true;
}

bool SCPI_ParamArbitraryBlock(ScpiContext& context, const char** data, std::size_t* length, bool mandatory) {
    ScpiToken token;
    if (!data || !length) return Refuse(context, -310);
    if (!SCPI_Parameter(context, &token, mandatory)) return false;
    if (token.type != ScpiTokenType::arbitrary_block) return Refuse(context, -104);
    *data = token.start;
    *length = static_cast<std::size_t>(token.length);
    return true;
}

bool SCPI_ParamCopyText(ScpiContext& context, char* buffer, std::size_t capacity, std::size_t* copied, bool mandatory) {
    ScpiToken token;
    if (!buffer || !copied) return Refuse(context, -310);
    if (!SCPI_Parameter(context, &token, mandatory)) return false;
    if (Is_Quoted(token.type)) {
        *copied = Copy_Unquoted(token.Text(), buffer, capacity);
    } else if (token.type == ScpiTokenType::hexadecimal) {
        *copied = token.Text().copy(buffer, capacity);
    } else {
        return Refuse(context, -104);
    }
    if (*copied < capacity) buffer[*copied] = '\0';
    return true;
}

const char* SCPI_ChoiceToName(const ScpiChoiceDef* choices, std::int32_t tag) {
    for (; choices && choices->name; ++choices) {
        if (choices->tag == tag) return choices->name;
    }
    return nullptr;
}

void SCPI_CommandNumbers(const ScpiContext& context, std::span<std::int32_t> numbers) {
    const auto& header = context.parameter.header;
    if (!context.parameter.command || !header.start) {
        std::fill(numbers.begin(), numbers.end(), 1);
        return;
    }
    matchCommand(context.parameter.command->pattern, {header.start, static_cast<std::size_t>(header.length)}, numbers);
}

bool SCPI_ParameterNumbers(const ScpiToken& token, const char* pattern, std::span<std::int32_t> numbers) {
    return token.type == ScpiTokenType::character_data && matchCommand(pattern, token.Text(), numbers);
}

bool SCPI_NoParameters(ScpiContext& context) {
    lexer::Skip_Blanks(context.parameter.lexer);
    return lexer::At_End(context.parameter.lexer) || Refuse(context, -108);
}
