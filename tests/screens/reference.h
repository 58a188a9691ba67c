#pragma once
#include <cstdint>
#include <string>
#include <vector>

/// Whole screens beside the pictures that they should be, in tests/screens/reference/.
namespace screen_tests {

/// 800 by 600 pixels, R, G, B.
using Screen = std::vector<std::uint8_t>;

/// What the display hardware makes of the open layers now.
Screen Composed();

/// Fonts and the renderer of the pictures come from the system, so edges may differ a little from the reference: a
/// component of a pixel by this much, and beyond that this many pixels of the screen.
constexpr int component_tolerance = 40, pixel_tolerance = 60;

/// Pixels that differ by more than the tolerance.
int Differing_Pixels(const Screen& a, const Screen& b);

/// Compares the screen with reference/NAME.png. A failure leaves actual, reference and difference as PNG in a folder
/// that its message names. With KVA720_WRITE_SCREENS=1 in the environment the reference is written instead.
void Expect_Screen(const std::string& name);

}  // namespace screen_tests
