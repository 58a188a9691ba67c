#include "web/delta.h"

#include <zlib.h>

#include <cstring>
#include <new>
#include <vector>

namespace web {
namespace {

constexpr std::size_t line_bytes = std::size_t{3} * screen_width;
constexpr std::size_t tile_row_bytes = std::size_t{3} * tile_width;
constexpr int compression = 1;

std::size_t Tile_Start(int tile) {
    return (tile / tiles_across) * tile_height * line_bytes + (tile % tiles_across) * tile_row_bytes;
}

bool Tile_Differs(const std::uint8_t* a, const std::uint8_t* b, int tile) {
    auto place = Tile_Start(tile);
    for (int row = 0; row < tile_height; ++row, place += line_bytes)
        if (std::memcmp(a + place, b + place, tile_row_bytes) != 0) return true;
    return false;
}

/// shown may be null: black.
void Put_Tile(const std::uint8_t* shown, const std::uint8_t* current, int tile, std::uint8_t* target) {
    auto place = Tile_Start(tile);
    for (int row = 0; row < tile_height; ++row, place += line_bytes, target += tile_row_bytes) {
        std::memcpy(target, current + place, tile_row_bytes);
        if (!shown) continue;
        for (std::size_t i = 0; i < tile_row_bytes; ++i) target[i] ^= shown[place + i];
    }
}

}  // namespace

struct Delta_Encoder::Work {
    z_stream stream{};
    std::vector<std::uint8_t> plain = std::vector<std::uint8_t>(tile_count * (2 + tile_bytes));
    std::vector<std::uint8_t> message;
};

Delta_Encoder::Delta_Encoder() : work_(std::make_unique<Work>()) {
    if (deflateInit(&work_->stream, compression) != Z_OK) throw std::bad_alloc();
    work_->message.resize(delta_header_bytes + deflateBound(&work_->stream, work_->plain.size()));
}

Delta_Encoder::~Delta_Encoder() { deflateEnd(&work_->stream); }

std::span<const std::uint8_t> Delta_Encoder::Encode(std::span<const std::uint8_t> shown,
                                                    std::span<const std::uint8_t> current) {
    if (current.size() < screen_bytes || (!shown.empty() && shown.size() < screen_bytes)) return {};
    const auto* before = shown.empty() ? nullptr : shown.data();
    auto& plain = work_->plain;
    std::size_t count = 0;
    for (int tile = 0; tile < tile_count; ++tile) {
        if (before && !Tile_Differs(before, current.data(), tile)) continue;
        plain[2 * count] = static_cast<std::uint8_t>(tile);
        plain[2 * count + 1] = static_cast<std::uint8_t>(tile >> 8);
        ++count;
    }
    if (count == 0) return {};
    for (std::size_t i = 0; i < count; ++i)
        Put_Tile(before, current.data(), plain[2 * i] | plain[2 * i + 1] << 8, &plain[2 * count + i * tile_bytes]);

    auto& stream = work_->stream;
    auto& message = work_->message;
    message[0] = delta_kind;
    message[1] = 0;
    message[2] = static_cast<std::uint8_t>(count);
    message[3] = static_cast<std::uint8_t>(count >> 8);
    deflateReset(&stream);
    stream.next_in = plain.data();
    stream.avail_in = static_cast<uInt>(count * (2 + tile_bytes));
    stream.next_out = message.data() + delta_header_bytes;
    stream.avail_out = static_cast<uInt>(message.size() - delta_header_bytes);
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) return {};
    return std::span(message).first(delta_header_bytes + stream.total_out);
}

}  // namespace web
