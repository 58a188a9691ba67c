#include "scpi/lexer.h"

namespace lexer {
namespace {

bool Is_Letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool Is_Digit(char c) { return c >= '0' && c <= '9'; }
bool Is_Octal(char c) { return c >= '0' && c <= '7'; }
bool Is_Binary(char c) { return c == '0' || c == '1'; }
bool Is_Hexadecimal(char c) { return Is_Digit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
bool Is_Word(char c) { return Is_Letter(c) || Is_Digit(c) || c == '_'; }
bool Is_Expression(char c) {
    return c >= 0x20 && c <= 0x7E && std::string_view("\"#'();").find(c) == std::string_view::npos;
}

const char* End(const ScpiLexer& lexer) { return lexer.start + lexer.length; }

bool At(const ScpiLexer& lexer, char c) { return !At_End(lexer) && *lexer.current == c; }

bool Take(ScpiLexer& lexer, char c) {
    if (!At(lexer, c)) return false;
    ++lexer.current;
    return true;
}

template <typename Class>
bool Take_All(ScpiLexer& lexer, Class is_of_class) {
    const char* begin = lexer.current;
    while (!At_End(lexer) && is_of_class(*lexer.current)) ++lexer.current;
    return lexer.current != begin;
}

void Set(ScpiToken& token, ScpiTokenType type, char* start, const char* end) {
    token = {type, start, static_cast<std::int32_t>(end - start)};
}

bool Mnemonic(ScpiLexer& lexer) {
    if (At_End(lexer) || !Is_Letter(*lexer.current)) return false;
    return Take_All(lexer, Is_Word);
}

ScpiTokenType Common_Header(ScpiLexer& lexer) {
    if (!Mnemonic(lexer)) return ScpiTokenType::incomplete_common_header;
    return Take(lexer, '?') ? ScpiTokenType::common_query_header : ScpiTokenType::common_header;
}

ScpiTokenType Compound_Header(ScpiLexer& lexer) {
    while (Take(lexer, ':')) {
        if (!Mnemonic(lexer)) return ScpiTokenType::incomplete_compound_header;
    }
    return Take(lexer, '?') ? ScpiTokenType::compound_query_header : ScpiTokenType::compound_header;
}

bool Non_Decimal(ScpiLexer& lexer, ScpiToken& token) {
    const char* end = End(lexer);
    if (end - lexer.current < 3 || lexer.current[0] != '#') return false;
    ScpiLexer digits = lexer;
    digits.current += 2;
    char* const start = digits.current;
    ScpiTokenType type = ScpiTokenType::unknown;
    switch (lexer.current[1]) {
        case 'H': case 'h': if (Take_All(digits, Is_Hexadecimal)) type = ScpiTokenType::hexadecimal; break;
        case 'Q': case 'q': if (Take_All(digits, Is_Octal)) type = ScpiTokenType::octal; break;
        case 'B': case 'b': if (Take_All(digits, Is_Binary)) type = ScpiTokenType::binary; break;
        default: break;
    }
    if (type == ScpiTokenType::unknown) return false;
    Set(token, type, start, digits.current);
    lexer.current = digits.current;
    return true;
}

bool Character_Data(ScpiLexer& lexer, ScpiToken& token) {
    char* const start = lexer.current;
    if (!Mnemonic(lexer)) return false;
    Set(token, ScpiTokenType::character_data, start, lexer.current);
    return true;
}

/// Letters, then perhaps a minus and one digit.
bool Suffix_Element(ScpiLexer& lexer) {
    if (!Take_All(lexer, Is_Letter)) return false;
    Take(lexer, '-');
    if (!At_End(lexer) && Is_Digit(*lexer.current)) ++lexer.current;
    return true;
}

bool Suffix(ScpiLexer& lexer) {
    ScpiLexer suffix = lexer;
    Take(suffix, '/');
    if (!Suffix_Element(suffix)) return false;
    while (true) {
        ScpiLexer next = suffix;
        if (!Take(next, '/') && !Take(next, '.')) break;
        if (!Suffix_Element(next)) break;
        suffix = next;
    }
    lexer.current = suffix.current;
    return true;
}

bool Number(ScpiLexer& lexer, ScpiToken& token) {
    if (!Decimal(lexer, token)) return false;
    ScpiLexer suffix = lexer;
    Skip_Blanks(suffix);
    if (Suffix(suffix)) {
        lexer.current = suffix.current;
        Set(token, ScpiTokenType::decimal_with_suffix, token.start, lexer.current);
    }
    return true;
}

bool String(ScpiLexer& lexer, ScpiToken& token, char quote, ScpiTokenType type) {
    ScpiLexer text = lexer;
    if (!Take(text, quote)) return false;
    while (!At_End(text) && static_cast<unsigned char>(*text.current) < 0x80) {
        if (!Take(text, quote)) {
            ++text.current;
        } else if (!Take(text, quote)) {
            Set(token, type, lexer.current, text.current);
            lexer.current = text.current;
            return true;
        }
    }
    return false;
}

/// A block that ends within its announcement takes all text; one that announces more than there is takes nothing.
bool Block(ScpiLexer& lexer, ScpiToken& token) {
    ScpiLexer block = lexer;
    if (!Take(block, '#')) return false;
    if (At_End(block)) {
        lexer.current = block.current;
        return false;
    }
    int digits = *block.current++ - '0';
    if (digits < 1 || digits > 9) return false;
    std::int64_t count = 0;
    for (; digits > 0; --digits, ++block.current) {
        if (At_End(block)) {
            lexer.current = block.current;
            return false;
        }
        if (!Is_Digit(*block.current)) return false;
        count = count * 10 + (*block.current - '0');
    }
    if (count > End(block) - block.current) return false;
    Set(token, ScpiTokenType::arbitrary_block, block.current, block.current + count);
    lexer.current = block.current + count;
    return true;
}

bool Expression(ScpiLexer& lexer, ScpiToken& token) {
    ScpiLexer expression = lexer;
    if (!Take(expression, '(')) return false;
    Take_All(expression, Is_Expression);
    if (!Take(expression, ')')) return false;
    Set(token, ScpiTokenType::expression, lexer.current, expression.current);
    lexer.current = expression.current;
    return true;
}

}  // namespace

bool At_End(const ScpiLexer& lexer) { return lexer.current >= End(lexer); }

bool Skip_Blanks(ScpiLexer& lexer) {
    return Take_All(lexer, [](char c) { return c == ' ' || c == '\t'; });
}

bool Header(ScpiLexer& lexer, ScpiToken& token) {
    char* const start = lexer.current;
    ScpiTokenType type = ScpiTokenType::unknown;
    if (Take(lexer, '*')) {
        type = Common_Header(lexer);
    } else if (At(lexer, ':') && End(lexer) - lexer.current > 1 && lexer.current[1] == '*') {
        // No row answers to a common header behind a colon, but it is a header.
        lexer.current += 2;
        type = Common_Header(lexer);
    } else if (At(lexer, ':') || Mnemonic(lexer)) {
        type = Compound_Header(lexer);
    } else {
        token = {};
        return false;
    }
    Set(token, type, start, lexer.current);
    return true;
}

bool Comma(ScpiLexer& lexer) { return Take(lexer, ','); }

bool Semicolon(ScpiLexer& lexer) { return Take(lexer, ';'); }

bool Newline(ScpiLexer& lexer) {
    const bool carriage_return = Take(lexer, '\r');
    return Take(lexer, '\n') || carriage_return;
}

bool Decimal(ScpiLexer& lexer, ScpiToken& token) {
    ScpiLexer number = lexer;
    if (!Take(number, '+')) Take(number, '-');
    bool digits = Take_All(number, Is_Digit);
    if (Take(number, '.')) digits = Take_All(number, Is_Digit) || digits;
    if (!digits) return false;
    ScpiLexer exponent = number;
    Skip_Blanks(exponent);
    if (Take(exponent, 'E') || Take(exponent, 'e')) {
        Skip_Blanks(exponent);
        if (!Take(exponent, '+')) Take(exponent, '-');
        if (Take_All(exponent, Is_Digit)) number = exponent;
    }
    Set(token, ScpiTokenType::decimal, lexer.current, number.current);
    lexer.current = number.current;
    return true;
}

bool Data_Element(ScpiLexer& lexer, ScpiToken& token) {
    Skip_Blanks(lexer);
    const bool taken = Non_Decimal(lexer, token) || Character_Data(lexer, token) || Number(lexer, token) ||
                       String(lexer, token, '"', ScpiTokenType::double_quoted) ||
                       String(lexer, token, '\'', ScpiTokenType::single_quoted) || Block(lexer, token) ||
                       Expression(lexer, token);
    if (!taken) {
        token = {};
        return false;
    }
    Skip_Blanks(lexer);
    return true;
}

}  // namespace lexer
