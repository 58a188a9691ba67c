#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// The frames that a viewer's browser sends (RFC 6455, section 5), read strictly: what a page never sends ends the
/// connection before any memory is spent on it.
namespace web {

class Frame_Reader {
public:
    static constexpr std::size_t longest_message = 1024;  ///< bytes

    enum class Event { none, text, ping, pong, close, violation };

    /// Takes bytes off the front of input until a frame is whole or refused, or input is empty (none). After a
    /// violation every further call is one.
    Event Take(std::span<const std::uint8_t>& input);

    /// Of the last text, ping or pong; until the next call.
    std::string_view Payload() const { return {reinterpret_cast<const char*>(frame_.data()) + head_, length_}; }

    /// The status to close with after a violation: 1002, 1003 (not a text) or 1009 (too long).
    std::uint16_t Close_Status() const { return close_status_; }

private:
    bool Read_Head();
    bool Refuse(std::uint16_t status);
    Event Finish();

    static constexpr std::size_t longest_head = 2 + 2 + 4;  // a longer length is too long
    std::array<std::uint8_t, longest_head + longest_message> frame_{};
    std::size_t filled_ = 0, wanted_ = 2, head_ = 0, length_ = 0;
    bool headed_ = false;
    std::uint16_t close_status_ = 0;
};

}  // namespace web
