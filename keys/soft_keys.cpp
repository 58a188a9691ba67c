#include "keys/soft_keys.h"

#include <algorithm>
#include <cstring>

#include "display/draw.h"
#include "display/pictures.h"
#include "display/text.h"
#include "keys/words.h"
#include "palette.h"
#include "records/error_log.h"

namespace {

using display::Colour;
using display::Rect;

constexpr Colour label_colour{180, 180, 180}, label_ground{74, 84, 86}, title_colour{255, 255, 255};
constexpr int value_baseline = 50, choice_baseline_row = 56;
constexpr std::size_t key_bytes = static_cast<std::size_t>(label_width) * label_height * 3;

std::array<std::uint8_t, key_bytes> upBuffer, downBuffer;
const Frame_Descriptor* column_layer = nullptr;

int Key_Y(int key) { return soft_key_y + soft_key_pitch * key; }
Rect Key_Area(int key) { return {soft_key_x, Key_Y(key), label_width, label_height}; }

/// Body of a key without its picture: a plain plate.
void Plain_Key(std::span<std::uint8_t> picture) {
    constexpr int first_row = 7, last_row = 76;
    for (int row = 0; row < label_height; ++row) {
        for (int column = 0; column < label_width; ++column) {
            const bool body = row >= first_row && row <= last_row && column > 0 && column < label_width - 1;
            std::uint8_t* pixel = picture.data() + (row * label_width + column) * 3;
            pixel[0] = body ? label_ground.red : 0;
            pixel[1] = body ? label_ground.green : 0;
            pixel[2] = body ? label_ground.blue : 0;
        }
    }
}

void Copy_Key(const std::array<std::uint8_t, key_bytes>& picture, int key, const Frame_Descriptor& layer) {
    display::Copy_Picture(layer, picture.data(), soft_key_x, Key_Y(key), label_width, label_height);
}

/// Label, value and choices over the key's picture.
void Draw_Key_Texts(const Menu_Page& page, int key, const Frame_Descriptor& layer) {
    const auto index = static_cast<std::size_t>(key);
    const bool greyed = page.disabled[index] != 0, pressed = page.highlight == key;
    const Colour colour = greyed ? display::palette::key_muted : pressed ? title_colour : label_colour;
    draw_bitmap_over({page.label[index], static_cast<std::size_t>(label_width) * label_height}, colour, soft_key_x,
                     Key_Y(key), label_width, label_height, layer);
    if (greyed || !page.face) return;
    Key_Face face;
    page.face(key, face);
    if (face.value[0]) {
        const Rect line{soft_key_x + 4, Key_Y(key) + value_baseline - 16, label_width - 8, 22};
        display::Draw_Text_Over(layer, line, 16, face.value.data(), {face_bold, 13, display::palette::value, {}},
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
    constexpr int gap = 18, margin = 6, box_height = 16;
    if (face.choice[0] < 0) return;
    int widths = gap;
    for (const int choice : face.choice) widths += select_words[static_cast<std::size_t>(choice)].Width();
    int x = soft_key_x + (label_width - widths) / 2;
    const int y = Key_Y(key) + choice_baseline_row;
    for (int i = 0; i < 2; ++i) {
        const Choice_Word& word = select_words[static_cast<std::size_t>(face.choice[static_cast<std::size_t>(i)])];
        const bool chosen = face.chosen == i;
        if (chosen) {
            display::Fill(layer, {x - margin, y, word.Width() + 2 * margin, box_height}, display::palette::trace_a);
        }
        draw_bitmap_over(word.mask, chosen ? Colour{} : label_colour, x - word.x, y, word.row_length,
                         choice_height, layer);
        x += word.Width() + gap;
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
    page.highlight = no_highlight;
    keylink.store(&page, std::memory_order_release);
    if (column_layer) hardware_key(page, true, *column_layer);
}

void Press_Soft_Key(int key, const char* family_error) {
    if (key < 0 || key >= soft_keys) return ErrorMessage(family_error);
    Menu_Page& page = Current_Page();
    if (!page.label[static_cast<std::size_t>(key)] || page.disabled[static_cast<std::size_t>(key)]) return;
    const std::uint8_t old_key = page.highlight;
    if (column_layer) software_key(old_key, static_cast<std::uint8_t>(key), false, *column_layer);
    page.layer(key);
    page.highlight = static_cast<std::uint8_t>(key);
    if (&Current_Page() != &page || !column_layer) return;
    if (old_key != no_highlight) Draw_Key(page, old_key, *column_layer);
    Draw_Key(page, key, *column_layer);
}
