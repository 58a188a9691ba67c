#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "remote/local_protocol.h"
#include "scpi/context.h"

// The local socket's conversation: a stranger's bytes in pieces of his choice. However the pieces are cut, the same comes
// out, but for the texts that are one piece each.

namespace {

using remote::Local_Protocol;

void Require(bool truth) {
    if (!truth) std::abort();
}

const remote::Local_Commands commands{
    [](std::int32_t code) {
        Require(code >= 0 && code < 256);
        return code != 200;
    },
    [](std::string_view name, double value) {
        Require(name.find(' ') == std::string_view::npos && value - value == 0);
        return name == "span";
    },
    [] { return true; },
    [](std::string& json) { json = "{}"; },
    [](std::string& csv) { csv.assign(3000, 't'); },
};

class Scpi : public remote::Local_Scpi {
public:
    std::string_view Short(std::string_view text) override {
        Require(!text.empty() && text.size() <= Local_Protocol::longest_short_text + 1 && text.back() == '\n');
        answer_ = text;
        answer_.append(answer_);
        return answer_;
    }
    void Whole(std::string_view text, std::string& answers) override {
        Require(text.size() >= 1 && text.size() <= Local_Protocol::longest_whole_text + 1 && text.back() == '\n');
        std::size_t length = 0;
        for (const char byte : text) {
            Require(++length < scpi_input_size);
            if (byte == '\n' || byte == '\r') length = 0;
        }
        answers = text.substr(0, 100);
    }

private:
    std::string answer_;
};

std::string written;

std::ptrdiff_t Write(int, std::string_view bytes) {
    written.append(bytes);
    return static_cast<std::ptrdiff_t>(bytes.size());
}

/// What comes out of a stream in pieces of at most a size. Delayed: program messages are put off once, as while another
/// client's command waits.
std::string Converse(std::string_view stream, std::size_t piece, bool delayed) {
    Local_Protocol protocol;
    remote::Outbox output(Write);
    Scpi scpi;
    written.clear();
    auto outcome = Local_Protocol::Outcome::hungry;
    while (outcome != Local_Protocol::Outcome::ended && !stream.empty()) {
        const auto taken = stream.substr(0, std::min(piece, protocol.Wanted()));
        stream.remove_prefix(taken.size());
        protocol.Take(taken);
        outcome = protocol.Execute(commands, delayed ? nullptr : &scpi, output);
        output.Send(0);
        while (outcome == Local_Protocol::Outcome::later) {
            outcome = protocol.Execute(commands, &scpi, output);
            output.Send(0);
        }
    }
    return written;
}

}  // namespace

/// The first byte chooses the size of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view stream(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t piece = data[0] == 0 ? Local_Protocol::longest_short_text : data[0];
    const std::string at_once = Converse(stream, piece, false);
    Require(Converse(stream, piece, true) == at_once);
    if (stream.find("WR") == std::string_view::npos && stream.find("RW") == std::string_view::npos) {
        Require(Converse(stream, 1, false) == at_once);
    }
    return 0;
}
