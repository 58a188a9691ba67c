#pragma once
#include <array>
#include <cstdint>
#include <string_view>

/// The line editor of names and passwords: digits come from the number pad, letters from the knob.

constexpr int longest_name = 32;

struct Name_Text {
    std::array<char, longest_name + 1> text{};  ///< ends with a zero
    int length = 0;
    int cursor = 0;  ///< 0 to length
    bool lower_case = false;
};
inline Name_Text Typed_Name;

void Start_Name(std::string_view text);  ///< the cursor stands at its end; longer texts are cut
std::string_view Name_Typed();

void Turn_Letter(int steps);  ///< changes the character at the cursor; at the end a new one is begun
void Move_Cursor(int steps);
void Delete_Letter();         ///< at the cursor, or before it at the end
void Change_Case();

/// Codes of the number pad (digits, point, minus, backspace) while a name is typed: of a file; of a state or the web
/// password; of a pattern; of a synchronisation word, which takes digits alone.
void FileRenameNumber(std::int32_t code);
void SaveRenameNumber(std::int32_t code);
void FskRenameNumber(std::int32_t code);
void SyncRenameNumber(std::int32_t code);

/// What the areas above do when Enter ends their entry. Null: the area has no such entry.
struct Enter_Work_Table {
    void (*file_name)() = nullptr;      ///< SaveFileRenamejude and FileRenameEnter; the file page is shown after it
    void (*state_name)() = nullptr;     ///< the save page is shown after it
    void (*ctb_setting)() = nullptr;
    void (*limit_point)() = nullptr;
    void (*sequence)() = nullptr;       ///< Set_sequence
    void (*usb_directory)() = nullptr;  ///< takes the directory that was chosen as the current path, where one was
};
inline Enter_Work_Table Enter_Work;
