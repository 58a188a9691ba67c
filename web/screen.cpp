#include "web/screen.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace web {
namespace {

constexpr std::uint32_t most_pixels = 4096;        // a side of a layer
constexpr std::uint32_t most_line_length = 65536;  // bytes
constexpr int dimmest = 35;                        // percent of full light at the lowest back-light that is not dark

void Put_16(const std::byte* source, std::uint8_t* target, std::int64_t pixels, bool zero_transparent) {
    for (std::int64_t i = 0; i < pixels; ++i, target += 3) {
        std::uint16_t pixel;
        std::memcpy(&pixel, source + 2 * i, sizeof pixel);
        if (pixel == 0 && zero_transparent) continue;
        const unsigned red = pixel >> 11, green = pixel >> 5 & 0x3f, blue = pixel & 0x1f;
        target[0] = static_cast<std::uint8_t>(red << 3 | red >> 2);
        target[1] = static_cast<std::uint8_t>(green << 2 | green >> 4);
        target[2] = static_cast<std::uint8_t>(blue << 3 | blue >> 2);
    }
}

void Put_24(const std::byte* source, std::uint8_t* target, std::int64_t pixels, bool zero_transparent) {
    if (!zero_transparent) {
        std::memcpy(target, source, static_cast<std::size_t>(3 * pixels));
        return;
    }
    constexpr std::array<std::byte, 3> zero{};
    for (std::int64_t i = 0; i < pixels; ++i, source += 3, target += 3)
        if (std::memcmp(source, zero.data(), 3) != 0) std::memcpy(target, source, 3);
}

void Put_Layer(const Layer& layer, std::span<std::uint8_t> screen) {
    const auto& state = layer.state;
    const std::int64_t x = state.x, y = state.y, width = state.width, height = state.height;
    const auto left = std::max<std::int64_t>(x, 0), right = std::min<std::int64_t>(x + width, screen_width);
    const auto top = std::max<std::int64_t>(y, 0), bottom = std::min<std::int64_t>(y + height, screen_height);
    if (left >= right) return;
    const std::int64_t pixel_bytes = state.bits_per_pixel / 8;
    for (auto row = top; row < bottom; ++row) {
        const auto* source = layer.memory.data() + (row - y) * state.line_length + (left - x) * pixel_bytes;
        auto* target = screen.data() + 3 * (row * screen_width + left);
        if (pixel_bytes == 2)
            Put_16(source, target, right - left, layer.zero_transparent);
        else
            Put_24(source, target, right - left, layer.zero_transparent);
    }
}

void Dim(int backlight, std::span<std::uint8_t> screen) {
    if (backlight >= 100) return;
    const int light = backlight <= 0 ? 0 : dimmest + (100 - dimmest) * backlight / 100;
    std::array<std::uint8_t, 256> dimmed;
    for (int value = 0; value < 256; ++value) dimmed[value] = static_cast<std::uint8_t>(value * light / 100);
    for (auto& value : screen) value = dimmed[value];
}

}  // namespace

std::size_t Layer_Bytes(const platform::Frame_State& state) {
    if (!state.enabled) return 0;
    if (state.bits_per_pixel != 16 && state.bits_per_pixel != 24) return 0;
    if (state.width == 0 || state.width > most_pixels || state.height == 0 || state.height > most_pixels) return 0;
    if (state.line_length > most_line_length || state.line_length < state.width * (state.bits_per_pixel / 8)) return 0;
    return std::size_t{state.line_length} * state.height;
}

void Compose(std::uint32_t background, std::span<const Layer> bottom_to_top, int backlight,
             std::span<std::uint8_t> screen) {
    if (screen.size() < screen_bytes) return;
    for (std::size_t i = 0; i < screen_bytes; i += 3) {
        screen[i] = static_cast<std::uint8_t>(background >> 16);
        screen[i + 1] = static_cast<std::uint8_t>(background >> 8);
        screen[i + 2] = static_cast<std::uint8_t>(background);
    }
    for (const auto& layer : bottom_to_top) {
        const auto bytes = Layer_Bytes(layer.state);
        if (bytes != 0 && bytes <= layer.memory.size()) Put_Layer(layer, screen);
    }
    Dim(backlight, screen.first(screen_bytes));
}

}  // namespace web
