#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace remote {

/// Reassembles the records of a byte stream out of their fragments. Of a record that is longer than any call with
/// sensible arguments only the beginning is kept: arguments that are too long are told so by their length.
class Vxi11_Record {
public:
    static constexpr std::size_t capacity = 4096;

    /// Takes bytes up to the end of the record and returns their number.
    std::size_t Take(std::string_view bytes);
    /// The record of a datagram.
    void Set(std::string_view bytes);
    bool Complete() const { return complete_; }
    std::string_view Kept() const { return {bytes_.data(), length_}; }
    char* Data() { return bytes_.data(); }
    /// Makes room for the next record.
    void Next();

private:
    static constexpr std::size_t mark_size = 4;

    void Take_Mark();

    alignas(8) std::array<char, capacity> bytes_;
    std::size_t length_ = 0;
    std::array<unsigned char, mark_size> mark_{};
    std::size_t mark_length_ = 0;      ///< of the fragment's mark, as far as it is there
    std::uint32_t fragment_left_ = 0;  ///< bytes of the fragment that are still to come
    bool last_ = false, complete_ = false;
};

}  // namespace remote
