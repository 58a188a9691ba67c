#include "keys/name_entry.h"

#include <algorithm>
#include <cstring>

#include "keys/key_codes.h"

namespace {

constexpr std::string_view capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
constexpr std::string_view small = "abcdefghijklmnopqrstuvwxyz0123456789-_.";

void Insert(char character) {
    Name_Text& name = Typed_Name;
    if (name.length >= longest_name) return;
    char* place = name.text.data() + name.cursor;
    std::memmove(place + 1, place, static_cast<std::size_t>(name.length - name.cursor + 1));
    *place = character;
    ++name.length;
    ++name.cursor;
}

bool Is_Digit(std::int32_t code) { return code >= key_digit_first && code <= key_digit_last; }

void Type(std::int32_t code, bool digits_alone) {
    if (code == key_backspace) {
        if (Typed_Name.cursor > 0) {
            --Typed_Name.cursor;
            Delete_Letter();
        }
    } else if (Is_Digit(code) || (!digits_alone && (code == key_point || code == key_minus))) {
        Insert(static_cast<char>(code));
    }
}

}  // namespace

void Start_Name(std::string_view text) {
    Typed_Name = {};
    for (const char character : text) Insert(character);
}

std::string_view Name_Typed() { return {Typed_Name.text.data(), static_cast<std::size_t>(Typed_Name.length)}; }

void Turn_Letter(int steps) {
    const std::string_view set = Typed_Name.lower_case ? small : capitals;
    const int count = static_cast<int>(set.size());
    int at = steps > 0 ? -1 : 0;
    if (Typed_Name.cursor == Typed_Name.length) {
        if (Typed_Name.length == longest_name) return;
        Insert(set[0]);
        --Typed_Name.cursor;
    } else {
        const auto found = set.find(Typed_Name.text[static_cast<std::size_t>(Typed_Name.cursor)]);
        if (found != std::string_view::npos) at = static_cast<int>(found);
    }
    const int next = ((at + steps) % count + count) % count;
    Typed_Name.text[static_cast<std::size_t>(Typed_Name.cursor)] = set[static_cast<std::size_t>(next)];
}

void Move_Cursor(int steps) { Typed_Name.cursor = std::clamp(Typed_Name.cursor + steps, 0, Typed_Name.length); }

void Delete_Letter() {
    Name_Text& name = Typed_Name;
    if (name.length == 0) return;
    if (name.cursor == name.length) --name.cursor;
    char* place = name.text.data() + name.cursor;
    std::memmove(place, place + 1, static_cast<std::size_t>(name.length - name.cursor));
    --name.length;
}

void Change_Case() { Typed_Name.lower_case = !Typed_Name.lower_case; }

void FileRenameNumber(std::int32_t code) { Type(code, false); }
void SaveRenameNumber(std::int32_t code) { Type(code, false); }
void FskRenameNumber(std::int32_t code) { Type(code, false); }
void SyncRenameNumber(std::int32_t code) { Type(code, true); }
