#pragma once
#include <cstdint>

namespace display {

struct Colour {
    std::uint8_t red = 0, green = 0, blue = 0;
    constexpr bool operator==(const Colour&) const = default;
};

}  // namespace display
