#include "keys/words.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "display/text.h"
#include "platform/root.h"
#include "records/sys.h"
#include "texts.h"

namespace {

constexpr char16_t section_end = u'!';
constexpr int narrow_choice_first = 57, narrow_choice_last = 58, narrow_choice_width = 15, narrow_choice_y = 18;

struct Word_Record {
    int entry = 0, x = 0, y = 0, font = 0, size = 0;
    std::vector<std::uint32_t> text;
};

/// The file's characters with a place to read from; reading past the end yields nothing.
class Word_File {
public:
    explicit Word_File(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

    bool At_End() const { return place_ + 2 > bytes_.size(); }
    char16_t Peek() const { return At_End() ? u'\0' : static_cast<char16_t>(bytes_[place_] | bytes_[place_ + 1] << 8); }
    char16_t Take() {
        const char16_t character = Peek();
        place_ += 2;
        return character;
    }
    void Skip(std::size_t bytes) { place_ = std::min(bytes_.size(), place_ + bytes); }
    void Skip_Section_End() {
        while (!At_End() && Take() != section_end) {}
        Skip(4);
    }
    std::size_t Characters_Left() const { return At_End() ? 0 : (bytes_.size() - place_) / 2; }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t place_ = 0;
};

/// The bytes of a number as they come: digits, with blanks and a sign before them, until something else stands there.
class Decimal {
public:
    void Add(unsigned byte) {
        if (byte >= '0' && byte <= '9' && !ended_) {
            value_ = std::min(value_ * 10 + static_cast<int>(byte - '0'), largest);
            begun_ = true;
        } else if (byte == '-' && !begun_ && !ended_) {
            negative_ = begun_ = true;
        } else if (byte != 0 && (begun_ || byte > ' ')) {
            ended_ = true;
        }
    }
    int Value() const { return negative_ ? -value_ : value_; }

private:
    static constexpr int largest = 1'000'000;
    int value_ = 0;
    bool begun_ = false, ended_ = false, negative_ = false;
};

/// One decimal integer up to its comma; nothing at a section's or the file's end.
std::optional<int> Read_Number(Word_File& file) {
    Decimal number;
    while (!file.At_End() && file.Peek() != section_end) {
        const char16_t c = file.Take();
        if (c == u',') return number.Value();
        number.Add(c & 255u);
        number.Add(static_cast<unsigned>(c) >> 8);
    }
    return {};
}

std::optional<Word_Record> Read_Record(Word_File& file) {
    Word_Record record;
    int length = 0;
    for (int* field : {&record.entry, &record.x, &record.y, &record.font, &record.size, &length}) {
        const auto number = Read_Number(file);
        if (!number) return {};
        *field = *number;
    }
    length = std::max(length, 0);
    if (static_cast<std::size_t>(length) > file.Characters_Left()) return {};
    record.text.reserve(static_cast<std::size_t>(length));
    for (int i = 0; i < length; ++i) record.text.push_back(file.Take());
    file.Skip(4);
    return record;
}

/// Positions and sizes that no bitmap has are as good as no text.
bool Drawable(const Word_Record& record) {
    const auto sane = [](int v) { return v >= -label_width && v <= 2 * label_width; };
    return !record.text.empty() && sane(record.x) && sane(record.y) && record.size > 0 && record.size <= label_height;
}

int Render(const Word_Record& record, int x, int y, std::span<std::uint8_t> mask, int row_length) {
    int width = 0;
    if (!Drawable(record)) return width;
    FT_Face face = display::Face_Handle(record.font == face_bold ? face_bold : face_regular);
    wchar_box(record.text, x, y, record.size, mask, row_length, &width, face, wordspace);
    return width;
}

/// Where each character of a choice starts, for highlighting one of several.
void calculate_position(const Word_Record& record, Choice_Word& word) {
    word.characters = static_cast<int>(std::min(record.text.size(), std::size_t{most_choice_characters}));
    FT_Face face = display::Face_Handle(record.font == face_bold ? face_bold : face_regular);
    for (int i = 0; i <= word.characters; ++i) {
        int width = 0;
        wchar_box({record.text.data(), static_cast<std::size_t>(i)}, 0, 0, std::clamp(record.size, 1, label_height), {}, 0,
                  &width, face, wordspace);
        word.position[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(word.x + width);
    }
}

void Read_Labels(Word_File& file) {
    while (const auto record = Read_Record(file)) {
        if (record->entry >= keys::en_count) return;
        if (record->entry < 0) continue;
        Render(*record, record->x, record->y, en_words[static_cast<std::size_t>(record->entry)], label_width);
    }
}

void Read_Choices(Word_File& file, int records) {
    for (int i = 0; i < records; ++i) {
        const auto record = Read_Record(file);
        if (!record) return;
        if (record->entry < 0 || record->entry >= keys::select_count || !Drawable(*record)) continue;
        Choice_Word& word = select_words[static_cast<std::size_t>(record->entry)];
        const bool narrow = record->entry >= narrow_choice_first && record->entry <= narrow_choice_last;
        word.x = narrow ? 0 : record->x;
        word.y = narrow ? narrow_choice_y : record->y;
        if (narrow) {
            const int characters = static_cast<int>(std::min<std::size_t>(record->text.size(), most_choice_characters));
            word.row_length = std::clamp(narrow_choice_width * characters, 1, label_width);
        }
        const std::size_t used = static_cast<std::size_t>(word.row_length) * choice_height;
        Render(*record, word.x, word.y, std::span(word.mask).first(used), word.row_length);
        calculate_position(*record, word);
    }
}

/// Section 3; size is the rendering value of the language, for records that name none.
void parse_cat_txt(Word_File& file, int language, int records) {
    const int size = language == 0 ? 12 : 13;
    for (int i = 0; i < records; ++i) {
        auto record = Read_Record(file);
        if (!record) return;
        if (record->entry < 0 || record->entry >= keys::cat_count) continue;
        if (record->size == 0) record->size = size;
        const auto entry = static_cast<std::size_t>(record->entry);
        cat_widths[entry] = static_cast<std::int16_t>(
            std::clamp(Render(*record, record->x, record->y, cat_words[entry], label_width), 0, label_width));
    }
}

/// In the middle of their keys.
void Render_Fixed_Words() {
    constexpr int size = 16, baseline = 48;
    for (std::size_t i = 0; i < fixed_words.size(); ++i) {
        const std::array text{static_cast<std::uint32_t>(fixed_characters[i])};
        int width = 0;
        wchar_box(text, 0, 0, size, {}, 0, &width, display::Face_Handle(face_bold), 0);
        wchar_box(text, (label_width - width) / 2, baseline, size, fixed_words[i], label_width, nullptr,
                  display::Face_Handle(face_bold), 0);
    }
}

std::optional<Word_File> Load(const char* path) {
    constexpr std::size_t largest_file = 8u << 20;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(platform::Rooted(path).c_str(), "rb"),
                                                              std::fclose);
    if (!file) return {};
    std::vector<std::uint8_t> bytes;
    std::array<std::uint8_t, 65536> piece;
    while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), file.get())) {
        if (bytes.size() + got > largest_file) return {};
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(got));
    }
    if (bytes.size() < 2 || bytes[0] != 0xff || bytes[1] != 0xfe) return {};
    return Word_File(std::move(bytes));
}

