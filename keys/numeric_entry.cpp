#include "keys/numeric_entry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <utility>

#include "display/text.h"
#include "keys/handlers.h"
#include "keys/key_codes.h"
#include "keys/number_format.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "palette.h"
#include "records/keystate.h"

namespace {

using display::Rect;

constexpr Rect numeric_field{0, 570, 250, 30};
constexpr Rect beyond_field{250, 580, 400, 16};  ///< where numbers wider than the field, and messages, may have gone
constexpr Rect name_field{12, 554, 238, 15};
constexpr int number_size = 18, number_baseline = 594, name_size = 12;
constexpr std::int16_t number_x = 12;
constexpr int glyph_minus = 10, glyph_point = 12, glyph_letter_a = 13;
constexpr int number_spacing = 2;  ///< between glyphs, so that a minus stands off its digit
constexpr int glyph_columns = 20;
constexpr int cursor_gap = 2, cursor_width = 2, cursor_y = 580, cursor_height = 16;
constexpr double largest_frequency = 103'300'050'000.0;  ///< Hz, 103.30005 GHz: the largest that can be typed
constexpr std::string_view glyph_characters = "0123456789- .ABCDEFGHzkMdms";
static_assert(glyph_characters.size() == entry_glyphs);
constexpr std::size_t word_page = 15;  ///< of NumLink
constexpr std::uint8_t num_family = 24;

Font_Face number_face = face_regular;
std::array<char, 48> present_value{};  ///< what stood in the field before anything was typed

/// A glyph of the entry field, rendered once for all key presses.
using Number_Mask = std::array<std::uint8_t, std::size_t{glyph_columns} * numeric_field.height>;
std::array<Number_Mask, entry_glyphs> number_masks{};

struct Kept_Text {
    std::array<char, 64> characters{};
    std::size_t length = 0;
    void Keep(std::string_view text) { length = text.copy(characters.data(), characters.size()); }
    std::string_view View() const { return {characters.data(), length}; }
};
/// What the entry field shows, in English.
Kept_Text shown_name, shown_number;

bool Minus_On() { return AllKeyVar.sign == 1; }

/// Text in the spacing of typed numbers.
void Draw_Number_Text(std::string_view text) {
    display::Clear(fbOsd0, numeric_field);
    shown_number.Keep(text);
    std::array<char, 96> buffer;
    text = Translated_Value(text, buffer);
    const int x = allNumData[entry_field_start], spacing = std::exchange(wordspace, number_spacing);
    display::Draw_Field(fbOsd0, {x, numeric_field.y, numeric_field.width - x, numeric_field.height},
                        number_baseline - numeric_field.y, text,
                        {number_face, number_size, display::palette::trace_a, display::palette::bar});
    wordspace = spacing;
}

/// Draws a typed glyph and returns where the next one stands.
int Draw_Glyph(Drawn_Glyph drawn) {
    const auto glyph = static_cast<std::size_t>(drawn.glyph);
    const int end = drawn.x + allNumData[glyph];
    draw_bitmap(number_masks[glyph], display::palette::trace_a, display::palette::bar, drawn.x, numeric_field.y,
                glyph_columns, numeric_field.height, fbOsd0, std::min(end, numeric_field.width) - 1);
    return end;
}

void Draw_Entry_Name() {
    display::Draw_Field(fbOsd0, name_field, 12, Translated(shown_name.View()),
                        {face_regular, name_size, display::palette::label, display::palette::bar});
}

void Empty_Number(std::uint8_t clear) {
    AllKeyVar.digit.fill(key_idle);
    AllKeyVar.count = 0;
    AllKeyVar.unit_group = AllKeyVar.sign = key_idle;
    AllKeyVar.point = no_point;
    AllKeyVar.right = AllKeyVar.left = AllKeyVar.up = AllKeyVar.down = 0;
    AllKeyVar.clear = clear;
    numberIndex = 0;
    drawNumberVal.count = 0;
}

void Append(std::int16_t glyph) {
    auto& drawn = drawNumberVal;
    if (drawn.count == static_cast<int>(drawn.glyph.size())) return;
    std::int16_t x = allNumData[entry_field_start];
    if (drawn.count > 0) {
        const Drawn_Glyph& last = drawn.glyph[static_cast<std::size_t>(drawn.count - 1)];
        x = static_cast<std::int16_t>(last.x + allNumData[static_cast<std::size_t>(last.glyph)]);
    }
    drawn.glyph[static_cast<std::size_t>(drawn.count++)] = {glyph, x};
}

/// What the digits of AllKeyVar are now.
enum class Typing { number, dotted, word };

Typing Kind_Of_Typing() {
    const Menu_Page& page = Current_Page();
    if (&page == &NumLink[word_page]) return Typing::word;
    return page.parent == &SysLink[11] && page.parent->highlight <= 2 ? Typing::dotted : Typing::number;
}

int Most_Characters(Typing typing) {
    constexpr int dotted_characters = 15;
    return typing == Typing::number ? typed_digits : typing == Typing::dotted ? dotted_characters : typed_characters;
}

std::int16_t Glyph_Of(std::uint8_t character) {
    if (character == '.') return glyph_point;
    if (character >= 'A' && character <= 'F') return static_cast<std::int16_t>(character - 'A' + glyph_letter_a);
    return static_cast<std::int16_t>((character - '0') % 10);
}

/// The drawn characters as they follow from sign, digits and point; the cursor stands behind them.
void Lay_Out_Number() {
    drawNumberVal.count = 0;
    if (Minus_On()) Append(glyph_minus);
    for (int i = 0; i <= AllKeyVar.count; ++i) {
        if (i == AllKeyVar.point) Append(glyph_point);
        if (i < AllKeyVar.count) Append(Glyph_Of(AllKeyVar.digit[static_cast<std::size_t>(i)]));
    }
    numberIndex = drawNumberVal.count - (Minus_On() ? 1 : 0);
}

void Type_Minus() {
    if (FLAG_BLOCK_MINUS_KEY) return;
    AllKeyVar.sign = Minus_On() ? key_idle : 1;
}

void Type_Character(std::uint8_t character, Typing typing) {
    if (AllKeyVar.count < Most_Characters(typing)) AllKeyVar.digit[AllKeyVar.count++] = character;
}

void Type_Digit(std::uint8_t digit, Typing typing) {
    const bool leading_zero = typing != Typing::word && AllKeyVar.count == 1 && AllKeyVar.digit[0] == '0' &&
                              AllKeyVar.point == no_point;
    if (leading_zero) {
        AllKeyVar.digit[0] = digit;
    } else {
        Type_Character(digit, typing);
    }
}

void Type_Point(Typing typing) {
    if (typing == Typing::word) return;
    if (AllKeyVar.point != no_point || AllKeyVar.count >= Most_Characters(typing)) return;
    if (AllKeyVar.count == 0) Type_Character('0', typing);
    if (typing == Typing::dotted) return Type_Character('.', typing);
    AllKeyVar.point = AllKeyVar.count;
}

/// True where there was nothing left to take and the unit page closes.
bool Type_Backspace() {
    if (AllKeyVar.count == 0 && AllKeyVar.point == no_point) {
        if (!Minus_On()) return true;
        AllKeyVar.sign = key_idle;
    } else if (AllKeyVar.point == AllKeyVar.count) {
        AllKeyVar.point = no_point;
    } else {
        AllKeyVar.digit[--AllKeyVar.count] = key_idle;
    }
    return false;
}

void Draw_What_Is_Typed() {
    Lay_Out_Number();
    Draw_Typed_Number();
}

/// A step of the highlighted key's own parameter: mode 1 arrows, 0 knob.
void Step(std::uint16_t& counter, std::uint16_t steps, int mode) {
    const Menu_Page& page = Current_Page();
    if (page.highlight >= soft_keys || !page.value_handler[page.highlight]) return;
    counter = steps;
    page.value_handler[page.highlight](mode, 0);
    counter = 0;
}

void Step_Key(std::int32_t code) {
    auto arrow = [](std::uint16_t& counter) { Step(counter, static_cast<std::uint16_t>(counter + 1), 1); };
    switch (code) {
        case key_right: return arrow(AllKeyVar.right);
        case key_left: return arrow(AllKeyVar.left);
        case key_up: return arrow(AllKeyVar.up);
        case key_down: return arrow(AllKeyVar.down);
        default: break;
    }
    if (code >= key_knob_left_first && code <= key_knob_left_last) {
        Step(AllKeyVar.left, static_cast<std::uint16_t>(code - key_knob_left_first + 1), 0);
    } else if (code >= key_knob_right_first && code <= key_knob_right_last) {
        Step(AllKeyVar.right, static_cast<std::uint16_t>(code - key_knob_right_first + 1), 0);
    }
}

/// An entry given up: the page below its unit page with the value that it had.
void Leave_Unchanged() {
    NUM2init();
    Draw_Number_Text(present_value.data());
}

constexpr std::array<double, 13> power_of_ten{1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12};

double Power_Of_Ten(int exponent) {
    return power_of_ten[static_cast<std::size_t>(std::clamp(exponent, 0, static_cast<int>(power_of_ten.size()) - 1))];
}

/// The typed digits with their point. Exact as the decimal text of them is, since twelve digits are a whole double.
double Typed_Magnitude() {
    double digits = 0;
    for (int i = 0; i < AllKeyVar.count; ++i) {
        const std::uint8_t digit = AllKeyVar.digit[static_cast<std::size_t>(i)];
        if (digit >= '0' && digit <= '9') digits = digits * 10 + (digit - '0');
    }
    return digits / Power_Of_Ten(Typed_Decimals());
}

double With_Sign(double magnitude) { return Minus_On() && magnitude > 0 ? -magnitude : magnitude; }

/// Makes the page below a unit page current again, its highlighted key marked.
void Close_Unit_Page(Menu_Page& unit_page) {
    unit_page.highlight = no_highlight;
    keylink.store(unit_page.parent, std::memory_order_release);
    hardware_key(*unit_page.parent, false, fbVid0);
}

}  // namespace

