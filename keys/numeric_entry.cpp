#include "keys/numeric_entry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

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
constexpr Rect name_field{12, 554, 238, 15};
constexpr int number_size = 18, number_baseline = 594, name_size = 12;
constexpr std::int16_t number_x = 12;
constexpr int glyph_minus = 10, glyph_point = 12;
constexpr double largest_frequency = 103'300'050'000.0;  ///< Hz, 103.30005 GHz: the largest that can be typed
constexpr std::string_view glyph_characters = "0123456789- .GHzkMdBmuVWsnpf%";

Font_Face number_face = face_regular;

display::Text_Style Number_Style() {
    return {number_face, number_size, display::palette::trace_a, display::palette::bar};
}

struct Kept_Text {
    std::array<char, 64> characters{};
    std::size_t length = 0;
    void Keep(std::string_view text) { length = text.copy(characters.data(), characters.size()); }
    std::string_view View() const { return {characters.data(), length}; }
};
/// What the entry field shows, in English.
Kept_Text shown_name, shown_number;
bool shown_cursor = false;

bool Minus_On() { return AllKeyVar.sign == 1; }

void Draw_Number_Text(std::string_view text, bool cursor) {
    display::Clear(fbOsd0, numeric_field);
    shown_number.Keep(text);
    shown_cursor = cursor;
    std::array<char, 96> buffer;
    text = Translated_Value(text, buffer);
    const int x = allNumData[entry_field_start];
    display::Draw_Field(fbOsd0, {x, numeric_field.y, numeric_field.width - x, numeric_field.height},
                        number_baseline - numeric_field.y, text, Number_Style());
    if (!cursor) return;
    const int end = x + display::Text_Width(text, number_face, number_size) + 4;
    display::Fill(fbOsd0, {std::min(end, numeric_field.width - 2), number_baseline - 15, 2, 18},
                  display::palette::trace_a);
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

/// The drawn characters as they follow from sign, digits and point; the cursor stands behind them.
void Lay_Out_Number() {
    drawNumberVal.count = 0;
    if (Minus_On()) Append(glyph_minus);
    for (int i = 0; i <= AllKeyVar.count; ++i) {
        if (i == AllKeyVar.point) Append(glyph_point);
        if (i < AllKeyVar.count) Append(static_cast<std::int16_t>(AllKeyVar.digit[static_cast<std::size_t>(i)] - '0'));
    }
    numberIndex = drawNumberVal.count;
}

void Type_Minus() {
    if (FLAG_BLOCK_MINUS_KEY) return;
    AllKeyVar.sign = Minus_On() ? key_idle : 1;
}

void Type_Digit(std::uint8_t digit) {
    if (AllKeyVar.count >= typed_digits) return;
    const bool leading_zero = AllKeyVar.count == 1 && AllKeyVar.digit[0] == '0' && AllKeyVar.point == no_point;
    if (leading_zero) {
        AllKeyVar.digit[0] = digit;
        return;
    }
    AllKeyVar.digit[AllKeyVar.count++] = digit;
}

void Type_Point() {
    if (AllKeyVar.point != no_point || AllKeyVar.count >= typed_digits) return;
    if (AllKeyVar.count == 0) Type_Digit('0');
    AllKeyVar.point = AllKeyVar.count;
}

void Type_Backspace() {
    if (AllKeyVar.count == 0 && AllKeyVar.point == no_point) {
        if (Minus_On()) {
            AllKeyVar.sign = key_idle;
        } else if (Current_Page().family == 24 && Current_Page().parent) {
            NUM2init();
        }
    } else if (AllKeyVar.point == AllKeyVar.count) {
        AllKeyVar.point = no_point;
    } else {
        AllKeyVar.digit[--AllKeyVar.count] = key_idle;
    }
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

/// The typed digits with their point, times ten to the exponent.
double Typed_Value(int exponent) {
    std::array<char, typed_digits + 2> text{};
    std::size_t length = 0;
    for (int i = 0; i < AllKeyVar.count; ++i) {
        if (i == AllKeyVar.point) text[length++] = '.';
        text[length++] = static_cast<char>(AllKeyVar.digit[static_cast<std::size_t>(i)]);
    }
    constexpr std::array<double, 10> power{1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
    return std::atof(text.data()) * power[static_cast<std::size_t>(std::clamp(exponent, 0, 9))];
}

void Return_From_Unit_Page(double value) {
    Menu_Page& unit_page = Current_Page();
    unit_page.highlight = no_highlight;
    AllKeyVar.value = value;
    Menu_Page* page = unit_page.parent;
    if (!page) return;
    keylink.store(page, std::memory_order_release);
    hardware_key(*page, true, fbVid0);
    if (page->highlight < soft_keys && page->value_handler[page->highlight]) page->value_handler[page->highlight](2, value);
}

}  // namespace

void numKey_init(int set, int face) {
    if (set != 0) return;  // the other sets belong to the power meter's and the demodulators' readouts
    number_face = face == face_bold ? face_bold : face == face_seven_segment ? face_seven_segment : face_regular;
    for (std::size_t i = 0; i < entry_glyphs; ++i) {
        const int width = display::Text_Width(glyph_characters.substr(i, 1), number_face, number_size);
        allNumData[i] = static_cast<std::int16_t>(width + wordspace);
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
    if (page.family != 24 || !page.parent) return;
    page.highlight = no_highlight;
    keylink.store(page.parent, std::memory_order_release);
    hardware_key(*page.parent, true, fbVid0);
}

int Pending_Steps() {
    const int up = std::max(AllKeyVar.up, AllKeyVar.right), down = std::max(AllKeyVar.down, AllKeyVar.left);
    return up > 0 ? up : -down;
}

void Numberkey(std::int32_t code) {
    if (code == key_minus) {
        Type_Minus();
    } else if (code == key_point) {
        Type_Point();
    } else if (code >= key_digit_first && code <= key_digit_last) {
        Type_Digit(static_cast<std::uint8_t>(code));
    } else if (code == key_backspace) {
        Type_Backspace();
    } else {
        return Step_Key(code);
    }
    Lay_Out_Number();
    Draw_Typed_Number();
}

double FunitChang(int exponent) {
    double value = Typed_Value(exponent);
    if (value >= largest_frequency) {
        AllKeyVar.unit_group = 3;
        AllKeyVar.point = 1;
        enter_numKey(largest_frequency / 1e9, 5, freqUnit[3]);
        return largest_frequency;
    }
    const double whole = std::floor(value);
    value = value - whole >= 0.5 ? whole + 1 : whole;
    if (Minus_On()) value = -value;
    Formatted_Value formatted;
    freqvalue_trans(value, 0, formatted);
    const double mantissa = std::fabs(formatted.mantissa);
    AllKeyVar.unit_group = static_cast<std::uint8_t>(formatted.unit_group);
    AllKeyVar.point = mantissa < 10 ? 1 : mantissa < 100 ? 2 : 3;
    enter_numKey(formatted.mantissa, 3 * formatted.unit_group, freqUnit[AllKeyVar.unit_group]);
    return value;
}

void fNumBase(int key) {
    if (key < 0 || key > 3) return;
    constexpr std::array<int, 4> exponent{9, 6, 3, 0};
    AllKeyVar.unit_group = static_cast<std::uint8_t>(3 - key);
    AllKeyVar.clear = 1;
    const double value = FunitChang(exponent[static_cast<std::size_t>(key)]);
    Return_From_Unit_Page(value);
    clean_keybuffer();
}

void Show_Entry(std::string_view name, std::string_view value) {
    Blank_Entry();
    shown_name.Keep(name);
    Draw_Entry_Name();
    Draw_Number_Text(value, false);
}

void Redraw_Entry() {
    if (shown_name.length > 0) Draw_Entry_Name();
    const Kept_Text number = shown_number;
    if (number.length > 0) Draw_Number_Text(number.View(), shown_cursor);
}

void Draw_Typed_Number() {
    std::array<char, 24> text{};
    for (int i = 0; i < drawNumberVal.count; ++i) {
        const auto glyph = static_cast<std::size_t>(drawNumberVal.glyph[static_cast<std::size_t>(i)].glyph);
        text[static_cast<std::size_t>(i)] = glyph_characters[glyph];
    }
    Draw_Number_Text(text.data(), Current_Page().family == 24 || drawNumberVal.count > 0);
}

void enter_numKey(double value, int precision, std::string_view unit) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%.*f", precision, value);
    std::string shown = text.data();
    if (shown.find('.') != std::string::npos) shown.erase(shown.find_last_not_of('0') + 1);
    if (!shown.empty() && shown.back() == '.') shown.pop_back();
    Draw_Number_Text(shown + ' ' + std::string(unit), false);
}

void Blank_Numeric_Field() {
    shown_number.Keep({});
    display::Clear(fbOsd0, numeric_field);
}

void Blank_Entry() {
    shown_name.Keep({});
    display::Clear(fbOsd0, name_field);
    Blank_Numeric_Field();
}
