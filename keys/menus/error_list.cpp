#include "keys/menus/error_list.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <mutex>
#include <string>

#include "display/text.h"
#include "keys/information_screen.h"
#include "keys/words.h"
#include "palette.h"
#include "records/trace.h"
#include "scpi/error_queue.h"

namespace {

namespace palette = display::palette;
using display::Rect;

enum Error_List_Key { previous_key, next_key, clear_key };

constexpr int page_entries = 20, line_height = 21, baseline = 15;
constexpr int number_width = 26, stamp_width = 143, code_width = 38, margin = 6;

int page = 0;

struct Entry {
    int code = 0;
    std::array<char, error_text_size> text{};
    std::array<char, error_stamp_size> stamp{};
};

int Entries() {
    const std::lock_guard guard(scpi_context.status_lock);
    return scpi_context.errors ? scpi_context.errors->count : 0;
}

int Pages(int entries) { return std::max(1, (entries + page_entries - 1) / page_entries); }

Entry Read_Entry(int line) {
    const std::lock_guard guard(scpi_context.status_lock);
    const Error_Queue& queue = *scpi_context.errors;
    const auto place = static_cast<std::size_t>((SCPI_ErrorPageIndex(scpi_context, page) + line) % queue.capacity);
    return {queue.code[place], queue.text[place], queue.stamp[place]};
}

/// The blanks between the words of a message are many; one of them is enough to read.
void Close_Up(std::array<char, error_text_size>& text) {
    const auto both_blank = [](char a, char b) { return a == ' ' && b == ' '; };
    const auto end = std::find(text.begin(), text.end(), '\0');
    std::fill(std::unique(text.begin(), end, both_blank), end, '\0');
    std::replace_if(text.begin(), end, [](char c) { return c != '\0' && (c < ' ' || c > '~'); }, '.');
    text.back() = '\0';
}

void Write(int line, int x, int width, const char* text, display::Colour colour, Font_Face face = face_regular) {
    const int top = ScreenInf.top + 4 + line * line_height;
    display::Draw_Field(fbVid0, {ScreenInf.left + x, top, width, line_height}, baseline, text,
                        {face, face == face_bold ? 12 : 11, colour, palette::ground});
}

void Draw_Heading(int entries) {
    constexpr const char* gap = "     ";
    std::string text(Translated("Error list"));
    if (entries == 0) {
        text.append(gap).append(Translated("no error"));
    } else {
        text.append(gap).append(std::to_string(entries)).append(" ").append(
            Translated(entries == 1 ? "entry" : "entries"));
        text.append(gap).append(Translated("page")).append(" ").append(std::to_string(page + 1)).append(" ");
        text.append(Translated("of")).append(" ").append(std::to_string(Pages(entries)));
    }
    Write(0, margin, ScreenInf.points - 2 * margin, text.c_str(), palette::trace_a, face_bold);
}

void Draw_Entry(int line) {
    Entry entry = Read_Entry(line);
    Close_Up(entry.text);
    entry.stamp.back() = '\0';
    std::array<char, 16> number{}, code{};
    std::snprintf(number.data(), number.size(), "%d", page * page_entries + line + 1);
    std::snprintf(code.data(), code.size(), "%d", entry.code);
    int x = margin;
    Write(line + 1, x, number_width, number.data(), palette::muted);
    x += number_width;
    Write(line + 1, x, stamp_width, entry.stamp.data(), palette::label);
    x += stamp_width;
    Write(line + 1, x, code_width, code.data(), palette::value);
    x += code_width;
    Write(line + 1, x, ScreenInf.points - x - margin, entry.text.data(), palette::value);
}

void Draw_List() {
    if (!fbVid0.memory) return;
    const Rect area{ScreenInf.left, ScreenInf.top, ScreenInf.points, ScreenInf.height};
    const int entries = Entries();
    page = std::clamp(page, 0, Pages(entries) - 1);
    display::Fill(fbVid0, area, palette::ground);
    display::Frame(fbVid0, area, palette::frame);
    Draw_Heading(entries);
    for (int line = 0; line < std::min(page_entries, entries - page * page_entries); ++line) Draw_Entry(line);
}

}  // namespace

void menus::Open_Error_List() {
    Enter_Information_Screen();
    page = 0;
    Draw_List();
}

void menus::Press_Error_List(int key) {
    switch (key) {
        case previous_key: --page; break;
        case next_key: ++page; break;
        case clear_key: SCPI_ErrorClear(scpi_context); break;
        default: return;
    }
    Enter_Information_Screen();  // again, where a remote command has left it
    Draw_List();
}