void numKey_init(int set, int face) {
    if (set != 0) return;  // the other sets belong to the power meter's and the demodulators' readouts
    number_face = face == face_bold ? face_bold : face == face_seven_segment ? face_seven_segment : face_regular;
    for (std::size_t i = 0; i < entry_glyphs; ++i) {
        const std::uint32_t character = static_cast<std::uint8_t>(glyph_characters[i]);
        int width = 0;
        number_masks[i].fill(0);
        wchar_box({&character, 1}, 0, number_baseline - numeric_field.y, number_size, number_masks[i], glyph_columns,
                  &width, display::Face_Handle(number_face), number_spacing);
        allNumData[i] = static_cast<std::int16_t>(std::min(width, glyph_columns));
    }
    allNumData[entry_field_start] = number_x;
}

void clean_keybuffer() { Empty_Number(1); }

void keyvarecover() { Empty_Number(key_idle); }

void NUM2init() {
    clean_keybuffer();
    Blank_Numeric_Field();
    if (!keylink.load()) return;
    Menu_Page& page = Current_Page();
    if (page.family == num_family && page.parent) Close_Unit_Page(page);
}

int Pending_Steps() {
    const int up = std::max(AllKeyVar.up, AllKeyVar.right), down = std::max(AllKeyVar.down, AllKeyVar.left);
    return up > 0 ? up : -down;
}

