#pragma once
#include "scpi/context.h"

/// Cuts program messages into tokens after IEEE 488.2, sections 7.6 and 7.7. Each call takes its token at the lexer's
/// current place and moves past it, or takes nothing and returns false. Character classes are those of the C locale.
namespace lexer {

bool At_End(const ScpiLexer& lexer);

/// Steps over blanks, which are space and tab only. True if there were any.
bool Skip_Blanks(ScpiLexer& lexer);

/// A header, whole or incomplete, with its question mark.
bool Header(ScpiLexer& lexer, ScpiToken& token);

/// The characters ',', ';' and an end of line, which is CR, LF or both.
bool Comma(ScpiLexer& lexer);
bool Semicolon(ScpiLexer& lexer);
bool Newline(ScpiLexer& lexer);

/// One element of program data with the blanks around it. The token covers the digits of a non-decimal number, the number and
/// the suffix of a suffixed one, the quotes of a string and the contents of a block.
bool Data_Element(ScpiLexer& lexer, ScpiToken& token);

/// A decimal number alone. The token ends before an exponent that has no digit.
bool Decimal(ScpiLexer& lexer, ScpiToken& token);

}  // namespace lexer
