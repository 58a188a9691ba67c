#pragma once
#include <gtest/gtest.h>

#include <zlib.h>

#include <chrono>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "expect.h"
#include "web/delta.h"
#include "web/screen.h"

/// What the tests of the front panel's parts and of its server share.

using namespace std::chrono_literals;
using Pixels = std::vector<std::uint8_t>;

constexpr auto patience = 10s;  // for another thread or process; a test that passes takes a fraction of it

inline std::uint32_t Pixel(const Pixels& screen, int x, int y) {
    const auto* place = &screen[3 * (static_cast<std::size_t>(y) * web::screen_width + x)];
    return place[0] << 16 | place[1] << 8 | place[2];
}

/// What a page does with a message. Returns the tiles that it brought.
inline std::set<int> Apply(std::span<const std::uint8_t> message, Pixels& shown) {
    EXPECT_GE(message.size(), web::delta_header_bytes);
    EXPECT_EQ(message[0], web::delta_kind);
    const std::size_t count = message[2] | message[3] << 8;
    Pixels body(count * (2 + web::tile_bytes));
    uLongf size = body.size();
    EXPECT_EQ(uncompress(body.data(), &size, message.data() + web::delta_header_bytes,
                         message.size() - web::delta_header_bytes),
              Z_OK);
    EXPECT_EQ(size, body.size());
    std::set<int> tiles;
    const auto* pixel = body.data() + 2 * count;
    for (std::size_t i = 0; i < count; ++i) {
        const int tile = body[2 * i] | body[2 * i + 1] << 8;
        tiles.insert(tile);
        const int left = tile % 20 * 40, top = tile / 20 * 20;
        for (int y = top; y < top + 20; ++y)
            for (int x = left; x < left + 40; ++x)
                for (int c = 0; c < 3; ++c) shown.at(3 * (y * 800 + x) + c) ^= *pixel++;
    }
    return tiles;
}

inline std::string Frame(int first, std::string_view payload, bool masked = true) {
    std::string frame{char(first)};
    const char mask = char(masked ? 0x80 : 0);
    if (payload.size() < 126)
        frame += char(mask | payload.size());
    else
        frame += {char(mask | 126), char(payload.size() >> 8), char(payload.size())};
    if (!masked) return frame.append(payload);
    frame += "\x12\x34\x56\x78";
    for (std::size_t i = 0; i < payload.size(); ++i) frame += char(payload[i] ^ "\x12\x34\x56\x78"[i % 4]);
    return frame;
}

inline std::span<const std::uint8_t> Bytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