void Numberkey(std::int32_t code) {
    if (code == key_minus) {
        Type_Minus();
    } else if (code == key_point) {
        Type_Point(Kind_Of_Typing());
    } else if (code >= key_digit_first && code <= key_digit_last) {
        Type_Digit(static_cast<std::uint8_t>(code), Kind_Of_Typing());
    } else if (code == key_backspace) {
        if (Type_Backspace()) return Leave_Unchanged();
    } else {
        return Step_Key(code);
    }
    Draw_What_Is_Typed();
}

void Type_Letter(char letter) {
    if (letter < 'A' || letter > 'F') return;
    if (AllKeyVar.clear == 1) keyvarecover();
    Type_Character(static_cast<std::uint8_t>(letter), Typing::word);
    Draw_What_Is_Typed();
}

double Typed_Number() { return With_Sign(Typed_Magnitude()); }

int Typed_Decimals() { return AllKeyVar.point == no_point ? 0 : std::max(AllKeyVar.count - AllKeyVar.point, 0); }

double FunitChang(int exponent) {
    double value = Typed_Magnitude() * Power_Of_Ten(exponent);
    if (value >= largest_frequency) {
        AllKeyVar.unit_group = 3;
        AllKeyVar.point = 1;
        enter_numKey(largest_frequency / 1e9, 5, freqUnit[3]);
        return largest_frequency;
    }
    const double whole = std::floor(value);
    value = With_Sign(value - whole >= 0.5 ? whole + 1 : whole);
    Formatted_Value formatted;
    freqvalue_trans(value, 0, formatted);
    const double mantissa = std::fabs(formatted.mantissa);
    AllKeyVar.unit_group = static_cast<std::uint8_t>(formatted.unit_group);
    AllKeyVar.point = mantissa < 10 ? 1 : mantissa < 100 ? 2 : 3;
    enter_numKey(formatted.mantissa, 3 * formatted.unit_group, freqUnit[AllKeyVar.unit_group]);
    return value;
}

