// Measures texts as the instrument's text renderer sets them, for the build of the word lists.
//
//   measure_text BOLD_FONT REGULAR_FONT < requests > answers
//
// A request is one line: font (2 bold, 3 regular), size in pixels, letter spacing, then the characters as hexadecimal
// code points, all separated by spaces. Its answer is one line: width of the text without the spacing after its last
// character, rows of ink above the baseline, rows below it, and how many of the characters the face does not have.

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>

namespace {

struct Extent {
    long width = 0;
    long above = 0;
    long below = 0;
    int missing = 0;
};

/// A glyph advances by its box, one without an outline by the font's advance; metrics are in 1/64 pixel.
Extent Measure(FT_Face face, int size, int spacing, std::istream& characters) {
    Extent extent;
    FT_Set_Pixel_Sizes(face, 0, size);
    for (FT_ULong character; characters >> std::hex >> character;) {
        const FT_UInt glyph = FT_Get_Char_Index(face, character);
        if (glyph == 0 || FT_Load_Glyph(face, glyph, FT_LOAD_DEFAULT) != 0) {
            ++extent.missing;
            continue;
        }
        const FT_GlyphSlot slot = face->glyph;
        const long box = slot->metrics.width >> 6;
        const long bearing = slot->metrics.horiBearingY >> 6;
        extent.width += (box > 0 ? box : slot->advance.x >> 6) + spacing;
        extent.above = std::max(extent.above, bearing);
        extent.below = std::max(extent.below, (slot->metrics.height >> 6) - bearing);
    }
    extent.width = std::max(0L, extent.width - spacing);
    return extent;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: measure_text BOLD_FONT REGULAR_FONT\n";
        return 2;
    }
    FT_Library library = nullptr;
    FT_Face bold = nullptr;
    FT_Face regular = nullptr;
    if (FT_Init_FreeType(&library) != 0 || FT_New_Face(library, argv[1], 0, &bold) != 0 ||
        FT_New_Face(library, argv[2], 0, &regular) != 0) {
        std::cerr << "measure_text: cannot open " << argv[1] << " and " << argv[2] << '\n';
        return 1;
    }
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream request(line);
        int font = 0;
        int size = 0;
        int spacing = 0;
        request >> font >> size >> spacing;
        if (!request || size < 1) {
            std::cerr << "measure_text: not a request: " << line << '\n';
            return 1;
        }
        const Extent extent = Measure(font == 2 ? bold : regular, size, spacing, request);
        std::cout << extent.width << ' ' << extent.above << ' ' << extent.below << ' ' << extent.missing << '\n';
    }
    FT_Done_FreeType(library);
    return 0;
}
