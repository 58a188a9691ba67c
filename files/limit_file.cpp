#include "files/limit_file.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

#include "platform/whole_file.h"
#include "records/error_log.h"
#include "records/limit.h"
#include "trace/limit_lines.h"

namespace {

constexpr std::string_view tag = "kva720", line_end = "\r\n";
constexpr int significant_digits = 16;
constexpr std::size_t scanned_characters = 16, largest_file = 1u << 16, most_numbers = 1 + 2 * limit_points;

std::optional<double> Number(const std::string& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return {};
    return value;
}

/// The numbers up to the last comma; none where one of them is no number or there are too many.
std::optional<std::vector<double>> Numbers(std::string_view text) {
    std::vector<double> numbers;
    std::string field;
    for (const char c : text) {
        if (c == '\0') continue;
        if (c != ',') {
            field += c;
            continue;
        }
        const auto value = Number(field);
        if (!value || numbers.size() == most_numbers) return {};
        numbers.push_back(*value);
        field.clear();
    }
    return field.find_first_not_of(" \r\n") == std::string::npos ? std::optional(numbers) : std::nullopt;
}

/// The stored count, and one for the last node where that is on.
int Saved_Count(const Limit_Line& line) { return line.count + (line.last && (line.last->on & 1) ? 1 : 0); }

}  // namespace

bool Limit_Line_To_Save(std::size_t line) { return Saved_Count(Limit_Lines[line]) > 0; }

std::string Limit_File_Number(double value) {
    std::array<char, 40> text{};
    gcvt(value, significant_digits, text.data());
    std::size_t end = 0, point = std::string::npos, last_decimal = std::string::npos;
    for (; end < scanned_characters; ++end) {
        const char c = text[end];
        const bool digit = c >= '0' && c <= '9';
        if (!digit && c != '-' && c != '.') return {text.data(), end};
        if (c == '.') point = end;
        if (digit && point != std::string::npos && end + 1 < scanned_characters) last_decimal = end;
    }
    if (point != std::string::npos) end = last_decimal == std::string::npos ? point : last_decimal + 1;
    return {text.data(), end};
}

bool limitline_savefile(std::string_view path, std::size_t line) {
    const Limit_Line& saved = Limit_Lines[line];
    std::string content(tag);
    content += line_end;
    content += Limit_File_Number(Saved_Count(saved)) + ',';
    for (const Limit_Node* node = saved.first; node; node = node->next) {
        if (!(node->on & 1)) continue;
        content += Limit_File_Number(node->frequency) + ',' + Limit_File_Number(node->amplitude) + ',';
    }
    if (platform::Write_Whole_File(path, content)) return true;
    const int cause = errno;
    ErrorMessage("key_limitline.c 3297");
    errno = cause;
    return false;
}

Limit_File read_savefile(std::string_view path, std::size_t line) {
    std::string content;
    errno = 0;
    if (!platform::Read_Whole_File(path, largest_file, content)) {
        return errno == 0 ? Limit_File::damaged : errno == ENOENT || errno == ENOTDIR ? Limit_File::missing
                                                                                      : Limit_File::unreadable;
    }
    if (content.size() < tag.size() + line_end.size() || !content.starts_with(tag)) return Limit_File::damaged;
    const auto numbers = Numbers(std::string_view(content).substr(tag.size() + line_end.size()));
    if (!numbers || numbers->empty() || numbers->size() % 2 == 0) return Limit_File::damaged;
    const std::size_t count = numbers->size() / 2;
    if (numbers->front() != static_cast<double>(count)) return Limit_File::damaged;
    std::array<Limit_Point, limit_points> points;
    for (std::size_t i = 0; i < count; ++i) points[i] = {(*numbers)[1 + 2 * i], (*numbers)[2 + 2 * i]};
    return Set_Limit_Points(line, std::span(points.data(), count)) ? Limit_File::done : Limit_File::damaged;
}
