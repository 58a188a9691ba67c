#pragma once
#include <optional>
#include <string>

namespace web {

/// The state message: {"instrument":"on"|"starting"|"off", "model":..., "remote":..., "center":..., "span":...,
/// "reference":..., "beeps":...} (Hz, dBm, tones sounded so far); instrument_info is the instrument's own
/// description, empty when it is too busy to answer, or nothing when it cannot be reached.
std::string State_Message(const std::optional<std::string>& instrument_info);

}  // namespace web
