#pragma once
#include <cstdint>

#include "scpi/context.h"

namespace shapes {

/// TRACe# of the next mandatory parameter: 0 to 3. False with the error pushed; -222 for a number out of 1 to 4.
bool Take_Trace(ScpiContext& context, std::uint16_t& trace);

/// The header's trace number, 0 to 3. False with -114 pushed for one that there is not.
bool Trace_Of_Header(ScpiContext& context, int& trace);

}  // namespace shapes
