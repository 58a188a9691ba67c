#include "remote/vxi11_record.h"

#include <algorithm>
#include <cstring>

namespace remote {

void Vxi11_Record::Take_Mark() {
    constexpr std::uint32_t last_fragment = 0x80000000;
    std::uint32_t mark = 0;
    for (const unsigned char byte : mark_) mark = mark << 8 | byte;
    last_ = (mark & last_fragment) != 0;
    fragment_left_ = mark & ~last_fragment;
}

std::size_t Vxi11_Record::Take(std::string_view bytes) {
    std::size_t taken = 0;
    while (!complete_ && taken < bytes.size()) {
        if (mark_length_ < mark_size) {
            mark_[mark_length_++] = static_cast<unsigned char>(bytes[taken++]);
            if (mark_length_ == mark_size) Take_Mark();
        } else {
            const std::size_t piece = std::min<std::size_t>(fragment_left_, bytes.size() - taken);
            const std::size_t kept = std::min(piece, capacity - length_);
            std::memcpy(bytes_.data() + length_, bytes.data() + taken, kept);
            length_ += kept;
            taken += piece;
            fragment_left_ -= static_cast<std::uint32_t>(piece);
        }
        if (mark_length_ < mark_size || fragment_left_ > 0) continue;
        mark_length_ = 0;
        complete_ = last_;
    }
    return taken;
}

void Vxi11_Record::Set(std::string_view bytes) {
    Next();
    length_ = std::min(bytes.size(), capacity);
    std::memcpy(bytes_.data(), bytes.data(), length_);
    complete_ = true;
}

void Vxi11_Record::Next() {
    length_ = mark_length_ = 0;
    fragment_left_ = 0;
    last_ = complete_ = false;
}

}  // namespace remote
