#include "keys/soft_keys.h"

#include <algorithm>
#include <cstring>

#include "display/draw.h"
#include "display/pictures.h"
#include "display/text.h"
#include "keys/page_shown.h"
#include "keys/words.h"
#include "palette.h"
#include "records/error_log.h"

namespace {

using display::Colour;
using display::Rect;

constexpr Colour label_colour{180, 180, 180}, label_ground{74, 84, 86}, title_colour{255, 255, 255};
constexpr int value_baseline = 50, value_size = 13, smallest_value_size = 10;
constexpr int choice_row = 56, choice_row_without_value = 46, choice_box_height = 16;
constexpr int first_body_row = 7, body_rows = 70;  // of a key; the rows around are its neighbours' and the title's
constexpr int mark_inset = 8, mark_top = 26, mark_width = 4, mark_height = 32;
constexpr int choice_room = label_width - 12, choice_margin = 6, widest_gap = 18, narrowest_gap = 8;
constexpr std::size_t key_bytes = static_cast<std::size_t>(label_width) * label_height * 3;

std::array<std::uint8_t, key_bytes> upBuffer, downBuffer;
const Frame_Descriptor* column_layer = nullptr;

int Key_Y(int key) { return soft_key_y + soft_key_pitch * key; }
Rect Key_Area(int key) { return {soft_key_x, Key_Y(key), label_width, label_height}; }

/// Body of a key without its picture: a plain plate.
void Plain_Key(std::span<std::uint8_t> picture) {
    for (int row = 0; row < label_height; ++row) {
        for (int column = 0; column < label_width; ++column) {
            const bool body_row = row >= first_body_row && row < first_body_row + body_rows;
            const bool body = body_row && column > 0 && column < label_width - 1;
            std::uint8_t* pixel = picture.data() + (row * label_width + column) * 3;
            pixel[0] = body ? label_ground.red : 0;
            pixel[1] = body ? label_ground.green : 0;
            pixel[2] = body ? label_ground.blue : 0;
        }
    }
}

void Copy_Key(const std::array<std::uint8_t, key_bytes>& picture, int key, const Frame_Descriptor& layer) {
    constexpr std::size_t above = static_cast<std::size_t>(label_width) * first_body_row * 3;
    display::Copy_Picture(layer, picture.data() + above, soft_key_x, Key_Y(key) + first_body_row, label_width,
                          body_rows);
}

struct Choice_Place {
    int x, y, margin;  ///< where the word's text starts, and what its mark goes beyond it
};

void Draw_Choice(const Choice_Word& word, bool chosen, bool greyed, Choice_Place at, const Frame_Descriptor& layer) {
    if (chosen) {
        const Rect mark{at.x - at.margin, at.y, word.Width() + 2 * at.margin, choice_box_height};
        display::Fill(layer, mark, greyed ? display::palette::key_down : display::palette::trace_a);
    }
    const Colour colour = greyed ? display::palette::key_muted : chosen ? Colour{} : label_colour;
    draw_bitmap_over(word.mask, colour, at.x - word.x, at.y, word.row_length, choice_height, layer);
}

/// The chosen one of choices that do not stand side by side, between the arrows of a ring.
template <class Word>
void Draw_One_Choice(const Key_Face& face, const Word& word, int count, int y, const Frame_Descriptor& layer) {
    if (face.chosen < 0 || face.chosen >= count) return;
    constexpr int arrow_width = 12, arrow_edge = 8;
    const Choice_Word& chosen = word(face.chosen);
    Draw_Choice(chosen, true, face.greyed, {soft_key_x + (label_width - chosen.Width()) / 2, y, choice_margin}, layer);
    const display::Text_Style style{face_bold, 14, face.greyed ? display::palette::key_muted : label_colour, {}};
    const Rect left{soft_key_x + arrow_edge, y, arrow_width, choice_box_height};
    Rect right = left;
    right.x = soft_key_x + label_width - arrow_edge - arrow_width;
    display::Draw_Text_Over(layer, left, 13, "\u2039", style, display::Align::left);
    display::Draw_Text_Over(layer, right, 13, "\u203a", style, display::Align::right);
}

/// Label, value and choices over the key's picture.
void Draw_Key_Texts(const Menu_Page& page, int key, const Frame_Descriptor& layer) {
    const auto index = static_cast<std::size_t>(key);
    const bool greyed = Greyed_Out(page, key), pressed = page.highlight == key;
    const Colour colour = greyed ? display::palette::key_muted : pressed ? title_colour : label_colour;
    draw_bitmap_over({page.label[index], static_cast<std::size_t>(label_width) * label_height}, colour, soft_key_x,
                     Key_Y(key), label_width, label_height, layer);
    if (!page.face) return;
    Key_Face face;
    page.face(key, face);
    face.greyed = greyed;
    if (face.in_force) {
        display::Fill(layer, {soft_key_x + mark_inset, Key_Y(key) + mark_top, mark_width, mark_height},
                      greyed ? display::palette::key_muted : display::palette::trace_a);
    }
    if (face.value[0]) {
        const Rect line{soft_key_x + 4, Key_Y(key) + value_baseline - 16, label_width - 8, 22};
        std::array<char, 64> buffer;
        const std::string_view value = Translated_Value(face.value.data(), buffer);
        const int size = display::Fitting_Size(value, face_bold, value_size, smallest_value_size, line.width);
        const Colour value_colour = greyed ? display::palette::key_muted : display::palette::value;
        display::Draw_Text_Over(layer, line, 16, value, {face_bold, size, value_colour, {}},
                                display::Align::centre);
    }
    bottom_string(key, face, layer);
}

void Draw_Key(const Menu_Page& page, int key, const Frame_Descriptor& layer) {
    if (!page.label[static_cast<std::size_t>(key)]) {
        display::Clear(layer, Key_Area(key));
        return;
    }
    Copy_Key(page.highlight == key ? downBuffer : upBuffer, key, layer);
    Draw_Key_Texts(page, key, layer);
}

/// On a page of choices the key in force is highlighted, elsewhere the given one.
std::uint8_t Key_In_Force(const Menu_Page& page, std::uint8_t other) {
    if (!page.chosen) return other;
    const int key = page.chosen();
    return key >= 0 && key < soft_keys ? static_cast<std::uint8_t>(key) : no_highlight;
}

}  // namespace

