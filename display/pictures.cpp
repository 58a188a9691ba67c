#include "display/pictures.h"

#include <array>
#include <csetjmp>
#include <cstdio>
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

[[noreturn]] void Leave(j_common_ptr info) {
    std::longjmp(reinterpret_cast<Jpeg_Error*>(info->err)->leave, 1);
}

void Say_Nothing(j_common_ptr) {}

/// The frame that a decoding error jumps out of: it holds no destructors, and what it holds is released on both ways.
bool Decode(std::FILE* file, int width, int height, std::uint8_t* pixels, std::uint8_t* row, unsigned row_pixels) {
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
    info.out_color_space = JCS_RGB;
    jpeg_start_decompress(&info);
    if (info.output_width > row_pixels) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    const unsigned copied = info.output_width < static_cast<unsigned>(width) ? info.output_width
                                                                             : static_cast<unsigned>(width);
    while (info.output_scanline < info.output_height) {
        const unsigned y = info.output_scanline;
        jpeg_read_scanlines(&info, &row, 1);
        if (y >= static_cast<unsigned>(height)) continue;
        std::uint8_t* target = pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 3;
        for (unsigned i = 0; i < copied * 3; ++i) target[i] = row[i];
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return true;
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
std::FILE* Open_Picture(std::string_view name) {
    const bool replaceable = name == "Logo.jpg" || name == "LXI.jpg" || name == "LXIG.jpg";
    if (replaceable) {
        const std::string copy = platform::Rooted("/mnt/mtd14/" + std::string(name));
        if (std::FILE* file = std::fopen(copy.c_str(), "rb")) return file;
    }
    return std::fopen(platform::Rooted("/mnt/nand/picture/" + std::string(name)).c_str(), "rb");
}

}  // namespace

bool Load_Picture(std::string_view name, int width, int height, std::span<std::uint8_t> pixels) {
    if (width <= 0 || height <= 0) return false;
    if (pixels.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3) return false;
    std::FILE* file = Open_Picture(name);
    if (!file) {
        std::fprintf(stderr, "picture %.*s cannot be opened\n", static_cast<int>(name.size()), name.data());
        return false;
    }
    constexpr unsigned row_pixels = 2048;
    static std::array<std::uint8_t, row_pixels * 3> row;
    const bool good = Decode(file, width, height, pixels.data(), row.data(), row_pixels);
    std::fclose(file);
    if (!good) std::fprintf(stderr, "picture %.*s is damaged\n", static_cast<int>(name.size()), name.data());
    return good;
}

void Show_Picture_File(std::string_view name, int width, int height, int x, int y, const Frame_Descriptor& layer) {
    if (!layer.memory || !Load_Picture(name, width, height, decoded)) return;
    display::Copy_Picture(layer, decoded.data(), x, y, width, height);
}

void Show_Picture(int number, int width, int height, int x, int y, int target) {
    for (const auto& picture : pictures) {
        if (picture.number == number) return Show_Picture_File(picture.file, width, height, x, y, Target(target));
    }
    std::fprintf(stderr, "there is no picture %d\n", number);
}
