#include "display/text.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include FT_GLYPH_H

#include "platform/root.h"

namespace {

/// Glyphs of the rows that one line of text may take; larger areas than this are cut.
constexpr int line_mask_width = static_cast<int>(screen_width);
constexpr int line_mask_height = 48;
constexpr std::size_t line_characters = 128;

const char* Font_File(int number) {
    switch (number) {
        case face_seven_segment: return "/mnt/nand/fonts/NI7SEG.TTF";
        case face_bold: return "/mnt/nand/fonts/arialbd.ttf";
        default: return "/mnt/nand/fonts/ARIALUNI.TTF";
    }
}

/// Largest size of text in pixels, and largest side of a glyph's picture, that are taken for meant.
constexpr int largest_size = 600;
constexpr long largest_glyph = 4096;
constexpr std::int64_t longest_text = 1 << 24;  // pixels

/// Rows of a mask.
std::int64_t Rows(std::span<const std::uint8_t> mask, int row_length) {
    return row_length > 0 ? static_cast<std::int64_t>(mask.size()) / row_length : 0;
}

void Copy_Glyph(const FT_Bitmap& bitmap, int x, std::int64_t top, std::span<std::uint8_t> mask, int row_length) {
    const std::int64_t rows = Rows(mask, row_length);
    if (rows == 0) return;
    const int width = static_cast<int>(bitmap.width);
    const auto last = static_cast<int>(std::min<std::int64_t>(width, std::int64_t{row_length} - x));
    const int first = std::max(0, -x);
    if (first >= last) return;
    for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
        const std::int64_t y = top + row;
        if (y < 0 || y >= rows) continue;
        const std::uint8_t* source = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
        std::copy(source + first, source + last, mask.begin() + y * row_length + x + first);
    }
}

/// Advance of the loaded glyph: the box of the glyph, not the font's advance, so that boxes stand at equal gaps.
int Advance(const FT_GlyphSlot slot, int spacing) {
    const long box = std::clamp(slot->metrics.width / 64, 0L, largest_glyph);
    const bool blank = slot->format == FT_GLYPH_FORMAT_OUTLINE && slot->outline.n_points == 0;
    return static_cast<int>(blank ? std::clamp(slot->metrics.horiAdvance / 64, 0L, largest_glyph) : box) + spacing;
}

/// A damaged font may call for a picture of any size.
bool Drawable(FT_Glyph glyph) {
    FT_BBox box;
    FT_Glyph_Get_CBox(glyph, FT_GLYPH_BBOX_PIXELS, &box);
    return box.xMax - box.xMin <= largest_glyph && box.yMax - box.yMin <= largest_glyph;
}

struct Line {
    std::array<std::uint32_t, line_characters> text;
    std::size_t count = 0;
    std::span<const std::uint32_t> Characters() const { return {text.data(), count}; }
};

/// Characters of a UTF-8 text; a broken byte becomes U+FFFD.
Line Decode(std::string_view text) {
    Line line;
    for (std::size_t i = 0; i < text.size() && line.count < line_characters;) {
        const auto lead = static_cast<std::uint8_t>(text[i++]);
        int follow = lead >= 0xf0 ? 3 : lead >= 0xe0 ? 2 : lead >= 0xc0 ? 1 : 0;
        std::uint32_t code = follow == 3 ? lead & 7u : follow == 2 ? lead & 15u : follow == 1 ? lead & 31u : lead;
        for (; follow > 0 && i < text.size() && (static_cast<std::uint8_t>(text[i]) & 0xc0) == 0x80; --follow) {
            code = code << 6 | (static_cast<std::uint8_t>(text[i++]) & 63u);
        }
        if (follow > 0 || (lead >= 0x80 && lead < 0xc0)) code = 0xfffd;
        line.text[line.count++] = code;
    }
    return line;
}

int Width(const Line& line, Font_Face face, int size) {
    int width = 0;
    wchar_box(line.Characters(), 0, 0, size, {}, 0, &width, display::Face_Handle(face), wordspace);
    return line.count ? width - wordspace : 0;
}

int Start(display::Align align, int width, int text_width) {
    switch (align) {
        case display::Align::left: return 0;
        case display::Align::centre: return (width - text_width) / 2;
        default: return width - text_width;
    }
}

/// The mask that lines are rendered into. All drawing of text is done under one lock, so one is enough.
std::array<std::uint8_t, static_cast<std::size_t>(line_mask_width) * line_mask_height> line_mask;

std::span<const std::uint8_t> Render_Line(std::string_view text, display::Rect area, int baseline,
                                          const display::Text_Style& style, display::Align align) {
    const Line line = Decode(text);
    const std::span mask(line_mask.data(),
                         static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height));
    std::fill(mask.begin(), mask.end(), std::uint8_t{0});
    const int x = align == display::Align::left ? 0 : Start(align, area.width, Width(line, style.face, style.size));
    wchar_box(line.Characters(), x, baseline, style.size, mask, area.width, nullptr, display::Face_Handle(style.face),
              wordspace);
    return mask;
}

display::Rect Fit(display::Rect area) {
    area.width = std::clamp(area.width, 0, line_mask_width);
    area.height = std::clamp(area.height, 0, line_mask_height);
    return area;
}

}  // namespace

FT_Error load_font_face(int number, FT_Library library, FT_Face& face) {
    face = nullptr;
    return FT_New_Face(library, platform::Rooted(Font_File(number)).c_str(), 0, &face);
}