void bottom_init(const Frame_Descriptor& layer) {
    column_layer = &layer;
    if (!Load_Picture("key_off.jpg", label_width, label_height, upBuffer)) Plain_Key(upBuffer);
    if (!Load_Picture("key_on.jpg", label_width, label_height, downBuffer)) Plain_Key(downBuffer);
}

void hardware_key(const Menu_Page& page, bool draw_title, const Frame_Descriptor& layer) {
    for (int key = 0; key < soft_keys; ++key) Draw_Key(page, key, layer);
    if (!draw_title) return;
    const Rect title{soft_key_x, 0, label_width, title_height};
    if (!page.title) return display::Clear(layer, title);
    draw_bitmap({page.title, static_cast<std::size_t>(label_width) * title_height}, title_colour, {}, title.x, title.y,
                title.width, title.height, layer, title.x + title.width - 1);
}

void software_key(std::uint8_t old_key, std::uint8_t new_key, bool force, const Frame_Descriptor& layer) {
    if (old_key == new_key && !force) return;
    if (old_key != no_highlight) Copy_Key(upBuffer, old_key % soft_keys, layer);
    if (new_key != no_highlight) Copy_Key(downBuffer, new_key % soft_keys, layer);
}

void keyon_bottom(int key) {
    if (column_layer) Draw_Key_Texts(Current_Page(), key, *column_layer);
}

void bottom_turnon(int key) {
    Menu_Page& page = Current_Page();
    page.disabled[static_cast<std::size_t>(key)] = 0;
    if (column_layer) Draw_Key(page, key, *column_layer);
}

void bottom_turnoff(int key) {
    Menu_Page& page = Current_Page();
    page.disabled[static_cast<std::size_t>(key)] = 1;
    if (column_layer) Draw_Key(page, key, *column_layer);
}

void bottom_string(int key, const Key_Face& face, const Frame_Descriptor& layer) {
    const auto word = [&](int index) -> const Choice_Word& {
        return select_words[static_cast<std::size_t>(face.choice[static_cast<std::size_t>(index)])];
    };
    int count = 0, widths = 0;
    while (count < static_cast<int>(most_choices) && face.choice[static_cast<std::size_t>(count)] >= 0 &&
           face.choice[static_cast<std::size_t>(count)] < keys::select_count) {
        widths += word(count++).Width();
    }
    if (count == 0) return;
    const int y = Key_Y(key) + (face.value[0] ? choice_row : choice_row_without_value);
    const int gap = std::min((choice_room - widths) / count, widest_gap);
    if (gap < narrowest_gap) return Draw_One_Choice(face, word, count, y, layer);
    int x = soft_key_x + (label_width - widths - gap * (count - 1)) / 2;
    const int margin = std::min(choice_margin, gap / 2);
    for (int i = 0; i < count; ++i) {
        Draw_Choice(word(i), face.chosen == i, face.greyed, {x, y, margin}, layer);
        x += word(i).Width() + gap;
    }
}

void Redraw_Keys() {
    if (!column_layer || !keylink.load()) return;
    const Menu_Page& page = Current_Page();
    for (int key = 0; key < soft_keys; ++key) {
        if (page.label[static_cast<std::size_t>(key)]) Draw_Key(page, key, *column_layer);
    }
}

void Show_Page(Menu_Page& page) {
    page.highlight = Key_In_Force(page, no_highlight);
    keylink.store(&page, std::memory_order_release);
    if (column_layer) hardware_key(page, true, *column_layer);
    Page_Shown(page);
}

void Press_Soft_Key(int key, const char* family_error) {
    if (key < 0 || key >= soft_keys) return ErrorMessage(family_error);
    Menu_Page& page = Current_Page();
    if (!page.label[static_cast<std::size_t>(key)] || Greyed_Out(page, key)) return;
    const std::uint8_t old_key = page.highlight;
    if (column_layer) software_key(old_key, static_cast<std::uint8_t>(key), false, *column_layer);
    page.layer(key);
    page.highlight = Key_In_Force(page, static_cast<std::uint8_t>(key));
    if (&Current_Page() != &page || !column_layer) return;
    if (old_key != no_highlight) Draw_Key(page, old_key, *column_layer);
    Draw_Key(page, key, *column_layer);
}
