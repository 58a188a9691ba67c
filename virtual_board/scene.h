#pragma once
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "virtual_board/input.h"

namespace virtual_board {

/// Reads a scene: a TOML file with `seed` and any number of
///   [[carrier]]  frequency, level (dBm unmodulated), name, and am = {depth (0 to 1), rate} and fm = {deviation, rate},
///                or drift = {range, period (s)}: the frequency swings slowly over the range as a sine
///   [[comb]]     frequency (of the lowest line), spacing, count, level (dBm of each line), name
///   [[pulse]]    frequency, level (dBm while on), rate (pulses a second), width (s), name
///   [[ask]]      frequency, level (dBm while on), bits (such as "1011"), bit_rate, name
///   [[fsk]]      frequency (middle), level, deviation (to either side), bits, bit_rate, name
///   [[noise]]    center, bandwidth, level (dBm in all), name
/// Frequencies and rates are in Hz, or strings such as "433.92 MHz". Modulations repeat for ever.
/// Limits: a file of 1 MiB, 200 000 spectral lines, 256 noise bands, 64 drifting carriers.
/// Throws std::runtime_error with one line "FILE:LINE: KEY: what is wrong".
std::shared_ptr<const Input> Load_Scene(const std::filesystem::path& path);

/// The same from text; name stands for the file in errors.
std::shared_ptr<const Input> Parse_Scene(std::string_view text, const std::string& name);

}  // namespace virtual_board
