#include "remote/hislip_framing.h"

#include <algorithm>

namespace remote {
namespace {

constexpr std::size_t type_place = 2, control_place = 3, parameter_place = 4, length_place = 8;

template <class Value>
void Put(std::array<char, hislip_header_size>& bytes, std::size_t place, Value value) {
    for (std::size_t i = 0; i < sizeof value; ++i) {
        bytes[place + i] = static_cast<char>(value >> (8 * (sizeof value - 1 - i)) & 0xff);
    }
}

template <class Value>
void Get(std::string_view bytes, std::size_t place, Value& value) {
    value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) {
        value = static_cast<Value>(value << 8 | static_cast<std::uint8_t>(bytes[place + i]));
    }
}

}  // namespace

std::array<char, hislip_header_size> Hislip_Bytes(const Hislip_Header& header) {
    std::array<char, hislip_header_size> bytes{'H', 'S', static_cast<char>(header.type), static_cast<char>(header.control)};
    Put(bytes, parameter_place, header.parameter);
    Put(bytes, length_place, header.length);
    return bytes;
}

bool Read_Hislip_Header(std::string_view bytes, Hislip_Header& header) {
    header.type = static_cast<std::uint8_t>(bytes[type_place]);
    header.control = static_cast<std::uint8_t>(bytes[control_place]);
    Get(bytes, parameter_place, header.parameter);
    Get(bytes, length_place, header.length);
    return bytes.starts_with("HS");
}

std::size_t Hislip_Message_Size(std::string_view bytes) {
    Hislip_Header header;
    Read_Hislip_Header(bytes, header);
    return hislip_header_size + static_cast<std::size_t>(header.length);
}

std::size_t Hislip_Reader::Take(std::string_view bytes) {
    std::size_t taken = 0;
    if (header_taken_ < hislip_header_size) {
        taken = std::min(bytes.size(), hislip_header_size - header_taken_);
        std::copy_n(bytes.begin(), taken, work_.header.begin() + static_cast<std::ptrdiff_t>(header_taken_));
        header_taken_ += taken;
        if (header_taken_ < hislip_header_size) return taken;
        foreign_ = !Read_Hislip_Header({work_.header.data(), work_.header.size()}, header_);
        left_ = header_.length;
    }
    const auto payload = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size() - taken, left_));
    const std::size_t kept = std::min(payload, hislip_record_payload - kept_);
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(taken), kept,
                work_.payload.begin() + static_cast<std::ptrdiff_t>(kept_));
    kept_ += kept;
    left_ -= payload;
    return taken + payload;
}

void Hislip_Reader::Next() {
    header_ = {};
    header_taken_ = kept_ = 0;
    left_ = 0;
    foreign_ = false;
}

}  // namespace remote
