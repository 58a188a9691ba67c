#pragma once
#include <cstdint>
#include <span>
#include <string_view>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "display/draw.h"

/// Text: FreeType glyphs rendered into one-byte-per-pixel masks, which are blended onto a layer.

/// 0 is background, 1 to 255 the coverage.
constexpr int mask_width = 142;

enum Font_Face : int { face_seven_segment = 1, face_bold = 2, face_regular = 3 };

inline FT_Library pFTLibARIABOLD = nullptr, pFTLibARIA = nullptr, pFTLibNI7SEG = nullptr;
inline FT_Face pFTFaceARIABOLD = nullptr, pFTFaceARIA = nullptr, pFTFaceNI7SEG = nullptr;

inline int wordspace = 1;  ///< pixels between glyph boxes

/// Opens face 0 of the font file of a face number. Returns FreeType's error code; the face stays null on failure.
FT_Error load_font_face(int number, FT_Library library, FT_Face& face);

/// Renders count characters with the baseline at x, y into a mask of row_length bytes a row, and adds up the width.
/// Each glyph advances by its box width plus the spacing; a glyph without a box (a blank) by the font's advance.
/// An empty destination only measures; width may be null. Nothing is written outside the mask.
void wchar_box(std::span<const std::uint32_t> text, int x, int y, int size, std::span<std::uint8_t> mask,
               int row_length, int* width, FT_Face face, int spacing);

/// One component of a blended pixel: background + round((foreground - background) * mask / 255).
constexpr std::uint8_t process_bitmap_color(std::uint8_t mask, std::uint8_t foreground, std::uint8_t background) {
    const int t = (foreground - background) * mask;
    return static_cast<std::uint8_t>(background + ((t + (t >> 8) + 127) >> 8));
}

/// Blends a mask onto a layer at x, y, as far as the layer's column column_limit. A zero of the mask writes the
/// background on a 24-bit layer and 0, clear, on a 16-bit one.
void draw_bitmap(std::span<const std::uint8_t> mask, display::Colour foreground, display::Colour background, int x,
                 int y, int width, int height, const Frame_Descriptor& layer, int column_limit);

/// Blends a mask onto what the 24-bit layer shows; zeros of the mask leave it as it is.
void draw_bitmap_over(std::span<const std::uint8_t> mask, display::Colour foreground, int x, int y, int width,
                      int height, const Frame_Descriptor& layer);

namespace display {

enum class Align { left, centre, right };

struct Text_Style {
    Font_Face face = face_bold;
    int size = 13;  ///< pixels
    Colour colour;
    Colour ground;  ///< what anti-aliased edges fade into
};

/// Handle of a face; null while it could not be loaded.
FT_Face Face_Handle(int face);

/// Width in pixels of a UTF-8 text.
int Text_Width(std::string_view text, Font_Face face, int size);

/// Replaces the area by one line of UTF-8 text, baseline rows below its top. On 16-bit layers the ground stays clear.
void Draw_Field(const Frame_Descriptor& layer, Rect area, int baseline, std::string_view text, const Text_Style& style,
                Align align = Align::left);

/// Blends one line of UTF-8 text over what a 24-bit layer shows, inside the area.
void Draw_Text_Over(const Frame_Descriptor& layer, Rect area, int baseline, std::string_view text,
                    const Text_Style& style, Align align);

}  // namespace display