Shown_Time Time_As_Entered(double seconds) {
    constexpr int unit_ns = 2, unit_s = 5, unit_ks = 6, smallest_group = 5;
    if (seconds >= 1000) return {1, unit_ks};
    if (seconds >= 1) return {seconds, unit_s};
    if (!(seconds > 0)) return {0, unit_ns};
    int exponent = 0;
    // A thousand that binary fractions miss by a hair is one.
    for (double scaled = seconds; scaled < 1000 * (1 - 1e-12);) {
        scaled *= 1000;
        exponent += 3;
    }
    const int group = std::clamp((exponent - 1) / 3, 1, smallest_group);
    constexpr std::array<double, 6> scale{1, 1e3, 1e6, 1e9, 1e12, 1e15};
    return {seconds * scale[static_cast<std::size_t>(group)], unit_s - group};
}

double SunitChang(int unit) {
    double seconds = Typed_Magnitude();
    switch (unit) {
        case 2: seconds /= 1e9; break;
        case 3: seconds /= 1e6; break;
        case 4: seconds /= 1e3; break;
        case 6: seconds *= 1e3; break;
        default: break;
    }
    const Shown_Time shown = Time_As_Entered(seconds);
    const int precision = shown.value >= 100 && shown.value < 1000 ? 3 : 4;
    enter_numKey(With_Sign(shown.value), precision, secUnit[static_cast<std::size_t>(shown.unit)]);
    return With_Sign(seconds);
}

void fNumBase(int key) {
    if (key < 0 || key > 3) return;
    constexpr std::array<int, 4> exponent{9, 6, 3, 0};
    AllKeyVar.unit_group = static_cast<std::uint8_t>(3 - key);
    AllKeyVar.clear = 1;
    Confirm_Entry(FunitChang(exponent[static_cast<std::size_t>(key)]));
}

void sNumBase(int key) {
    constexpr int unit_ks = 6;
    double seconds = 0;
    if (key >= 0 && key <= 4) {
        AllKeyVar.unit_group = static_cast<std::uint8_t>(unit_ks - key);
        AllKeyVar.clear = 1;
        seconds = SunitChang(unit_ks - key);
    }
    Confirm_Entry(seconds);
}

void Confirm_Entry(double value) {
    Menu_Page& unit_page = Current_Page();
    AllKeyVar.value = value;
    if (Menu_Page* page = unit_page.parent) {
        Close_Unit_Page(unit_page);
        const std::uint8_t key = page->highlight;
        if (key < soft_keys && page->value_handler[key]) page->value_handler[key](2, value);
    }
    clean_keybuffer();
}

void Show_Entry(std::string_view name, std::string_view value) {
    Blank_Entry();
    shown_name.Keep(name);
    Draw_Entry_Name();
    present_value.fill('\0');
    value.copy(present_value.data(), present_value.size() - 1);
    Draw_Number_Text(value);
}

void Redraw_Entry() {
    if (shown_name.length > 0) Draw_Entry_Name();
    const Kept_Text number = shown_number;
    if (number.length > 0) Draw_Number_Text(number.View());
}

void Draw_Typed_Number() {
    Blank_Numeric_Field();
    int end = allNumData[entry_field_start];
    for (int i = 0; i < drawNumberVal.count; ++i) end = Draw_Glyph(drawNumberVal.glyph[static_cast<std::size_t>(i)]);
    if (Current_Page().family != num_family && drawNumberVal.count == 0) return;
    display::Fill(
        fbOsd0, {std::min(end + cursor_gap, numeric_field.width - cursor_width), cursor_y, cursor_width, cursor_height},
        display::palette::trace_a);
}

void enter_numKey(double value, int precision, std::string_view unit) {
    std::array<char, 48> text{};
    const auto length = static_cast<std::size_t>(Print_Number(value, precision, true, text));
    if (!unit.empty()) {
        std::snprintf(text.data() + length, text.size() - length, " %.*s", static_cast<int>(unit.size()), unit.data());
    }
    Show_Number(text.data());
}

void Show_Number(std::string_view text) {
    display::Clear(fbOsd0, beyond_field);
    Draw_Number_Text(text);
}

void Blank_Numeric_Field() {
    shown_number.Keep({});
    display::Clear(fbOsd0, numeric_field);
}

void Blank_Entry() {
    shown_name.Keep({});
    present_value.fill('\0');
    display::Clear(fbOsd0, name_field);
    Blank_Numeric_Field();
}
