#include "display/pictures.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include <jpeglib.h>

#include "display/draw.h"
#include "platform/root.h"

namespace {

struct Numbered_Picture {
    int number;
    const char* file;
};

constexpr std::array pictures = std::to_array<Numbered_Picture>({
    {picture_logo, "Logo.jpg"},
    {2, "systeminit.jpg"},
    {3, "systeminit1.jpg"},
    {4, "systeminit2.jpg"},
    {5, "systeminit3.jpg"},
    {6, "systeminit4.jpg"},
    {7, "systeminit5.jpg"},
    {8, "systeminit6.jpg"},
    {9, "systeminit7.jpg"},
    {picture_start_last, "systeminit8.jpg"},
    {picture_power_off, "shutdown.jpg"},
    {picture_power_off_late, "shutdown_o.jpg"},
    {picture_sequence, "sequence.jpg"},
    {picture_power_meter, "powermeter.jpg"},
    {picture_background, "main.jpg"},
});

struct Jpeg_Error {
    jpeg_error_mgr manager;
    std::jmp_buf leave;
};

[[noreturn]] void Leave(j_common_ptr info) { std::longjmp(reinterpret_cast<Jpeg_Error*>(info->err)->leave, 1); }

void Say_Nothing(j_common_ptr) {}

/// Where a picture goes: width by height pixels of 24 bits; and how much of that it filled.
struct Canvas {
    std::uint8_t* pixels;
    int width, height;
    int filled_width = 0, filled_height = 0;
};

constexpr unsigned longest_side = 2048;

/// The frame that a decoding error jumps out of: it holds no destructors, and what it holds is released on both ways.
/// A file that ends early decodes with a warning and counts as damaged.
bool Decode(std::FILE* file, Canvas& canvas, std::uint8_t* row) {
    jpeg_decompress_struct info;
    Jpeg_Error error;
    info.err = jpeg_std_error(&error.manager);
    error.manager.error_exit = Leave;
    error.manager.output_message = Say_Nothing;
    if (setjmp(error.leave)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    if (info.image_width > longest_side || info.image_height > longest_side) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    info.out_color_space = JCS_RGB;
    jpeg_start_decompress(&info);
    canvas.filled_width = std::min(canvas.width, static_cast<int>(info.output_width));
    canvas.filled_height = std::min(canvas.height, static_cast<int>(info.output_height));
    while (info.output_scanline < info.output_height) {
        const int y = static_cast<int>(info.output_scanline);
        jpeg_read_scanlines(&info, &row, 1);
        if (y >= canvas.filled_height) continue;
        std::memcpy(canvas.pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(canvas.width) * 3, row,
                    static_cast<std::size_t>(canvas.filled_width) * 3);
    }
    jpeg_finish_decompress(&info);
    const bool whole = error.manager.num_warnings == 0;
    jpeg_destroy_decompress(&info);
    return whole;
}

constexpr std::size_t largest_pixels = static_cast<std::size_t>(screen_width) * screen_height;
std::array<std::uint8_t, largest_pixels * 3> decoded;

const Frame_Descriptor& Target(int target) {
    switch (target) {
        case target_osd0: return fbOsd0;
        case target_osd1: return fbOsd1;
        case target_video1: return fbVid1;
        default: return fbVid0;
    }
}

/// Logo and LAN icons have replaceable copies in a place of their own.
bool Replaceable(std::string_view name) { return name == "Logo.jpg" || name == "LXI.jpg" || name == "LXIG.jpg"; }

enum class Found { good, damaged, missing };

Found Decode_File(const char* folder, std::string_view name, Canvas& canvas) {
    const std::string path = platform::Rooted(folder + std::string(name));
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return Found::missing;
    static std::array<std::uint8_t, longest_side * 3> row;
    const bool good = Decode(file, canvas, row.data());
    std::fclose(file);
    if (!good) std::fprintf(stderr, "picture %s%.*s is damaged\n", folder, static_cast<int>(name.size()), name.data());
    return good ? Found::good : Found::damaged;
}

bool Load(std::string_view name, Canvas& canvas, std::size_t room) {
    const bool sized = canvas.width > 0 && canvas.height > 0 &&
                       static_cast<std::size_t>(canvas.height) <= room / 3 / static_cast<std::size_t>(canvas.width);
    if (!sized) {
        std::fprintf(stderr, "picture %.*s has no size of %d by %d\n", static_cast<int>(name.size()), name.data(),
                     canvas.width, canvas.height);
        return false;
    }
    if (Replaceable(name) && Decode_File("/mnt/mtd14/", name, canvas) == Found::good) return true;
    const Found found = Decode_File("/mnt/nand/picture/", name, canvas);
    if (found == Found::missing) {
        std::fprintf(stderr, "picture %.*s cannot be opened\n", static_cast<int>(name.size()), name.data());
    }
    return found == Found::good;
}

}  // namespace

bool Load_Picture(std::string_view name, int width, int height, std::span<std::uint8_t> pixels) {
    Canvas canvas{pixels.data(), width, height};
    return Load(name, canvas, pixels.size());
}

void Show_Picture_File(std::string_view name, int width, int height, int x, int y, const Frame_Descriptor& layer) {
    Canvas canvas{decoded.data(), width, height};
    if (!layer.memory || !Load(name, canvas, decoded.size())) return;
    for (int row = 0; row < canvas.filled_height && y <= std::numeric_limits<int>::max() - row; ++row) {
        const auto* pixels = canvas.pixels + static_cast<std::size_t>(row) * static_cast<std::size_t>(width) * 3;
        display::Copy_Picture(layer, pixels, x, y + row, canvas.filled_width, 1);
    }
}

void Show_Picture(int number, int width, int height, int x, int y, int target) {
    for (const auto& picture : pictures) {
        if (picture.number == number) return Show_Picture_File(picture.file, width, height, x, y, Target(target));
    }
    std::fprintf(stderr, "there is no picture %d\n", number);
}
