#pragma once
#include <cstddef>
#include <cstdint>

#include "display/colour.h"

/// The four layers of the screen. The controls (fb_ and a verb) are one request of the driver each; one that fails
/// prints its request's name with perror and changes nothing.

constexpr std::uint32_t screen_width = 800;
constexpr std::uint32_t screen_height = 600;

/// One layer. Drawing into a descriptor without memory does nothing.
struct Frame_Descriptor {
    std::byte* memory = nullptr;  ///< mapped device memory
    std::byte* back = nullptr;    ///< heap block of the same size
    int device = -1;
    std::uint32_t width = 0;   ///< pixels
    std::uint32_t height = 0;  ///< pixels
    std::uint32_t bits = 0;    ///< a pixel: 16 (RGB565) or 24 (bytes R, G, B)
    std::uint32_t line = 0;    ///< bytes from row to row
    std::uint32_t size = 0;    ///< bytes mapped
};

inline Frame_Descriptor fbOsd0;  ///< text, numeric field, status blocks; a zero pixel is clear
inline Frame_Descriptor fbVid0;  ///< graticule, traces, soft-key column, pictures
inline Frame_Descriptor fbOsd1;  ///< attribute and blending plane
inline Frame_Descriptor fbVid1;  ///< second video window

/// Opens and maps a layer: window off, resolution set, memory mapped, back buffer allocated. On failure prints the
/// failing step with perror and leaves the descriptor without memory. A descriptor that was open keeps its old mapping,
/// since somebody may be drawing in it.
Frame_Descriptor& fb_init(Frame_Descriptor& layer, const char* device, std::uint32_t width, std::uint32_t height,
                          std::uint32_t bits);
/// The same for the second video window.
Frame_Descriptor& fb_init_ohter(Frame_Descriptor& layer, const char* device, std::uint32_t width, std::uint32_t height,
                                std::uint32_t bits);

/// Unmaps and closes a layer, and with it the mappings that were replaced. For the end of the process, and for tests.
void fb_free(Frame_Descriptor& layer);

void fb_endisable_win(const Frame_Descriptor& layer, bool on);
void fb_endisable_att(const Frame_Descriptor& layer, bool on);
void fb_blend_set(const Frame_Descriptor& layer, std::uint32_t factor);  ///< 0 clear to 7 opaque
void fb_blend_setattr(const Frame_Descriptor& layer, std::uint32_t attribute);
void fb_backcolor_set(const Frame_Descriptor& layer, std::uint32_t colour);  ///< 0xRRGGBB
void fb_win_position(const Frame_Descriptor& layer, std::int32_t x, std::int32_t y);
void fb_win_zoom(const Frame_Descriptor& layer, std::uint32_t x, std::uint32_t y);
/// Order of the components in a video window's pixels: 0 R, G, B, 1 the other way round.
void fb_video_set(const Frame_Descriptor& layer, std::uint32_t component_order);
/// Attenuation of a bitmap window's colours: 0 off, 1 on.
void fb_bimp_set(const Frame_Descriptor& layer, std::uint32_t attenuation);
/// Gives every pixel of the attribute plane one attribute, 0 to 15.
void fb_fillup_attribute(const Frame_Descriptor& layer, std::uint32_t attribute);
void fb_getset_blink(const Frame_Descriptor& layer, std::uint32_t blink);
void fb_set_cursor(const Frame_Descriptor& layer, std::uint32_t cursor);
/// Shows a layer.
void window_display(const Frame_Descriptor& layer);

constexpr std::uint16_t RGB888toRGB565(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    return static_cast<std::uint16_t>((red >> 3) << 11 | (green >> 2) << 5 | blue >> 3);
}

/// Stores a colour as Cb, Y, Cr (bits 0 to 7, 8 to 15, 16 to 23) at index y * width + x; ITU-R BT.601, full range.
/// A point outside the width and height is ignored.
void RGB_YCbCr(std::uint32_t* plane, int width, int height, int x, int y, display::Colour colour);

/// Writes one pixel of colour 0xRRGGBB: x is held in 0 to 799 and y in 0 to 599; beyond the width or height nothing is
/// written. Returns 0, or -1 with a line in the error log for a depth other than 16 or 24.
int fb_pixel(std::byte* memory, int width, int height, int x, int y, std::uint32_t colour, int bits);
