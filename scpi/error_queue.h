#pragma once
#include <string_view>

#include "scpi/context.h"

/// Attaches the instrument's error queue to the context and empties it.
void SCPI_ErrorInit(ScpiContext& context);

/// Enters an error: a full queue loses its oldest entry, the event bits of the code's ranges are set, the interface's
/// error callback is called. The entry's text is the message, followed by ";" and the buffered input where there is any,
/// cut to its slot; an error of another thread than the one that executes remote input carries no input. Any thread.
void SCPI_ErrorPush(ScpiContext& context, int code);

/// Removes and returns the oldest code; 0 when empty.
int SCPI_ErrorPop(ScpiContext& context);

void SCPI_ErrorClear(ScpiContext& context);

/// Message of a code, with its six blanks between words; "Unknown error" for any other code.
std::string_view SCPI_ErrorTranslate(int code);

/// Queue position of the first entry of a page of the error list on the screen (20 entries a page).
std::int32_t SCPI_ErrorPageIndex(const ScpiContext& context, std::int32_t page);

/// Number of codes that have a message of their own.
std::size_t SCPI_ErrorCodes();
