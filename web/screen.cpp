#include "web/screen.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace web {
namespace {

constexpr std::uint32_t most_pixels = 4096;        // a side of a layer
constexpr std::uint32_t most_line_length = 65536;  // bytes
constexpr int dimmest = 35;                        // percent of full light at the lowest back-light that is not dark

void Put_16(const std::byte* source, std::uint8_t* target, std::int64_t pixels, bool zero_transparent) {
    for (std::int64_t i = 0; i < pixels; ++i, target += 3) {
        if (zero_transparent) {
            // Most of an OSD window is zero.
            for (std::uint64_t four; pixels - i >= 4; i += 4, target += 12) {
                std::memcpy(&four, source + 2 * i, sizeof four);
                if (four != 0) break;
            }
            if (i == pixels) return;
        }
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

constexpr unsigned opaque = 7;

/// How a window turns its pixels into the screen's.
struct Treatment {
    unsigned factor = opaque;  // of 7
    bool reversed = false, attenuated = false;

    explicit Treatment(const Layer& layer) {
        const auto& state = layer.state;
        if (layer.zero_transparent) {
            factor = std::min(state.attribute_enabled ? state.attribute_fill & 7u : state.blend_factor, opaque);
            attenuated = state.attenuation != 0;
        } else {
            reversed = state.component_order != 0;
        }
    }
    bool Plain() const { return factor == opaque && !reversed && !attenuated; }

    void Put(std::array<std::uint8_t, 3> colour, std::uint8_t* target) const {
        if (reversed) std::swap(colour[0], colour[2]);
        for (std::size_t i = 0; i < 3; ++i) {
            const unsigned own = attenuated ? 16u + colour[i] * 219u / 255u : colour[i];
            target[i] = static_cast<std::uint8_t>((own * factor + target[i] * (opaque - factor) + opaque / 2) / opaque);
        }
    }
};

/// The part of a window that is on the screen, and where it starts.
struct Place_On_Screen {
    std::int64_t x, y, left, right, top, bottom;

    explicit Place_On_Screen(const platform::Frame_State& state)
        : x(state.x),
          y(state.y),
          left(std::max<std::int64_t>(x, 0)),
          right(std::min<std::int64_t>(x + std::int64_t{state.width} * state.zoom_x, screen_width)),
          top(std::max<std::int64_t>(y, 0)),
          bottom(std::min<std::int64_t>(y + std::int64_t{state.height} * state.zoom_y, screen_height)) {}
};

/// Pixel by pixel: enlarged, blended, components turned round, colours attenuated.
void Put_Treated(const Layer& layer, const Place_On_Screen& place, const Treatment& treatment,
                 std::span<std::uint8_t> screen) {
    const auto& state = layer.state;
    const std::int64_t pixel_bytes = state.bits_per_pixel / 8;
    constexpr std::array<std::byte, 3> zero{};
    for (auto row = place.top; row < place.bottom; ++row) {
        const auto* line = layer.memory.data() + (row - place.y) / state.zoom_y * state.line_length;
        auto* target = screen.data() + 3 * (row * screen_width + place.left);
        for (auto column = place.left; column < place.right; ++column, target += 3) {
            const auto* source = line + (column - place.x) / state.zoom_x * pixel_bytes;
            if (layer.zero_transparent && std::memcmp(source, zero.data(), static_cast<std::size_t>(pixel_bytes)) == 0)
                continue;
            std::array<std::uint8_t, 3> colour;
            if (pixel_bytes == 2)
                Put_16(source, colour.data(), 1, false);
            else
                Put_24(source, colour.data(), 1, false);
            treatment.Put(colour, target);
        }
    }
}

void Put_Layer(const Layer& layer, std::span<std::uint8_t> screen) {
    const auto& state = layer.state;
    const Place_On_Screen place(state);
    if (place.left >= place.right) return;
    const Treatment treatment(layer);
    if (state.zoom_x != 1 || state.zoom_y != 1 || !treatment.Plain())
        return Put_Treated(layer, place, treatment, screen);
    const std::int64_t pixel_bytes = state.bits_per_pixel / 8, pixels = place.right - place.left;
    for (auto row = place.top; row < place.bottom; ++row) {
        const auto* source =
            layer.memory.data() + (row - place.y) * state.line_length + (place.left - place.x) * pixel_bytes;
        auto* target = screen.data() + 3 * (row * screen_width + place.left);
        if (pixel_bytes == 2)
            Put_16(source, target, pixels, layer.zero_transparent);
        else
            Put_24(source, target, pixels, layer.zero_transparent);
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
    if (state.zoom_x == 0 || state.zoom_y == 0) return 0;
    if (state.line_length > most_line_length || state.line_length < state.width * (state.bits_per_pixel / 8)) return 0;
    return std::size_t{state.line_length} * state.height;
}

void Compose(std::uint32_t background, std::span<const Layer> bottom_to_top, int backlight,
             std::span<std::uint8_t> screen) {
    if (screen.size() < screen_bytes) return;
    constexpr std::size_t row_bytes = std::size_t{3} * screen_width;
    for (std::size_t i = 0; i < row_bytes; i += 3) {
        screen[i] = static_cast<std::uint8_t>(background >> 16);
        screen[i + 1] = static_cast<std::uint8_t>(background >> 8);
        screen[i + 2] = static_cast<std::uint8_t>(background);
    }
    for (auto row = row_bytes; row < screen_bytes; row += row_bytes) std::memcpy(&screen[row], &screen[0], row_bytes);
    for (const auto& layer : bottom_to_top) {
        const auto bytes = Layer_Bytes(layer.state);
        if (bytes != 0 && bytes <= layer.memory.size()) Put_Layer(layer, screen);
    }
    Dim(backlight, screen.first(screen_bytes));
}

}  // namespace web
