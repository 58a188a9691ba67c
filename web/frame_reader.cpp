#include "web/frame_reader.h"

#include <algorithm>

namespace web {
namespace {

constexpr std::uint16_t protocol_error = 1002, unsupported = 1003, too_big = 1009;
constexpr std::uint8_t text_frame = 1, binary_frame = 2, close_frame = 8, ping_frame = 9, pong_frame = 10;
constexpr std::size_t longest_control = 125, mask_bytes = 4;
constexpr std::uint8_t short_length = 126, long_length = 127;

}  // namespace

bool Frame_Reader::Refuse(std::uint16_t status) {
    close_status_ = status;
    length_ = 0;
    return false;
}

/// Looks at what there is of the head and sets wanted_ to what is needed next. False for a violation.
bool Frame_Reader::Read_Head() {
    const bool whole = frame_[0] & 0x80, masked = frame_[1] & 0x80;
    const unsigned reserved = frame_[0] & 0x70, opcode = frame_[0] & 0x0f, length = frame_[1] & 0x7f;
    if (reserved || !masked || !whole) return Refuse(protocol_error);
    if (opcode == binary_frame) return Refuse(unsupported);
    if (opcode != text_frame && opcode != close_frame && opcode != ping_frame && opcode != pong_frame)
        return Refuse(protocol_error);
    if (opcode != text_frame && length > longest_control) return Refuse(protocol_error);
    if (length == long_length) return Refuse(too_big);
    head_ = 2 + (length == short_length ? 2 : 0) + mask_bytes;
    wanted_ = head_;
    if (filled_ < head_) return true;
    length_ = length == short_length ? std::size_t{frame_[2]} << 8 | frame_[3] : length;
    if (length == short_length && length_ < short_length) return Refuse(protocol_error);  // not the shortest form
    if (length_ > longest_message) return Refuse(too_big);
    wanted_ = head_ + length_;
    headed_ = true;
    return true;
}

Frame_Reader::Event Frame_Reader::Finish() {
    for (std::size_t i = 0; i < length_; ++i) frame_[head_ + i] ^= frame_[head_ - mask_bytes + i % mask_bytes];
    filled_ = 0;
    wanted_ = 2;
    headed_ = false;
    switch (frame_[0] & 0x0f) {
        case text_frame: return Event::text;
        case ping_frame: return Event::ping;
        case pong_frame: return Event::pong;
        default: return Event::close;
    }
}

Frame_Reader::Event Frame_Reader::Take(std::span<const std::uint8_t>& input) {
    if (close_status_) return Event::violation;
    for (;;) {
        const auto count = std::min(wanted_ - filled_, input.size());
        std::copy_n(input.begin(), count, frame_.begin() + static_cast<std::ptrdiff_t>(filled_));
        filled_ += count;
        input = input.subspan(count);
        if (filled_ < wanted_) return Event::none;
        if (!headed_ && !Read_Head()) return Event::violation;
        if (headed_ && filled_ == wanted_) return Finish();
    }
}

}  // namespace web
