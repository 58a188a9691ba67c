#include "remote/local_protocol.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "scpi/context.h"

namespace remote {
namespace {

constexpr std::size_t piece_size = 512, longest_setting = 64, largest_backlog_of_answers = 1u << 20;
constexpr std::size_t length_bytes = 4;
constexpr std::uint32_t refused = 0xffffffff;

void Answer(Outbox& output, std::string_view word) {
    output.Put(word);
    output.Put(std::string_view("", 1));
}

void Answer_Length(Outbox& output, std::uint32_t length) {
    std::array<char, length_bytes> bytes;
    for (std::size_t i = 0; i < length_bytes; ++i) bytes[i] = static_cast<char>(length >> (8 * i));
    output.Put({bytes.data(), bytes.size()});
}

void Answer_Text(Outbox& output, std::string_view text) {
    Answer_Length(output, static_cast<std::uint32_t>(text.size()));
    output.Put(text);
}

/// A line of name and value. Locale-free, so that the point stays a point.
bool Set(std::string_view line, const Local_Commands& commands) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return false;
    double value = 0;
    const char* last = line.data() + line.size();
    const auto [end, error] = std::from_chars(line.data() + blank + 1, last, value);
    return error == std::errc() && end == last && std::isfinite(value) && commands.set(line.substr(0, blank), value);
}

}  // namespace

bool Messages_Fit(std::string_view text) {
    constexpr std::size_t longest_message = scpi_input_size - 1;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
        if (length > longest_message) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::size_t Local_Protocol::Wanted() const {
    const bool text = expects_ == Expects::short_silent || expects_ == Expects::short_answered;
    return text ? longest_short_text : piece_size;
}

Local_Protocol::Outcome Local_Protocol::Execute(const Local_Commands& commands, Local_Scpi* scpi, Outbox& output) {
    while (true) {
        if (output.Size() > largest_backlog_of_answers) return Outcome::later;
        switch (Execute_Once(commands, scpi, output)) {
            case Step::done: break;
            case Step::hungry: return Outcome::hungry;
            case Step::later: return Outcome::later;
            case Step::ended: return Outcome::ended;
        }
    }
}

Local_Protocol::Step Local_Protocol::Execute_Once(const Local_Commands& commands, Local_Scpi* scpi, Outbox& output) {
    if (input_.empty()) return Step::hungry;
    switch (expects_) {
        case Expects::command: return Command(commands, output);
        case Expects::key: {
            const auto code = static_cast<std::uint8_t>(input_[0]);
            input_.erase(0, 1);
            expects_ = Expects::command;
            Answer(output, commands.key(code) ? "OK" : "NO");
            return Step::done;
        }
        case Expects::setting: return Setting(commands, output);
        case Expects::short_silent: case Expects::short_answered: return Short_Text(scpi, output);
        case Expects::whole_length: return Whole_Length(output);
        case Expects::whole_text: return Whole_Text(scpi, output);
        case Expects::refused_text: {
            const std::size_t dropped = std::min<std::size_t>(input_.size(), length_);
            input_.erase(0, dropped);
            length_ -= static_cast<std::uint32_t>(dropped);
            if (length_ == 0) expects_ = Expects::command;
            return Step::done;
        }
    }
    return Step::ended;
}

void Local_Protocol::Expect(Expects expects, Outbox& output) {
    expects_ = expects;
    Answer(output, "ST");
}

Local_Protocol::Step Local_Protocol::Command(const Local_Commands& commands, Outbox& output) {
    if (input_.size() < 2) return Step::hungry;
    const std::string command = input_.substr(0, 2);
    input_.erase(0, 2);
    if (command == "KY") {
        Expect(Expects::key, output);
    } else if (command == "SE") {
        Expect(Expects::setting, output);
    } else if (command == "WR") {
        Expect(Expects::short_silent, output);
    } else if (command == "RW") {
        Expect(Expects::short_answered, output);
    } else if (command == "SC") {
        Expect(Expects::whole_length, output);
    } else if (command == "PW") {
        Answer(output, commands.power() ? "OK" : "NO");
    } else if (command == "IN" || command == "TR") {
        std::string text;
        command == "IN" ? commands.state(text) : commands.trace(text);
        Answer_Text(output, text);
    } else {
        return Step::ended;
    }
    return Step::done;
}

Local_Protocol::Step Local_Protocol::Setting(const Local_Commands& commands, Outbox& output) {
    const std::size_t end = input_.find('\n');
    if (std::min(end, input_.size()) > longest_setting) return Step::ended;
    if (end == std::string::npos) return Step::hungry;
    Answer(output, Set(std::string_view(input_).substr(0, end), commands) ? "OK" : "NO");
    input_.erase(0, end + 1);
    expects_ = Expects::command;
    return Step::done;
}

Local_Protocol::Step Local_Protocol::Short_Text(Local_Scpi* scpi, Outbox& output) {
    if (!scpi) return Step::later;
    std::string text = input_.substr(0, longest_short_text);
    input_.erase(0, text.size());
    text.push_back('\n');
    const std::string_view answer = scpi->Short(text).substr(0, longest_slot - 1);
    if (expects_ == Expects::short_answered) Answer(output, answer);
    expects_ = Expects::command;
    return Step::done;
}

Local_Protocol::Step Local_Protocol::Whole_Length(Outbox& output) {
    if (input_.size() < length_bytes) return Step::hungry;
    length_ = 0;
    for (std::size_t i = 0; i < length_bytes; ++i) {
        length_ |= std::uint32_t{static_cast<std::uint8_t>(input_[i])} << (8 * i);
    }
    input_.erase(0, length_bytes);
    expects_ = length_ == 0 ? Expects::command : length_ > longest_whole_text ? Expects::refused_text : Expects::whole_text;
    if (length_ == 0) Answer_Length(output, 0);
    if (length_ > longest_whole_text) Answer_Length(output, refused);
    return Step::done;
}

Local_Protocol::Step Local_Protocol::Whole_Text(Local_Scpi* scpi, Outbox& output) {
    if (input_.size() < length_) return Step::hungry;
    if (!scpi) return Step::later;
    std::string text = input_.substr(0, length_);
    input_.erase(0, length_);
    expects_ = Expects::command;
    if (text.back() != '\n') text.push_back('\n');
    if (!Messages_Fit(text)) {
        Answer_Length(output, refused);
        return Step::done;
    }
    std::string answers;
    scpi->Whole(text, answers);
    Answer_Text(output, answers);
    return Step::done;
}

}  // namespace remote
