#pragma once
#include <array>
#include <cstdint>
#include <string_view>

/// Numeric entry: the number typed on the number pad, drawn in the entry field and turned into a value.

/// Digits 0 to 9, 10 minus, 11 blank, 12 point, 13 to 18 A to F, then letters.
constexpr std::size_t entry_glyphs = 27;
constexpr std::size_t entry_field_start = 27;

/// Widths of the entry field's glyphs in pixels, and at entry_field_start the x where the number begins.
inline std::array<std::int16_t, entry_glyphs + 1> allNumData{};

struct Drawn_Glyph {
    std::int16_t glyph = 0, x = 0;
};
/// The typed characters in the entry field from left to right.
struct Drawn_Number {
    std::array<Drawn_Glyph, 18> glyph{};
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
/// Types a letter, A to F, of a hexadecimal word.
void Type_Letter(char letter);

/// The step that a value handler is asked for: positive for up and right, negative for down and left.
int Pending_Steps();

/// The typed number with its sign, and how many decimals it was typed with.
double Typed_Number();
int Typed_Decimals();

/// Turns the typed number times 10 to the exponent into whole hertz, at most 103.30005 GHz, and shows it with its unit.
double FunitChang(int exponent);

/// Turns the typed number in a unit (index of secUnit: 6 ks to 2 ns, all others s) into seconds, not rounded, and shows
/// it. Where minus is allowed, its sign counts.
double SunitChang(int unit);

/// A time in s as the entry field shows it: 0 as 0 ns, 1000 s and more as 1 ks, what is shorter than 1 fs in fs.
struct Shown_Time {
    double value = 0;
    int unit = 0;  ///< index of secUnit
};
Shown_Time Time_As_Entered(double seconds);

/// Soft key of the frequency unit page: 0 to 3 are GHz, MHz, kHz and Hz; others do nothing.
void fNumBase(int key);
/// Soft key of the time unit page: 0 to 4 are ks, s, ms, us and ns; others hand on 0.
void sNumBase(int key);

/// The end of a unit page's key: its parent becomes current, the value handler of the parent's highlighted key gets the
/// value in base units with mode 2, and the typed number is emptied.
void Confirm_Entry(double value);

/// Names what is being entered and shows its present value, both English, in the chosen language.
void Show_Entry(std::string_view name, std::string_view value);
/// Draws name and number of the entry field again, after a change of the language.
void Redraw_Entry();
/// Draws the typed number with its cursor.
void Draw_Typed_Number();
/// Shows a confirmed value with its unit; precision in decimals, of which zeros at the end are left away.
void enter_numKey(double value, int precision, std::string_view unit);
/// Shows a confirmed text in the number's place.
void Show_Number(std::string_view text);

/// Blanks the number of the entry field (x 0 to 250, y 570 to 599).
void Blank_Numeric_Field();
/// Blanks the name above it as well.
void Blank_Entry();
