#include "scpi/matcher.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

constexpr std::string_view separators = ":[]?";

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool Is_Digit(char c) { return c >= '0' && c <= '9'; }

bool Same(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Upper(x) == Upper(y); });
}

/// Value of a text of digits, 1 of an empty one; the largest number for more than it can hold. False for anything else.
bool Suffix_Number(std::string_view digits, std::int32_t& number) {
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = digits.empty() ? 1 : 0;
    for (const char c : digits) {
        if (!Is_Digit(c)) return false;
        value = std::min(largest, value * 10 + (c - '0'));
    }
    number = static_cast<std::int32_t>(value);
    return true;
}

bool Match_Numbered(std::string_view form, std::string_view text, std::int32_t& number) {
    return !form.empty() && text.size() >= form.size() && Same(form, text.substr(0, form.size())) &&
           Suffix_Number(text.substr(form.size()), number);
}

std::string_view Up_To(std::string_view text, std::string_view any_of) { return text.substr(0, text.find_first_of(any_of)); }

constexpr std::uint64_t hash_start = 0xcbf29ce484222325u;

/// FNV-1a.
std::uint64_t Hash(std::uint64_t hash, unsigned char byte) { return (hash ^ byte) * 0x100000001b3u; }

/// Hash of a keyword in capitals, without the digits at its end.
std::uint64_t Form_Hash(std::string_view text) {
    while (!text.empty() && Is_Digit(text.back())) text.remove_suffix(1);
    std::uint64_t hash = hash_start;
    for (const char c : text) hash = Hash(hash, static_cast<unsigned char>(Upper(c)));
    return hash;
}

}  // namespace

std::string_view Short_Form(std::string_view node) {
    std::size_t length = 0;
    while (length < node.size() && !(node[length] >= 'a' && node[length] <= 'z') && node[length] != '#') ++length;
    return node.substr(0, length);
}

bool matchPattern(std::string_view node, std::string_view text, std::int32_t* number) {
    const std::string_view brief = Short_Form(node);
    if (node.empty() || node.back() != '#') return Same(node, text) || (!brief.empty() && Same(brief, text));
    node.remove_suffix(1);
    std::int32_t value = 1;
    if (!Match_Numbered(node, text, value) && !Match_Numbered(brief, text, value)) return false;
    if (number) *number = value;
    return true;
}

bool matchCommand(const char* pattern_text, std::string_view header, std::span<std::int32_t> numbers) {
    std::string_view pattern(pattern_text);
    std::fill(numbers.begin(), numbers.end(), 1);
    if (pattern.empty()) return false;
    const char last = pattern.back();
    if (pattern.starts_with('[')) pattern.remove_prefix(1);
    if (pattern.starts_with(':')) pattern.remove_prefix(1);
    if (header.starts_with(':') && !header.starts_with(":*")) header.remove_prefix(1);
    std::size_t numbered = 0;
    while (true) {
        const std::string_view node = Up_To(pattern, separators), element = Up_To(header, ":?");
        std::int32_t number = 1;
        const bool matches = matchPattern(node, element, &number);
        if (node.ends_with('#')) {
            if (matches && numbered < numbers.size()) numbers[numbered] = number;
            ++numbered;
        }
        pattern.remove_prefix(node.size());
        if (!matches) {
            if (pattern.starts_with("]:")) {
                pattern.remove_prefix(2);
            } else if (pattern.starts_with("][:")) {
                pattern.remove_prefix(3);
            } else {
                return false;
            }
            continue;
        }
        header.remove_prefix(element.size());
        if (pattern.empty()) return header.empty();
        if (header.empty()) return last == ']';
        if (header.front() == pattern.front()) {
            pattern.remove_prefix(1);
            header.remove_prefix(1);
            if (pattern.empty() && header.empty()) return true;
        } else if (header.front() == '?' && (pattern.front() == '[' || pattern.front() == ']')) {
            return last == '?' && header.size() == 1;
        } else if (pattern.starts_with("[:") || pattern.starts_with("]:")) {
            pattern.remove_prefix(2);
            header.remove_prefix(1);
        } else if (pattern.starts_with("][:")) {
            pattern.remove_prefix(3);
            header.remove_prefix(1);
        } else {
            return false;
        }
    }
}

const ScpiCommand* Find_Linear(const ScpiCommand* commands, std::string_view header) {
    if (!commands) return nullptr;
    for (const ScpiCommand* row = commands; row->pattern; ++row) {
        if (matchCommand(row->pattern, header)) return row;
    }
    return nullptr;
}

const ScpiCommand* findCommandHeader(const ScpiContext& context, std::string_view header) {
    return context.index ? context.index->Find(header) : Find_Linear(context.commands, header);
}

std::vector<std::string_view> Pattern_Nodes(std::string_view pattern) {
    std::vector<std::string_view> nodes;
    while (!pattern.empty()) {
        const std::string_view node = Up_To(pattern, separators);
        if (!node.empty()) nodes.push_back(node);
        pattern.remove_prefix(std::min(pattern.size(), node.size() + 1));
    }
    return nodes;
}

