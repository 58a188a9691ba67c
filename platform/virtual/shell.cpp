#include "platform/shell.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "platform/root.h"
#include "platform/stop.h"

/// The instrument's fixed commands, done in the process: no shell of the PC ever runs.
namespace platform {

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

constexpr int status_success = 0;
constexpr int status_failure = 1;
constexpr int status_trouble = 2;
constexpr int status_unknown = 127;

constexpr std::string_view shell_signs = "\"\\`$&|;<>(){}*?[]~#!\n";

/// Splits a command into words; single quotes hold blanks together. Nothing when it uses more of the shell's language.
std::optional<Words> Split(std::string_view command) {
    Words words;
    std::string word;
    bool in_word = false, quoted = false;
    for (const char sign : command) {
        if (!quoted && shell_signs.find(sign) != std::string_view::npos)
            return std::nullopt;
        if (!quoted && (sign == ' ' || sign == '\t')) {
            if (in_word)
                words.push_back(std::move(word));
            word.clear();
            in_word = false;
            continue;
        }
        in_word = true;
        if (sign == '\'')
            quoted = !quoted;
        else
            word += sign;
    }
    if (quoted)
        return std::nullopt;
    if (in_word)
        words.push_back(std::move(word));
    return words;
}

/// The machine's path of an instrument path, if it lies below the root also when links are followed.
std::optional<fs::path> Below_Root(std::string_view instrument_path) {
    if (instrument_path.empty() || instrument_path.front() != '/' || Root().empty())
        return std::nullopt;
    std::error_code error;
    const fs::path root = fs::canonical(Root(), error);
    if (error)
        return std::nullopt;
    const fs::path path = Rooted(instrument_path);
    const fs::path real = fs::weakly_canonical(path, error);
    if (error)
        return std::nullopt;
    const fs::path relative = real.lexically_relative(root);
    if (relative.empty() || *relative.begin() == "..")
        return std::nullopt;
    return path;
}

std::optional<std::string> Read_File(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error))
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file)
        return std::nullopt;
    return text.str();
}

/// Replaces a file at once, so that a reader sees the old or the new one.
bool Replace_File(const fs::path& path, const std::string& text) {
    const fs::path fresh = path.string() + ".new." + std::to_string(::getpid());
    {
        std::ofstream file(fresh, std::ios::binary);
        file << text;
        if (!file.flush())
            return false;
    }
    std::error_code error;
    fs::rename(fresh, path, error);
    if (error)
        fs::remove(fresh, error);
    return !error;
}

/// "sed -i 'Nc TEXT' FILE": puts TEXT in the place of line N; a file with fewer lines stays as it is.
int Change_Line(std::span<const std::string> arguments) {
    const std::string& script = arguments[1];
    const std::size_t digits = script.find_first_not_of("0123456789");
    if (digits == 0 || digits == std::string::npos || digits > 6 || script[digits] != 'c')
        return status_unknown;
    const unsigned long wanted = std::stoul(script.substr(0, digits));
    const std::size_t begin = script.find_first_not_of(" \t", digits + 1);
    const std::string text = begin == std::string::npos ? std::string() : script.substr(begin);
    if (wanted == 0 || text.find_first_of("\\\n") != std::string::npos)
        return status_unknown;

    const auto path = Below_Root(arguments[2]);
    const auto old_text = path ? Read_File(*path) : std::nullopt;
    if (!old_text)
        return status_trouble;
    std::size_t line_begin = 0;
    for (unsigned long line = 1; line < wanted && line_begin < old_text->size(); ++line) {
        const std::size_t end = old_text->find('\n', line_begin);
        line_begin = end == std::string::npos ? old_text->size() : end + 1;
    }
    if (line_begin >= old_text->size())
        return status_success;
    const std::size_t line_end = std::min(old_text->find('\n', line_begin), old_text->size());
    const std::string rest = line_end < old_text->size() ? old_text->substr(line_end) : "\n";
    return Replace_File(*path, old_text->substr(0, line_begin) + text + rest) ? status_success : status_trouble;
}

/// "cp FILE FILE" and "cp FILE FOLDER/".
int Copy(std::span<const std::string> arguments) {
    const auto source = Below_Root(arguments[0]);
    auto target = Below_Root(arguments[1]);
    if (!source || !target)
        return status_failure;
    std::error_code error;
    if (fs::is_directory(*target, error))
        target = Below_Root(arguments[1] + "/" + source->filename().string());
    else if (arguments[1].ends_with('/'))
        return status_failure;
    const auto text = Read_File(*source);
    return text && target && Replace_File(*target, *text) ? status_success : status_failure;
}

/// "grep -q 'TEXT' FILE" for a text without pattern signs.
int Search(std::span<const std::string> arguments) {
    if (arguments[1].find_first_of(".*[]^$\\") != std::string::npos)
        return status_unknown;
    const auto path = Below_Root(arguments[2]);
    const auto text = path ? Read_File(*path) : std::nullopt;
    if (!text)
        return status_trouble;
    return text->find(arguments[1]) != std::string::npos ? status_success : status_failure;
}

/// As a real instrument goes dark, the virtual one ends; the PC stays as it is.
int Power_Off() {
    Request_Stop();
    return status_success;
}

int Execute(const Words& words) {
    const std::span arguments = std::span(words).subspan(1);
    if (words == Words{"sync"} || words == Words{"/etc/init.d/usb_state.sh"})
        return status_success;
    if (words == Words{"shutdown", "-h", "now"} || words == Words{"/opt/KVA720/killsys"})
        return Power_Off();
    if (words[0] == "sed" && arguments.size() == 3 && arguments[0] == "-i")
        return Change_Line(arguments);
    if (words[0] == "cp" && arguments.size() == 2 && !arguments[0].starts_with('-'))
        return Copy(arguments);
    if (words[0] == "grep" && arguments.size() == 3 && arguments[0] == "-q")
        return Search(arguments);
    return status_unknown;
}

}  // namespace

int Run_Command(std::string_view command) {
    if (Stop_Requested())
        return status_success;
    const auto words = Split(command);
    const int status = words && !words->empty() ? Execute(*words) : status_unknown;
    if (status == status_unknown)
        std::fprintf(stderr, "refused command: %.*s\n", static_cast<int>(std::min<std::size_t>(command.size(), 200)),
                     command.data());
    return status;
}

}  // namespace platform
