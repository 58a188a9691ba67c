#pragma once
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The instrument's local web socket, seen from the web server. Commands are two letters; the connection stays open.
namespace web {

enum class Key_Answer {
    taken,
    refused,      ///< the key queue is full, the value is none, or the instrument is starting or under remote control
    unreachable,  ///< nobody answers
};

class Instrument_Link {
public:
    /// answer_limit: how long an answer may take.
    explicit Instrument_Link(std::chrono::milliseconds answer_limit = std::chrono::seconds(5));
    ~Instrument_Link();
    Instrument_Link(const Instrument_Link&) = delete;
    Instrument_Link& operator=(const Instrument_Link&) = delete;

    /// Every call: any thread; ends within a few seconds; connects anew when the connection is gone. A key whose answer
    /// is lost is not sent a second time.
    Key_Answer Press_Key(std::uint8_t code);
    Key_Answer Press_Power();

    /// Sets a setting by its name; value in Hz or dBm, taken to three decimals.
    Key_Answer Set(std::string_view name, double value);

    /// The instrument's description of itself, JSON; empty when it is there but does not answer in time, nothing when
    /// it cannot be reached.
    std::optional<std::string> Info();

    /// The active trace, CSV; empty or nothing as above.
    std::optional<std::string> Trace();

    enum class Scpi_Result { answered, too_long, late, unreachable };
    static constexpr std::size_t most_scpi_bytes = 4096;

    /// Has remote messages executed, at most most_scpi_bytes of them; answer receives what they answer, which may be nothing.
    Scpi_Result Scpi(std::string_view messages, std::string& answer);

private:
    using Deadline = std::chrono::steady_clock::time_point;

    class Turn;

    bool Connect();
    void Disconnect();
    bool Send(std::span<const std::uint8_t> bytes);
    bool Receive(std::span<std::uint8_t> bytes, Deadline deadline);
    bool Begin(const char* command);
    Key_Answer Exchange(const char* command, std::span<const std::uint8_t> detail);
    Key_Answer Receive_Answer();
    std::optional<std::string> Ask_Text(const char* command, std::size_t most_bytes);

    const std::chrono::milliseconds answer_limit_;
    std::mutex mutex_;
    std::condition_variable freed_;
    bool busy_ = false;  // under mutex_: somebody has the turn
    int socket_ = -1;    // of who has the turn
};

}  // namespace web
