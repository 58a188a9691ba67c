#include "display/draw.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace display {
namespace {

std::byte* Row(const Frame_Descriptor& layer, std::byte* base, int x, int y) {
    return base + static_cast<std::size_t>(y) * layer.line + static_cast<std::size_t>(x) * (layer.bits / 8);
}

/// Last row or column of an extent of one or more.
int Last(int first, int count) {
    return static_cast<int>(std::min<std::int64_t>(first + (std::int64_t{count} - 1), std::numeric_limits<int>::max()));
}

void Copy_Rows(const Frame_Descriptor& layer, Rect area, std::byte* from, std::byte* to) {
    if (!from || !to) return;
    area = Clip(layer, area);
    const std::size_t bytes = static_cast<std::size_t>(area.width) * (layer.bits / 8);
    for (int y = area.y; y < area.y + area.height; ++y) {
        std::memcpy(Row(layer, to, area.x, y), Row(layer, from, area.x, y), bytes);
    }
}

}  // namespace

Rect Clip(const Frame_Descriptor& layer, Rect area) {
    if (!layer.memory) return {};
    const std::int64_t left = std::clamp<std::int64_t>(area.x, 0, layer.width),
                       top = std::clamp<std::int64_t>(area.y, 0, layer.height);
    const std::int64_t right =
        std::clamp<std::int64_t>(static_cast<std::int64_t>(area.x) + std::max(area.width, 0), left, layer.width);
    const std::int64_t bottom =
        std::clamp<std::int64_t>(static_cast<std::int64_t>(area.y) + std::max(area.height, 0), top, layer.height);
    if (left == right || top == bottom) return {};
    return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
            static_cast<int>(bottom - top)};
}

void Fill(const Frame_Descriptor& layer, Rect area, Colour colour) {
    area = Clip(layer, area);
    if (area.width == 0) return;
    const std::uint16_t pixel = RGB888toRGB565(colour.red, colour.green, colour.blue);
    std::byte* first = Row(layer, layer.memory, area.x, area.y);
    for (int i = 0; i < area.width; ++i) {
        if (layer.bits == 16) {
            std::memcpy(first + i * 2, &pixel, 2);
        } else {
            Put_24(layer, area.x + i, area.y, colour);
        }
    }
    const std::size_t bytes = static_cast<std::size_t>(area.width) * (layer.bits / 8);
    for (int y = area.y + 1; y < area.y + area.height; ++y)
        std::memcpy(Row(layer, layer.memory, area.x, y), first, bytes);
}

void Clear(const Frame_Descriptor& layer, Rect area) {
    area = Clip(layer, area);
    const std::size_t bytes = static_cast<std::size_t>(area.width) * (layer.bits / 8);
    for (int y = area.y; y < area.y + area.height; ++y) std::memset(Row(layer, layer.memory, area.x, y), 0, bytes);
}

void Frame(const Frame_Descriptor& layer, Rect area, Colour colour) {
    if (area.width <= 0 || area.height <= 0) return;
    // An edge whose place is beyond any int is off every layer.
    const int right = Last(area.x, area.width), bottom = Last(area.y, area.height);
    Fill(layer, {area.x, area.y, area.width, 1}, colour);
    Fill(layer, {area.x, bottom, area.width, 1}, colour);
    Fill(layer, {area.x, area.y, 1, area.height}, colour);
    Fill(layer, {right, area.y, 1, area.height}, colour);
}

void Copy_Picture(const Frame_Descriptor& layer, const std::uint8_t* picture, int x, int y, int width, int height) {
    const Rect area = Clip(layer, {x, y, width, height});
    for (int row = area.y; row < area.y + area.height; ++row) {
        const std::uint8_t* source = picture + (static_cast<std::size_t>(row - y) * static_cast<std::size_t>(width) +
                                                static_cast<std::size_t>(area.x - x)) *
                                                   3;
        std::byte* target = Row(layer, layer.memory, area.x, row);
        if (layer.bits == 24) {
            std::memcpy(target, source, static_cast<std::size_t>(area.width) * 3);
            continue;
        }
        for (int i = 0; i < area.width; ++i, source += 3) {
            const std::uint16_t pixel = RGB888toRGB565(source[0], source[1], source[2]);
            std::memcpy(target + i * 2, &pixel, 2);
        }
    }
}

void Keep(const Frame_Descriptor& layer, Rect area) { Copy_Rows(layer, area, layer.memory, layer.back); }

void Restore(const Frame_Descriptor& layer, Rect area) { Copy_Rows(layer, area, layer.back, layer.memory); }

}  // namespace display