void Clear_Words() {
    for (auto& mask : en_words) mask.fill(0);
    for (auto& word : select_words) word = {};
    for (auto& mask : cat_words) mask.fill(0);
    for (auto& mask : fixed_words) mask.fill(0);
    cat_widths.fill(0);
}

}  // namespace

const char* Word_List_Path(int language) {
    constexpr std::array paths{"/mnt/nand/wordlist.txt", "/mnt/nand/wordlist_CS.txt", "/mnt/nand/wordlist_R.txt",
                               "/mnt/nand/wordlist_CT.txt", "/mnt/nand/wordlist_J.txt"};
    return paths[language > 0 && language < static_cast<int>(paths.size()) ? static_cast<std::size_t>(language) : 0];
}

bool Word_List_There(int language) { return Load(Word_List_Path(language)).has_value(); }

void parse_txt_file(const char* path) {
    Clear_Words();
    auto file = Load(path);
    if (!file) return Render_Fixed_Words();
    file->Skip(2 + 2);
    const char16_t major = file->Take();
    file->Skip(2);
    const char16_t minor = file->Take(), last = file->Take();
    Checkversion = major != u'2' || minor != u'1' || last != u'0';
    file->Skip(4);
    Read_Labels(*file);
    file->Skip_Section_End();
    Read_Choices(*file, keys::select_count - Checkversion);
    file->Skip_Section_End();
    parse_cat_txt(*file, Language, keys::cat_count - Checkversion);
    Render_Fixed_Words();
}

const std::uint8_t* Fixed(char character) {
    const std::size_t place = fixed_characters.find(character);
    return place < fixed_words.size() ? fixed_words[place].data() : nullptr;
}

std::string_view Translated(std::string_view english) {
    const auto row =
        std::ranges::lower_bound(keys::texts, english, {}, [](const auto& texts) { return texts.front(); });
    if (row == keys::texts.end() || row->front() != english || Language >= row->size()) return english;
    return (*row)[Language];
}

std::string_view Translated_Value(std::string_view value, std::span<char> buffer) {
    const std::string_view whole = Translated(value);
    const std::size_t word = whole == value ? value.rfind(' ') + 1 : 0;
    const std::string_view unit = word > 0 ? Translated(value.substr(word)) : whole;
    const std::size_t kept = std::min(word, buffer.size()), rest = std::min(unit.size(), buffer.size() - kept);
    std::copy_n(value.begin(), kept, buffer.begin());
    std::copy_n(unit.begin(), rest, buffer.begin() + static_cast<std::ptrdiff_t>(kept));
    return {buffer.data(), kept + rest};
}
