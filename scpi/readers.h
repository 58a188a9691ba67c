#pragma once
#include <span>
#include <string_view>

#include "scpi/context.h"

/// Parameter readers: each takes the next parameter of the command in hand. False when there is none or it doesn't suit, with the
/// error pushed; a parameter that may be missing and is gives false without an error. A null output pushes -310.

/// The next parameter as it stands. A missing optional one leaves a token of type character data with length 0.
bool SCPI_Parameter(ScpiContext& context, ScpiToken* token, bool mandatory);

bool SCPI_ParamInt(ScpiContext& context, std::int32_t* value, bool mandatory);
bool SCPI_ParamUnsignedInt(ScpiContext& context, std::uint32_t* value, bool mandatory);
bool SCPI_ParamDouble(ScpiContext& context, double* value, bool mandatory);

/// A number with unit, or one of the special names. A name that is none of them pushes -224 and still returns true with the
/// special mark: look at the error state. specials may be null: then no name is one.
bool SCPI_ParamNumber(ScpiContext& context, const ScpiChoiceDef* specials, ScpiNumber* number, bool mandatory);

/// 0, 1, ON or OFF.
bool SCPI_ParamBool(ScpiContext& context, bool* value, bool mandatory);

/// The tag of the named choice.
bool SCPI_ParamChoice(ScpiContext& context, const ScpiChoiceDef* choices, std::int32_t* tag, bool mandatory);

/// Pointer into the input and length, without the quotes of a string.
bool SCPI_ParamCharacters(ScpiContext& context, const char** text, std::size_t* length, bool mandatory);

/// Pointer to the contents of a block and their length.
bool SCPI_ParamArbitraryBlock(ScpiContext& context, const char** data, std::size_t* length, bool mandatory);

/// Copies a string, doubled quotes as one, up to the capacity; NUL-terminated where it is shorter. A hexadecimal number is
/// copied as its digits.
bool SCPI_ParamCopyText(ScpiContext& context, char* buffer, std::size_t capacity, std::size_t* copied, bool mandatory);

/// Converters of a parameter that has been read.
bool SCPI_ParamIsNumber(const ScpiToken& token, bool with_suffix);
bool SCPI_ParamToInt(ScpiContext& context, const ScpiToken& token, std::int32_t* value);
bool SCPI_ParamToUnsignedInt(ScpiContext& context, const ScpiToken& token, std::uint32_t* value);
bool SCPI_ParamToDouble(ScpiContext& context, const ScpiToken& token, double* value);
bool SCPI_ParamToChoice(ScpiContext& context, const ScpiToken& token, const ScpiChoiceDef* choices, std::int32_t* tag);

/// Name pattern of a tag, null where the table has none.
const char* SCPI_ChoiceToName(const ScpiChoiceDef* choices, std::int32_t tag);

/// Values of the numeric suffixes of the header in hand, one for each # of its pattern; 1 for each that is not there.
void SCPI_CommandNumbers(const ScpiContext& context, std::span<std::int32_t> numbers);

/// The same for a mnemonic parameter and a pattern; false when it doesn't match.
bool SCPI_ParameterNumbers(const ScpiToken& token, const char* pattern, std::span<std::int32_t> numbers);

/// True when the unit in hand carries no data; else pushes -108.
bool SCPI_NoParameters(ScpiContext& context);
