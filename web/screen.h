#pragma once
#include "platform/frame_buffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// The picture that the display hardware makes of the layers.
namespace web {

constexpr int screen_width = 800;
constexpr int screen_height = 600;
constexpr std::size_t screen_bytes = std::size_t{3} * screen_width * screen_height;  ///< R, G, B a pixel

struct Layer {
    platform::Frame_State state;
    std::span<const std::byte> memory;
    bool zero_transparent = false;  ///< OSD windows: a zero pixel shows what lies below
};

/// Bytes of memory that a layer's state calls for, or 0 when the state makes no picture: window off, a depth other than
/// 16 or 24 bits, a size or zoom out of range, rows longer than a line. The state comes from outside; nothing else
/// checks it.
std::size_t Layer_Bytes(const platform::Frame_State& state);

/// Composes the screen: the ground (0xRRGGBB), then the layers from bottom to top at their places and zoom, OSD windows
/// blended and attenuated, video windows in their order of components, then the back-light (0 dark to 100 percent).
/// Layers whose memory is shorter than their state calls for are left out.
/// screen: screen_bytes, row after row.
void Compose(std::uint32_t background, std::span<const Layer> bottom_to_top, int backlight,
             std::span<std::uint8_t> screen);

}  // namespace web
