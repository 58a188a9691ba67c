#pragma once
#include <string_view>

#include "scpi/context.h"

/// Result writers: each puts the separator that is due (";" after another command's results, "," after this one's) and its
/// value into the output, and returns the number of bytes that it wrote. Output beyond its buffer is cut.

std::size_t SCPI_ResultCharacters(ScpiContext& context, const char* data, std::size_t length);
std::size_t SCPI_ResultInt(ScpiContext& context, std::int32_t value);

/// Base 2, 8 or 16 with "#B", "#Q" or "#H" and capital digits, unsigned; any other base as SCPI_ResultInt.
std::size_t SCPI_ResultIntBase(ScpiContext& context, std::int32_t value, int base);

/// 0 or 1.
std::size_t SCPI_ResultBool(ScpiContext& context, bool value);

/// With ten digits and exponent, "%.9e".
std::size_t SCPI_ResultDouble(ScpiContext& context, double value);

/// Between double quotes; quotes inside are not doubled.
std::size_t SCPI_ResultText(ScpiContext& context, std::string_view text);

/// As a block of definite length.
std::size_t SCPI_ResultArbitraryBlock(ScpiContext& context, const char* data, std::size_t length);

/// The end of a message: an answer gets its newline, is announced in the status byte and sent. To the USB file a message
/// without answer hands the status byte.
void SCPI_ResultNewLine(ScpiContext& context);

/// The write callback of every interface: appends to the output what still fits before its last byte, which stays NUL.
std::size_t SCPI_Write(ScpiContext& context, const char* data, std::size_t length);

/// Empties the output.
void Clear_Output();