void wchar_box(std::span<const std::uint32_t> text, int x, int y, int size, std::span<std::uint8_t> mask,
               int row_length, int* width, FT_Face face, int spacing) {
    if (width) *width = 0;
    if (!face || size <= 0 || size > largest_size) return;
    spacing = std::clamp(spacing, -largest_size, largest_size);
    FT_Set_Char_Size(face, size * 64, 0, 120, 120);
    FT_Set_Pixel_Sizes(face, static_cast<FT_UInt>(size), static_cast<FT_UInt>(size));
    int advance = 0;
    std::int64_t total = 0;
    auto pen = static_cast<std::int16_t>(x);
    for (const std::uint32_t character : text) {
        FT_Glyph glyph = nullptr;
        if (FT_Load_Glyph(face, FT_Get_Char_Index(face, character), FT_LOAD_DEFAULT) == 0 &&
            FT_Get_Glyph(face->glyph, &glyph) == 0) {
            advance = Advance(face->glyph, spacing);
            if (!mask.empty() && Drawable(glyph) &&
                FT_Glyph_To_Bitmap(&glyph, FT_RENDER_MODE_NORMAL, nullptr, 1) == 0) {
                const auto& bitmap = reinterpret_cast<FT_BitmapGlyph>(glyph)->bitmap;
                const std::int64_t bearing = face->glyph->metrics.horiBearingY / 64;
                if (bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) Copy_Glyph(bitmap, pen, y - bearing - 1, mask, row_length);
            }
            FT_Done_Glyph(glyph);
        }
        total += advance;
        pen = static_cast<std::int16_t>(pen + advance);
    }
    if (width) *width = static_cast<int>(std::clamp<std::int64_t>(total, -longest_text, longest_text));
}

void draw_bitmap(std::span<const std::uint8_t> mask, display::Colour fg, display::Colour bg, int x, int y, int width,
                 int height, const Frame_Descriptor& layer, int column_limit) {
    if (width <= 0) return;
    height = static_cast<int>(std::min<std::int64_t>(height, Rows(mask, width)));
    const std::int64_t columns = std::clamp<std::int64_t>(std::int64_t{column_limit} - x + 1, 0, width);
    const display::Rect area = display::Clip(layer, {x, y, static_cast<int>(columns), height});
    for (int row = area.y; row < area.y + area.height; ++row) {
        const std::uint8_t* source = mask.data() + static_cast<std::ptrdiff_t>(row - y) * width + (area.x - x);
        std::byte* line = layer.memory + static_cast<std::size_t>(row) * layer.line;
        for (int column = area.x; column < area.x + area.width; ++column) {
            const std::uint8_t a = *source++;
            const display::Colour mixed{process_bitmap_color(a, fg.red, bg.red),
                                        process_bitmap_color(a, fg.green, bg.green),
                                        process_bitmap_color(a, fg.blue, bg.blue)};
            if (layer.bits == 24) {
                display::Put_24(layer, column, row, mixed);
            } else {
                const std::uint16_t pixel = a ? RGB888toRGB565(mixed.red, mixed.green, mixed.blue) : std::uint16_t{0};
                std::copy_n(reinterpret_cast<const std::byte*>(&pixel), 2, line + column * 2);
            }
        }
    }
}

void draw_bitmap_over(std::span<const std::uint8_t> mask, display::Colour fg, int x, int y, int width, int height,
                      const Frame_Descriptor& layer) {
    if (width <= 0 || layer.bits != 24) return;
    height = static_cast<int>(std::min<std::int64_t>(height, Rows(mask, width)));
    const display::Rect area = display::Clip(layer, {x, y, width, height});
    for (int row = area.y; row < area.y + area.height; ++row) {
        const std::uint8_t* source = mask.data() + static_cast<std::ptrdiff_t>(row - y) * width + (area.x - x);
        std::byte* pixel =
            layer.memory + static_cast<std::size_t>(row) * layer.line + static_cast<std::size_t>(area.x) * 3;
        for (int i = 0; i < area.width; ++i, pixel += 3) {
            const std::uint8_t a = *source++;
            if (a == 0) continue;
            pixel[0] = std::byte{process_bitmap_color(a, fg.red, static_cast<std::uint8_t>(pixel[0]))};
            pixel[1] = std::byte{process_bitmap_color(a, fg.green, static_cast<std::uint8_t>(pixel[1]))};
            pixel[2] = std::byte{process_bitmap_color(a, fg.blue, static_cast<std::uint8_t>(pixel[2]))};
        }
    }
}

namespace display {

FT_Face Face_Handle(int face) {
    switch (face) {
        case face_bold: return pFTFaceARIABOLD;
        case face_seven_segment: return pFTFaceNI7SEG;
        default: return pFTFaceARIA;
    }
}

int Text_Width(std::string_view text, Font_Face face, int size) { return Width(Decode(text), face, size); }

void Draw_Field(const Frame_Descriptor& layer, Rect area, int baseline, std::string_view text, const Text_Style& style,
                Align align) {
    area = Fit(area);
    const auto mask = Render_Line(text, area, baseline, style, align);
    draw_bitmap(mask, style.colour, style.ground, area.x, area.y, area.width, area.height, layer,
                std::numeric_limits<int>::max());
}

void Draw_Text_Over(const Frame_Descriptor& layer, Rect area, int baseline, std::string_view text,
                    const Text_Style& style, Align align) {
    area = Fit(area);
    const auto mask = Render_Line(text, area, baseline, style, align);
    draw_bitmap_over(mask, style.colour, area.x, area.y, area.width, area.height, layer);
}

}  // namespace display
