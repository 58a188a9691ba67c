#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "remote/outbox.h"

/// What is said on the local socket by which the web front panel talks to the instrument.
///
/// Two-letter commands: "KY" (answered "ST", then one key code, answered "OK" or "NO"), "SE" (answered "ST", then a line
/// of a setting's name, a blank and its value in base units, answered "OK" or "NO"), "PW" (the power key, "OK" or "NO"),
/// "IN" (state) and "TR" (the active trace), both answered by a length of four bytes, low byte first, and a text.
///
/// Program messages: "WR" and "RW" (answered "ST", then up to 600 bytes that come at once, ended by a line feed that is
/// added; "RW" sends the last answer back, cut at 599 bytes, "WR" nothing). "SC" (answered "ST", then a length of four
/// bytes, low byte first, at most 4096, and as many bytes; a line feed is added where there is none at the end) is answered
/// by a length and the answers of all its messages, cut at 64 KiB; by the length 0xFFFFFFFF alone, and nothing is executed,
/// where the text or one of its messages is too long.
///
/// Short answers and that of "RW" end with a NUL. An unknown command ends the connection.
namespace remote {

/// What the instrument does for the socket.
struct Local_Commands {
    bool (*key)(std::int32_t code) = nullptr;                          ///< false when the key is not taken
    bool (*set)(std::string_view name, double value) = nullptr;        ///< false for a name or value that is none
    bool (*power)() = nullptr;                                         ///< presses the power key
    void (*state)(std::string& json) = nullptr;
    void (*trace)(std::string& csv) = nullptr;
};

/// Executes program messages for a client.
class Local_Scpi {
public:
    virtual ~Local_Scpi() = default;
    /// Text ends with a line feed. Returns the last answer, up to 599 bytes.
    virtual std::string_view Short(std::string_view text) = 0;
    /// Text ends with a line feed. Puts the answers of all its messages into the string, up to 64 KiB.
    virtual void Whole(std::string_view text, std::string& answers) = 0;
};

/// One client's side of the conversation, without its descriptor.
class Local_Protocol {
public:
    static constexpr std::size_t longest_short_text = 600, longest_whole_text = 4096, longest_answers = 1u << 16;
    static constexpr std::size_t longest_slot = 600;  ///< the short answer with its NUL

    enum class Outcome {
        hungry,  ///< more has to come
        later,   ///< program messages stand that must not be executed now, or answers that must go first
        ended,   ///< the connection is to be closed
    };

    /// Most bytes that the next recv may bring.
    std::size_t Wanted() const;
    /// Takes what one recv has brought.
    void Take(std::string_view bytes) { input_.append(bytes); }
    /// Executes what has arrived whole and puts the answers into the output. Without scpi no program messages.
    Outcome Execute(const Local_Commands& commands, Local_Scpi* scpi, Outbox& output);

private:
    enum class Expects { command, key, setting, short_silent, short_answered, whole_length, whole_text, refused_text };
    enum class Step { done, hungry, later, ended };

    Step Execute_Once(const Local_Commands& commands, Local_Scpi* scpi, Outbox& output);
    Step Command(const Local_Commands& commands, Outbox& output);
    Step Setting(const Local_Commands& commands, Outbox& output);
    Step Short_Text(Local_Scpi* scpi, Outbox& output);
    Step Whole_Length(Outbox& output);
    Step Whole_Text(Local_Scpi* scpi, Outbox& output);
    void Expect(Expects expects, Outbox& output);

    std::string input_;
    Expects expects_ = Expects::command;
    std::uint32_t length_ = 0;  ///< of the whole text
};

/// True when every message of a text fits into the parser's input, counted with its newline.
bool Messages_Fit(std::string_view text);

}  // namespace remote
