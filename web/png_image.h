#pragma once
#include <cstdint>
#include <span>
#include <vector>

namespace web {

/// The screen (screen_bytes) as a PNG file; empty when it could not be made.
std::vector<std::uint8_t> Encode_Png(std::span<const std::uint8_t> screen);

}  // namespace web
