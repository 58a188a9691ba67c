#pragma once
#include "web/screen.h"

#include <cstdint>
#include <memory>
#include <span>

/// What changed from one screen to the next, for the live web socket.
///
/// A message: byte 0 the kind (1), byte 1 zero, bytes 2 and 3 the number of tiles (little-endian), then a zlib stream:
/// first the tiles' indices (2 bytes each, little-endian, counted in rows from the top left), then the tiles' pixels in
/// the same order, R, G, B, row after row, each exclusive-or'ed with what the viewer shows now. A viewer starts black.
namespace web {

constexpr int tile_width = 40;
constexpr int tile_height = 20;
constexpr int tiles_across = screen_width / tile_width;
constexpr int tiles_down = screen_height / tile_height;
constexpr int tile_count = tiles_across * tiles_down;
constexpr std::size_t tile_bytes = std::size_t{3} * tile_width * tile_height;
constexpr std::uint8_t delta_kind = 1;
constexpr std::size_t delta_header_bytes = 4;

class Delta_Encoder {
public:
    Delta_Encoder();
    ~Delta_Encoder();
    Delta_Encoder(const Delta_Encoder&) = delete;
    Delta_Encoder& operator=(const Delta_Encoder&) = delete;

    /// The message that leads from shown to current; empty when they are equal. An empty shown means a viewer that
    /// shows black and takes every tile. Valid until the next call.
    std::span<const std::uint8_t> Encode(std::span<const std::uint8_t> shown, std::span<const std::uint8_t> current);

private:
    struct Work;
    std::unique_ptr<Work> work_;
};

}  // namespace web
