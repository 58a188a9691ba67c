#pragma once
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "virtual_board/input.h"

namespace virtual_board {

/// Reads a scene: a TOML file with `seed` and any number of
///   [[carrier]]  frequency, level (dBm unmodulated), am = {depth (0 to 1), rate}, fm = {deviation, rate}, name
///   [[pulse]]    frequency, level (dBm while on), rate (pulses a second), width (s), name
///   [[ask]]      frequency, level (dBm while on), bits (such as "1011"), bit_rate, name
///   [[noise]]    center, bandwidth, level (dBm in all), name
/// Frequencies and rates are in Hz, or strings such as "433.92 MHz". Modulations repeat for ever.
/// Throws std::runtime_error with one line "FILE:LINE: KEY: what is wrong".
std::shared_ptr<const Input> Load_Scene(const std::filesystem::path& path);

/// The same from text; name stands for the file in errors.
std::shared_ptr<const Input> Parse_Scene(std::string_view text, const std::string& name);

}  // namespace virtual_board
