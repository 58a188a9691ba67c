#pragma once
#include "display/layers.h"

/// Drawing primitives. Everything is cut at the layer's edges; a layer without memory is left alone.
namespace display {

struct Rect {
    int x = 0, y = 0, width = 0, height = 0;
};

/// The part of a rectangle that lies on the layer; empty where none does.
Rect Clip(const Frame_Descriptor& layer, Rect area);

void Fill(const Frame_Descriptor& layer, Rect area, Colour colour);

/// Sets the area to zero: clear on the on-screen-display layers, black on the video layers.
void Clear(const Frame_Descriptor& layer, Rect area);

/// Outline of one pixel.
void Frame(const Frame_Descriptor& layer, Rect area, Colour colour);

/// Copies a picture of 24-bit pixels, width by height, all of which must be there, to x, y.
void Copy_Picture(const Frame_Descriptor& layer, const std::uint8_t* picture, int x, int y, int width, int height);

/// Keeps the area in the layer's back buffer, and brings it back.
void Keep(const Frame_Descriptor& layer, Rect area);
void Restore(const Frame_Descriptor& layer, Rect area);

/// One pixel of a 24-bit layer; the caller has clipped.
inline void Put_24(const Frame_Descriptor& layer, int x, int y, Colour c) {
    std::byte* pixel = layer.memory + static_cast<std::size_t>(y) * layer.line + static_cast<std::size_t>(x) * 3;
    pixel[0] = std::byte{c.red};
    pixel[1] = std::byte{c.green};
    pixel[2] = std::byte{c.blue};
}

}  // namespace display
