#pragma once
#include <array>
#include <cstdint>
#include <string_view>

/// Numeric entry: the number typed on the number pad, drawn in the entry field and turned into a value.

constexpr std::size_t entry_glyphs = 27;  ///< digits 0 to 9, 10 minus, 11 blank, 12 point, then letters of units
constexpr std::size_t entry_field_start = 27;

/// Widths of the entry field's glyphs in pixels, and at entry_field_start the x where the number begins.
inline std::array<std::int16_t, entry_glyphs + 1> allNumData{};

struct Drawn_Glyph {
    std::int16_t glyph = 0, x = 0;
};
/// The characters in the entry field from left to right.
struct Drawn_Number {
    std::array<Drawn_Glyph, 16> glyph{};
    int count = 0;
};
inline Drawn_Number drawNumberVal;

/// Renders a set of glyphs (0 is the entry field's) in a face.
void numKey_init(int set, int face);

/// Empties the typed number; the field is blanked before the next digit (clean_keybuffer) or not (keyvarecover).
void clean_keybuffer();
void keyvarecover();
/// Empties the typed number and its field, and closes an open unit page.
void NUM2init();

/// Applies one code of the number pad, the arrows or the knob.
void Numberkey(std::int32_t code);

/// The step that a value handler is asked for: positive for up and right, negative for down and left.
int Pending_Steps();

/// Turns the typed number times 10 to the exponent into whole hertz, at most 103.30005 GHz, and shows it with its unit.
double FunitChang(int exponent);

/// Soft key of the frequency unit page: 0 to 3 are GHz, MHz, kHz and Hz.
void fNumBase(int key);

/// Names what is being entered and shows its present value, both English, in the chosen language.
void Show_Entry(std::string_view name, std::string_view value);
/// Draws name and number of the entry field again, after a change of the language.
void Redraw_Entry();
/// Draws the typed number with its cursor.
void Draw_Typed_Number();
/// Shows a confirmed value with its unit; precision in decimals.
void enter_numKey(double value, int precision, std::string_view unit);

/// Blanks the number of the entry field (x 0 to 250, y 570 to 599).
void Blank_Numeric_Field();
/// Blanks the name above it as well.
void Blank_Entry();