namespace {

/// All forms that stand for the same keyword get the same number. A short form that two nodes share joins both.
class Keyword_Classes {
public:
    void Join(std::uint64_t a, std::uint64_t b) {
        const std::uint32_t keep = Class(a), drop = Class(b);
        if (keep == drop) return;
        for (auto& [hash, number] : forms_) {
            if (number == drop) number = keep;
        }
    }
    std::vector<std::pair<std::uint64_t, std::uint32_t>> Sorted() {
        std::sort(forms_.begin(), forms_.end());
        return forms_;
    }

private:
    std::uint32_t Class(std::uint64_t hash) {
        for (const auto& [known, number] : forms_) {
            if (known == hash) return number;
        }
        forms_.emplace_back(hash, static_cast<std::uint32_t>(forms_.size()) + 1);
        return forms_.back().second;
    }
    std::vector<std::pair<std::uint64_t, std::uint32_t>> forms_;
};

constexpr std::uint32_t no_keyword = 0;

}  // namespace

Command_Index::Command_Index(const ScpiCommand* commands) : commands_(commands) {
    Keyword_Classes classes;
    std::size_t count = 0;
    for (; commands[count].pattern; ++count) {
        for (const std::string_view node : Pattern_Nodes(commands[count].pattern)) {
            const std::string_view whole = node.substr(0, node.find('#')), brief = Short_Form(node);
            classes.Join(Form_Hash(whole), Form_Hash(brief.empty() ? whole : brief));
        }
    }
    keywords_ = classes.Sorted();
    std::string whole, brief;
    for (std::size_t row = 0; row < count; ++row) Add_Row(row, Pattern_Nodes(commands[row].pattern), whole, brief);
    std::sort(rows_.begin(), rows_.end());
    rows_.erase(std::unique(rows_.begin(), rows_.end()), rows_.end());
    rows_.shrink_to_fit();
}

std::uint32_t Command_Index::Keyword(std::string_view text) const {
    const std::uint64_t hash = Form_Hash(text);
    const auto found = std::lower_bound(keywords_.begin(), keywords_.end(), std::pair{hash, std::uint32_t{0}});
    return found != keywords_.end() && found->first == hash ? found->second : no_keyword;
}

/// Of the numbers of a header's keywords and its question mark; 0 for a header with a keyword that no row has.
std::uint64_t Command_Index::Sequence(std::string_view header) const {
    std::uint64_t sequence = hash_start;
    while (!header.empty()) {
        const std::string_view element = Up_To(header, ":?");
        if (!element.empty()) {
            const std::uint32_t keyword = Keyword(element);
            if (keyword == no_keyword) return 0;
            sequence = Hash(Hash(sequence, static_cast<unsigned char>(keyword)), static_cast<unsigned char>(keyword >> 8));
        }
        header.remove_prefix(element.size());
        if (header.starts_with('?')) sequence = Hash(Hash(sequence, 0xff), 0xff);
        if (!header.empty()) header.remove_prefix(1);
    }
    return sequence;
}

/// Every sequence of the row's nodes that it accepts, in their long or in their short forms, is entered. Only a node before
/// a closing bracket can be left out; the header may end anywhere.
void Command_Index::Add_Row(std::size_t row, std::span<const std::string_view> nodes, std::string& whole, std::string& brief) {
    if (!whole.empty()) {
        const char* pattern = commands_[row].pattern;
        for (const char end : {'\0', '?'}) {
            const std::size_t whole_size = whole.size(), brief_size = brief.size();
            if (end) whole += end, brief += end;
            if (matchCommand(pattern, whole) || matchCommand(pattern, brief)) {
                rows_.emplace_back(Sequence(whole), static_cast<std::uint16_t>(row));
            }
            whole.resize(whole_size);
            brief.resize(brief_size);
        }
    }
    if (nodes.empty()) return;
    const std::string_view node = nodes.front(), form = node.substr(0, node.find('#')), short_form = Short_Form(node);
    const std::size_t whole_size = whole.size(), brief_size = brief.size();
    if (!whole.empty()) whole += ':', brief += ':';
    whole += form;
    brief += short_form.empty() ? form : short_form;
    Add_Row(row, nodes.subspan(1), whole, brief);
    whole.resize(whole_size);
    brief.resize(brief_size);
    if (node.data()[node.size()] == ']') Add_Row(row, nodes.subspan(1), whole, brief);
}

const ScpiCommand* Command_Index::Find(std::string_view header) const {
    const std::uint64_t sequence = Sequence(header);
    if (sequence == 0) return nullptr;
    auto found = std::lower_bound(rows_.begin(), rows_.end(), std::pair{sequence, std::uint16_t{0}});
    for (; found != rows_.end() && found->first == sequence; ++found) {
        const ScpiCommand& row = commands_[found->second];
        if (matchCommand(row.pattern, header)) return &row;
    }
    return nullptr;
}
