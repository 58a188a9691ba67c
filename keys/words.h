#pragma once
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "words_order.h"

/// Menu texts, rendered once into masks from the word-list file of the chosen language.

constexpr int label_width = 142, label_height = 84, category_height = 15, choice_height = 24;
constexpr int most_choice_characters = 32;

using Label_Mask = std::array<std::uint8_t, label_width * label_height>;
using Category_Mask = std::array<std::uint8_t, label_width * category_height>;

/// A choice inside a soft key: its bitmap, where its text starts, and where each character starts and the text ends.
struct Choice_Word {
    std::array<std::uint8_t, label_width * choice_height> mask{};
    int row_length = label_width;
    int x = 0, y = 0;
    std::array<std::int16_t, most_choice_characters + 1> position{};
    int characters = 0;
    int Width() const { return position[static_cast<std::size_t>(characters)] - x; }
};

inline std::array<Label_Mask, keys::en_count> en_words{};
inline std::array<Choice_Word, keys::select_count> select_words{};
inline std::array<Category_Mask, keys::cat_count> cat_words{};
inline std::array<std::int16_t, keys::cat_count> cat_widths{};  ///< pixels that each name takes

/// Labels of the numeric and symbol pages that are the same in every language; the program renders them itself.
constexpr std::string_view fixed_characters = "ABCDEF-_.";
inline std::array<Label_Mask, fixed_characters.size()> fixed_words{};

/// Mask of a label or title.
constexpr const std::uint8_t* En(keys::En_Name name) { return en_words[name].data(); }
/// Mask of a key with one of the fixed characters; null for any other.
const std::uint8_t* Fixed(char character);

/// Reads the word-list file (an instrument path) into the tables, which are cleared first; a file that is missing or does
/// not begin with its mark leaves them blank. Sets Checkversion to 1 for a file of another version, else to 0. Records
/// that are cut, out of range or longer than the file are dropped.
void parse_txt_file(const char* path);

/// Word-list file of a language; English for a number that is none.
const char* Word_List_Path(int language);

/// Whether a language's word list is there, with its mark.
bool Word_List_There(int language);

/// An English text (UTF-8) in the chosen language; itself where the words don't have it.
std::string_view Translated(std::string_view english);

/// A value in the chosen language: as a whole, or else its last word, which is the unit. What the buffer has no room
/// for is cut.
std::string_view Translated_Value(std::string_view value, std::span<char> buffer);
